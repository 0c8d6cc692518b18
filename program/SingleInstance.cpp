#include "program/SingleInstance.hpp"

#include "core/support/ApplicationIdentifier.hpp"

#include <QByteArray>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel {

namespace {

using std::chrono::milliseconds;

/// Pause before another try while an instance is just starting or just ending.
constexpr milliseconds kRetryPause{10};

/// Nobody listens at the name.
struct Absent {};
/// The other process ended without an answer.
struct Gone {};
using Attempt = std::variant<Absent, Gone, SingleInstance::Outcome>;

/// Other users have names of their own; so do tests, which have settings of their own.
QString instanceName(const std::filesystem::path& settingsFile) {
    std::error_code error;
    const std::filesystem::path folder = settingsFile.parent_path();
    std::filesystem::path place = std::filesystem::weakly_canonical(folder, error);
    if (error) {
        place = folder;
    }
    const QByteArray hash =
        QCryptographicHash::hash(QByteArray::fromStdString(place.native()), QCryptographicHash::Sha256);
    return QStringLiteral("%1.instance.%2.%3")
        .arg(QLatin1String(kApplicationIdentifier.data(), static_cast<qsizetype>(kApplicationIdentifier.size())))
        .arg(::geteuid())
        .arg(QLatin1String(hash.toHex().first(32)));
}

/// The process at the other end, and its user.
std::optional<ucred> peer(const QLocalSocket& socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    const bool isKnown =
        ::getsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0;
    return isKnown ? std::optional(credentials) : std::nullopt;
}

bool isOwnUser(const std::optional<ucred>& peer) {
    return peer && peer->uid == ::geteuid();
}

SingleInstance::Outcome notAnswering(const std::optional<ucred>& peer) {
    const std::string process = peer ? " (process " + std::to_string(peer->pid) + ")" : "";
    return SingleInstance::NotAnswering{"Corvel is running already" + process + ", but does not answer"};
}

SingleInstance::Outcome outcome(InstanceAnswer answer) {
    if (!answer) {
        return SingleInstance::Declined{};
    }
    return SingleInstance::Answered{std::move(*answer)};
}

Attempt ask(const QString& name, const std::string& message, const QDeadlineTimer& deadline) {
    const auto remaining = [&deadline] { return static_cast<int>(deadline.remainingTime()); };
    QLocalSocket socket;
    socket.setSocketOptions(QLocalSocket::AbstractNamespaceOption);
    socket.connectToServer(name);
    if (!socket.waitForConnected(remaining())) {
        return socket.error() == QLocalSocket::ConnectionRefusedError ? Attempt(Absent{}) : notAnswering(std::nullopt);
    }
    const std::optional<ucred> other = peer(socket);
    if (!isOwnUser(other)) {
        return SingleInstance::Unavailable{"another user holds the name for it"};
    }
    socket.write(message.data(), static_cast<qint64>(message.size()));
    std::string received;
    while (true) {
        received += socket.readAll().toStdString();
        auto answer = InstanceMessage::decodedAnswer(received, SingleInstance::kMaxAnswerSize);
        if (auto* const complete = std::get_if<InstanceAnswer>(&answer)) {
            return outcome(std::move(*complete));
        }
        if (std::holds_alternative<InstanceMessage::Invalid>(answer)) {
            return notAnswering(other);
        }
        if (!socket.waitForReadyRead(remaining())) {
            return socket.state() == QLocalSocket::ConnectedState ? Attempt(notAnswering(other)) : Gone{};
        }
    }
}

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& settingsFile) : name_(instanceName(settingsFile)) {
    server_.setSocketOptions(QLocalServer::AbstractNamespaceOption);
}

SingleInstance::~SingleInstance() {
    if (lock_ >= 0) {
        ::close(lock_);
    }
}

SingleInstance::Outcome SingleInstance::takeOrAsk(const InstanceRequest& request, milliseconds limit) {
    const std::string message = InstanceMessage::encoded(request);
    const QDeadlineTimer deadline(limit);
    while (true) {
        if (take()) {
            return Taken{};
        }
        if (server_.serverError() != QAbstractSocket::AddressInUseError) {
            return Unavailable{server_.errorString().toStdString()};
        }
        Attempt attempt = ask(name_, message, deadline);
        if (auto* const outcome = std::get_if<Outcome>(&attempt)) {
            return std::move(*outcome);
        }
        if (deadline.hasExpired()) {
            return std::holds_alternative<Gone>(attempt) ? notAnswering(std::nullopt)
                                                         : Unavailable{"its name is taken, and nobody answers there"};
        }
        std::this_thread::sleep_for(kRetryPause);
    }
}

bool SingleInstance::take() {
    if (!server_.listen(name_)) {
        return false;
    }
    lock_ = ::fcntl(static_cast<int>(server_.socketDescriptor()), F_DUPFD_CLOEXEC, 0);
    return true;
}

void SingleInstance::serve(InstanceConnection::Handler handler) {
    handler_ = std::move(handler);
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] { acceptConnections(); });
    acceptConnections();
}

void SingleInstance::acceptConnections() {
    while (QLocalSocket* const socket = server_.nextPendingConnection()) {
        if (isOwnUser(peer(*socket))) {
            accept(*socket);
        } else {
            delete socket;
        }
    }
}

void SingleInstance::accept(QLocalSocket& socket) {
    makeRoom();
    auto* const connection = new InstanceConnection(socket, handler_, &server_);
    connections_.push_back(connection);
    QObject::connect(connection, &InstanceConnection::ended, &server_, [this, connection] {
        std::erase(connections_, connection);
        connection->deleteLater();
    });
}

void SingleInstance::makeRoom() {
    while (connections_.size() >= kMaxConnections) {
        InstanceConnection* const first = connections_.front();
        connections_.pop_front();
        first->close();
    }
}

}  // namespace corvel
