#include "hosts/alsa/SilencedLibraryErrors.hpp"

#include <cstdarg>

// Declared here because the library's header declares it outside its block of C functions.
extern "C" {
using LocalErrorHandler = void (*)(const char*, int, const char*, int, const char*, va_list);
LocalErrorHandler snd_lib_error_set_local(LocalErrorHandler handler);  // NOLINT(readability-identifier-naming)
}

namespace corvel::hosts {

namespace {

void ignore(const char*, int, const char*, int, const char*, va_list) {}

}  // namespace

SilencedLibraryErrors::SilencedLibraryErrors() {
    snd_lib_error_set_local(ignore);
}

SilencedLibraryErrors::~SilencedLibraryErrors() {
    snd_lib_error_set_local(nullptr);
}

}  // namespace corvel::hosts
