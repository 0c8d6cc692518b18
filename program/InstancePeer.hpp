#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string>

namespace corvel {

/// The address of a socket at a path of fewer than 108 bytes.
class InstanceAddress {
public:
    explicit InstanceAddress(const std::string& path);

    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
    [[nodiscard]] static socklen_t size() { return sizeof(sockaddr_un); }

private:
    sockaddr_un address_{};
};

/// The process at the other end of a connected socket, and its user; no value if the system does not know.
[[nodiscard]] std::optional<ucred> instancePeer(int socket);

/// Whether the process belongs to the user of this one.
[[nodiscard]] bool isOwnUser(const std::optional<ucred>& peer);

}  // namespace corvel
