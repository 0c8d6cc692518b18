#include "program/InstancePeer.hpp"

#include <unistd.h>

namespace corvel {

InstanceAddress::InstanceAddress(const std::string& path) {
    address_.sun_family = AF_UNIX;
    // Leaves one byte for the terminating zero.
    path.copy(address_.sun_path, sizeof address_.sun_path - 1);
}

std::optional<ucred> instancePeer(int socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    const bool isKnown = ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0;
    return isKnown ? std::optional(credentials) : std::nullopt;
}

bool isOwnUser(const std::optional<ucred>& peer) {
    return peer && peer->uid == ::geteuid();
}

}  // namespace corvel
