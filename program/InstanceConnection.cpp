#include "program/InstanceConnection.hpp"

#include "program/InstanceMessage.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <variant>

namespace corvel {

InstanceConnection::InstanceConnection(int socket, Handler handler, QObject* parent)
    : QObject(parent),
      socket_(socket),
      handler_(std::move(handler)),
      readable_(socket, QSocketNotifier::Read),
      writable_(socket, QSocketNotifier::Write) {
    writable_.setEnabled(false);
    limit_.setSingleShot(true);
    limit_.setInterval(kLimit);
    QObject::connect(&limit_, &QTimer::timeout, this, &InstanceConnection::close);
    QObject::connect(&readable_, &QSocketNotifier::activated, this, &InstanceConnection::read);
    QObject::connect(&writable_, &QSocketNotifier::activated, this, &InstanceConnection::write);
    limit_.start();
}

InstanceConnection::~InstanceConnection() {
    closeSocket();
}

void InstanceConnection::close() {
    if (socket_ >= 0) {
        closeSocket();
        emit ended();
    }
}

void InstanceConnection::closeSocket() {
    readable_.setEnabled(false);
    writable_.setEnabled(false);
    limit_.stop();
    if (socket_ >= 0) {
        ::close(std::exchange(socket_, -1));
    }
}

void InstanceConnection::read() {
    std::array<char, 65'536> piece{};
    const ssize_t size = ::recv(socket_, piece.data(), piece.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (size <= 0) {
        close();
        return;
    }
    received_.append(piece.data(), static_cast<std::size_t>(size));
    const auto request = InstanceMessage::decodedRequest(received_, kMaxRequestSize);
    if (const auto* const complete = std::get_if<InstanceRequest>(&request); complete != nullptr && !hasHungUp()) {
        answer(*complete);
    } else if (!std::holds_alternative<InstanceMessage::Incomplete>(request)) {
        // A start that no longer waits has told its user that the command was not carried out.
        close();
    }
}

void InstanceConnection::answer(const InstanceRequest& request) {
    // Whatever follows the request is ignored. The limit does not include the time of the command.
    readable_.setEnabled(false);
    limit_.stop();
    unsent_ = InstanceMessage::encoded(handler_(request));
    limit_.start();
    write();
}

void InstanceConnection::write() {
    const ssize_t size = ::send(socket_, unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
    if (size < 0 && errno != EAGAIN && errno != EINTR) {
        close();
        return;
    }
    unsent_.erase(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    if (unsent_.empty()) {
        close();
    } else {
        writable_.setEnabled(true);
    }
}

bool InstanceConnection::hasHungUp() const {
    pollfd state{socket_, POLLRDHUP, 0};
    return ::poll(&state, 1, 0) > 0;
}

}  // namespace corvel
