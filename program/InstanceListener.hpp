#pragma once

#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace corvel {

/// The instance's end of its socket. Only its own user may use it: the mode is 0600, and the user of each connection is
/// checked. On one thread, while the application object exists.
class InstanceListener {
public:
    /// Receives and owns a connected socket of this user, whose operations do not wait.
    using ConnectionHandler = std::function<void(int socket)>;

    /// Pause after the system had no descriptor or memory for a connection.
    static constexpr std::chrono::milliseconds kRetryPause{100};

    InstanceListener();
    InstanceListener(const InstanceListener&) = delete;
    InstanceListener& operator=(const InstanceListener&) = delete;
    /// Removes the socket and closes connections that have not been accepted.
    ~InstanceListener();

    /// Creates the socket, and replaces one that a killed process has left. Connections wait from now on. Returns the
    /// system's text if it fails, otherwise an empty text.
    [[nodiscard]] std::string listen(std::string path);

    /// Passes on waiting and later connections. Does nothing without a socket.
    void accept(ConnectionHandler handler);

private:
    void acceptConnections();
    void handOn(int connection);
    void close();

    std::string path_;
    int descriptor_ = -1;
    ConnectionHandler handler_;
    std::unique_ptr<QSocketNotifier> arrivals_;
    QTimer retry_;
};

}  // namespace corvel
