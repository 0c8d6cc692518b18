#include "program/SingleInstance.hpp"

#include "program/InstanceQuestion.hpp"

#include <QByteArray>
#include <QCryptographicHash>

#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel {

namespace {

using std::chrono::milliseconds;

/// Pause before another try while an instance is starting or ending.
constexpr milliseconds kRetryPause{10};

/// Different settings folders have different instances, which tests need.
std::string instanceName(const std::filesystem::path& settingsFile) {
    std::error_code error;
    const std::filesystem::path folder = settingsFile.parent_path();
    std::filesystem::path place = std::filesystem::weakly_canonical(folder, error);
    if (error) {
        place = folder;
    }
    constexpr std::size_t kNameLength = 32;
    const QByteArray hash =
        QCryptographicHash::hash(QByteArray::fromStdString(place.native()), QCryptographicHash::Sha256);
    return hash.toHex().toStdString().substr(0, kNameLength);
}

SingleInstance::Outcome notAnswering(std::optional<pid_t> pid) {
    const std::string process = pid ? " (process " + std::to_string(*pid) + ")" : "";
    return SingleInstance::NotAnswering{"Corvel is running already" + process + ", but does not answer"};
}

SingleInstance::Outcome outcome(InstanceAnswer answer) {
    if (!answer) {
        return SingleInstance::Declined{};
    }
    return SingleInstance::Answered{std::move(*answer)};
}

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& settingsFile)
    : name_(instanceName(settingsFile)), lock_(name_) {}

SingleInstance::Outcome SingleInstance::takeOrAsk(const InstanceRequest& request, milliseconds limit) {
    const std::string message = InstanceMessage::encoded(request);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
        switch (lock_.take()) {
            case InstanceLock::Attempt::taken:
                return becomeInstance();
            case InstanceLock::Attempt::impossible:
                return Unavailable{lock_.problem()};
            case InstanceLock::Attempt::heldByAnother:
                break;
        }
        InstanceQuestion::Result result = InstanceQuestion::ask(lock_.socketPath(), message, deadline);
        if (auto* const answer = std::get_if<InstanceAnswer>(&result)) {
            return outcome(std::move(*answer));
        }
        if (const auto* const silent = std::get_if<InstanceQuestion::Silent>(&result)) {
            return notAnswering(silent->pid ? silent->pid : lock_.holder());
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return notAnswering(lock_.holder());
        }
        std::this_thread::sleep_for(kRetryPause);
    }
}

SingleInstance::Outcome SingleInstance::becomeInstance() {
    const std::string problem = listener_.listen(lock_.socketPath());
    if (problem.empty()) {
        return Taken{};
    }
    lock_.release();
    return Unavailable{"its socket cannot be made: " + problem};
}

void SingleInstance::serve(InstanceConnection::Handler handler) {
    handler_ = std::move(handler);
    listener_.accept([this](int socket) { accept(socket); });
}

void SingleInstance::accept(int socket) {
    makeRoom();
    auto* const connection = new InstanceConnection(socket, handler_, &owner_);
    connections_.push_back(connection);
    QObject::connect(connection, &InstanceConnection::ended, &owner_, [this, connection] {
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
