#include "program/InstanceServer.hpp"

#include "program/InstancePeer.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace corvel {

namespace {

/// Maximum number of connections accepted in one turn of the event loop.
constexpr int kMaxAccepted = 64;

}  // namespace

InstanceServer::InstanceServer(int listeningSocket, InstanceConnection::Handler handler)
    : listeningSocket_(listeningSocket), handler_(std::move(handler)), arrivals_(QSocketNotifier::Read) {
    if (listeningSocket_ < 0) {
        return;
    }
    retry_.setSingleShot(true);
    retry_.setInterval(kRetryPause);
    QObject::connect(&retry_, &QTimer::timeout, [this] { accept(); });
    QObject::connect(&arrivals_, &QSocketNotifier::activated, [this] { accept(); });
    arrivals_.setSocket(listeningSocket_);
    arrivals_.setEnabled(true);
}

void InstanceServer::accept() {
    arrivals_.setEnabled(true);
    for (int count = 0; count < kMaxAccepted; ++count) {
        const int connection = ::accept4(listeningSocket_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (connection >= 0) {
            serve(connection);
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            // No descriptor or memory is left. The connection keeps waiting, and the socket stays readable.
            arrivals_.setEnabled(false);
            retry_.start();
            return;
        }
    }
}

void InstanceServer::serve(int socket) {
    if (!isOwnUser(instancePeer(socket))) {
        ::close(socket);
        return;
    }
    makeRoom();
    auto* const connection = new InstanceConnection(socket, handler_, &owner_);
    connections_.push_back(connection);
    QObject::connect(connection, &InstanceConnection::ended, &owner_, [this, connection] {
        std::erase(connections_, connection);
        connection->deleteLater();
    });
    // The request is usually there already; a busy event loop may take long to come round again.
    connection->read();
}

void InstanceServer::makeRoom() {
    while (connections_.size() >= kMaxConnections) {
        InstanceConnection* const first = connections_.front();
        connections_.pop_front();
        first->close();
    }
}

}  // namespace corvel
