#pragma once

#include <QLocalSocket>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace corvel {

/// The instance's end of its socket, which only its own user may use (mode 0600, and each connection's user is
/// checked). On one thread, while the application object exists.
class InstanceListener {
public:
    /// Takes a connection of this user.
    using ConnectionHandler = std::function<void(std::unique_ptr<QLocalSocket>)>;

    /// Pause after the system had no descriptor or memory for a connection.
    static constexpr std::chrono::milliseconds kRetryPause{100};

    InstanceListener();
    InstanceListener(const InstanceListener&) = delete;
    InstanceListener& operator=(const InstanceListener&) = delete;
    /// Removes the socket. Connections that nobody has accepted are closed.
    ~InstanceListener();

    /// Makes the socket, in place of one that a process left behind that was killed. From now on, connections wait. The
    /// system's text if that fails, else empty.
    [[nodiscard]] std::string listen(std::string path);

    /// Hands on connections as they come, and those that wait. Does nothing without a socket.
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
