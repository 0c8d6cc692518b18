#include "hosts/alsa/QuietLibrary.hpp"

#include <cstdarg>

// The library's header forgets to say that this is a C function; a declaration before it does.
extern "C" {
using LocalErrorHandler = void (*)(const char*, int, const char*, int, const char*, va_list);
LocalErrorHandler snd_lib_error_set_local(LocalErrorHandler handler);
}

#include <alsa/asoundlib.h>

namespace corvel::hosts {

namespace {

void ignore(const char*, int, const char*, int, const char*, va_list) {}

}  // namespace

QuietLibrary::QuietLibrary() {
    snd_lib_error_set_local(ignore);
}

QuietLibrary::~QuietLibrary() {
    snd_lib_error_set_local(nullptr);
}

}  // namespace corvel::hosts
