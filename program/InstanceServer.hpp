#pragma once

#include "program/InstanceConnection.hpp"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <deque>

namespace corvel {

/// Answers the requests of later starts, including those that are already waiting at the instance's socket. Checks that
/// each comes from this user. On one thread, while the application object exists; needs its event loop.
class InstanceServer {
public:
    /// Maximum number of connections without a complete request. One more closes the oldest.
    static constexpr std::size_t kMaxConnections = 32;
    /// Pause after the system had no descriptor or memory for a connection.
    static constexpr std::chrono::milliseconds kRetryPause{100};

    /// `listeningSocket` must exist longer. If it is negative, there is nothing to answer.
    InstanceServer(int listeningSocket, InstanceConnection::Handler handler);
    InstanceServer(const InstanceServer&) = delete;
    InstanceServer& operator=(const InstanceServer&) = delete;

private:
    void accept();
    void serve(int socket);
    void makeRoom();

    const int listeningSocket_;
    const InstanceConnection::Handler handler_;
    /// The open connections, oldest first. `owner_` owns them.
    std::deque<InstanceConnection*> connections_;
    QObject owner_;
    QTimer retry_;
    QSocketNotifier arrivals_;
};

}  // namespace corvel
