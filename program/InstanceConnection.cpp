#include "program/InstanceConnection.hpp"

#include "program/InstanceMessage.hpp"

#include <QByteArray>
#include <poll.h>

#include <utility>
#include <variant>

namespace corvel {

InstanceConnection::InstanceConnection(QLocalSocket& socket, Handler handler, QObject* parent)
    : QObject(parent), socket_(socket), handler_(std::move(handler)) {
    socket_.setParent(this);
    socket_.setReadBufferSize(static_cast<qint64>(kMaxRequestSize));
    limit_.setSingleShot(true);
    limit_.setInterval(kLimit);
    QObject::connect(&limit_, &QTimer::timeout, this, &InstanceConnection::close);
    QObject::connect(&socket_, &QLocalSocket::disconnected, this, &InstanceConnection::ended);
    QObject::connect(&socket_, &QLocalSocket::readyRead, this, &InstanceConnection::read);
    limit_.start();
}

void InstanceConnection::close() {
    socket_.abort();
}

void InstanceConnection::read() {
    const QByteArray bytes = socket_.readAll();
    if (!isWaiting_) {
        return;
    }
    received_.append(bytes.data(), static_cast<std::size_t>(bytes.size()));
    const auto request = InstanceMessage::decodedRequest(received_, kMaxRequestSize);
    if (const auto* const complete = std::get_if<InstanceRequest>(&request); complete != nullptr && !hasHungUp()) {
        answer(*complete);
    } else if (!std::holds_alternative<InstanceMessage::Incomplete>(request)) {
        // A start that no longer waits has told its user that the command was not carried out.
        close();
    }
}

void InstanceConnection::answer(const InstanceRequest& request) {
    isWaiting_ = false;
    limit_.stop();
    const std::string message = InstanceMessage::encoded(handler_(request));
    limit_.start();
    socket_.write(message.data(), static_cast<qint64>(message.size()));
    socket_.disconnectFromServer();
}

bool InstanceConnection::hasHungUp() const {
    pollfd state{static_cast<int>(socket_.socketDescriptor()), POLLRDHUP, 0};
    return ::poll(&state, 1, 0) > 0;
}

}  // namespace corvel
