#pragma once

#include <string>

namespace corvel {

/// The socket at which the instance listens. Only its own user may use it: the mode is 0600.
class InstanceListener {
public:
    InstanceListener() = default;
    InstanceListener(const InstanceListener&) = delete;
    InstanceListener& operator=(const InstanceListener&) = delete;
    /// Removes the socket and closes connections that have not been accepted.
    ~InstanceListener();

    /// Creates the socket, and replaces one that a killed process has left. Connections wait from now on. Returns the
    /// system's text if it fails, otherwise an empty text.
    [[nodiscard]] std::string listen(std::string path);

    /// Its operations do not wait; negative if there is no socket.
    [[nodiscard]] int socket() const { return descriptor_; }

private:
    void close();

    std::string path_;
    int descriptor_ = -1;
};

}  // namespace corvel
