#include "program/InstanceListener.hpp"

#include "program/InstancePeer.hpp"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

constexpr mode_t kOwnerOnly = 0600;

/// Maximum number of connections that the kernel keeps until they are accepted.
constexpr int kBacklog = 64;

}  // namespace

InstanceListener::~InstanceListener() {
    close();
}

std::string InstanceListener::listen(std::string path) {
    path_ = std::move(path);
    ::unlink(path_.c_str());
    descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const InstanceAddress address(path_);
    // Gives the file the socket's mode, whatever the process's mask is.
    if (descriptor_ >= 0 && ::fchmod(descriptor_, kOwnerOnly) == 0 &&
        ::bind(descriptor_, address.get(), InstanceAddress::size()) == 0 && ::listen(descriptor_, kBacklog) == 0) {
        return {};
    }
    std::string problem = std::system_category().message(errno);
    close();
    return problem;
}

void InstanceListener::close() {
    if (descriptor_ >= 0) {
        ::unlink(path_.c_str());
        ::close(std::exchange(descriptor_, -1));
    }
}

}  // namespace corvel
