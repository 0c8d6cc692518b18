#pragma once

#include "program/InstanceConnection.hpp"
#include "program/InstanceMessage.hpp"

#include <QLocalServer>
#include <QLocalSocket>
#include <QString>

#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <string>
#include <variant>

namespace corvel {

/// Lets only one instance of the program run for each user and each folder of settings, and lets later starts send it
/// their request.
///
/// The instance is the process that holds a certain name in the system's abstract socket namespace. The name is free
/// again as soon as that process has ended, whatever ended it, and leaves no file. Such names have no permissions, so
/// each side checks the user at the other end.
///
/// On one thread, while the application object exists; needs its event loop only to answer.
class SingleInstance {
public:
    /// This process is the instance until the object goes.
    struct Taken {};
    /// There can be no instance, and why: the program does without.
    struct Unavailable {
        std::string reason;
    };
    /// Another process is the instance and has done what was asked.
    struct Answered {
        CommandResult result;
    };
    /// Another process is the instance, and the request is none of its business.
    struct Declined {};
    /// Another process is the instance but does not answer in time; a sentence for the user.
    struct NotAnswering {
        std::string reason;
    };
    using Outcome = std::variant<Taken, Unavailable, Answered, Declined, NotAnswering>;

    /// Time limit of an answer: longer than a disk takes to spin up.
    static constexpr std::chrono::milliseconds kAnswerLimit{5'000};
    /// Maximum number of connections whose request has not come yet. One more closes the oldest.
    static constexpr std::size_t kMaxConnections = 32;
    /// Maximum size of an answer, in bytes of its texts.
    static constexpr std::size_t kMaxAnswerSize = 16'777'216;

    /// `settingsFile` is where the user's settings are or would be.
    explicit SingleInstance(const std::filesystem::path& settingsFile);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    /// The socket name of this user and folder of settings.
    [[nodiscard]] const QString& name() const { return name_; }

    /// Becomes the instance; where there is one, asks it. Waits `limit` at most. Of several that try at the same time,
    /// one becomes the instance.
    [[nodiscard]] Outcome takeOrAsk(const InstanceRequest& request, std::chrono::milliseconds limit = kAnswerLimit);

    /// As the instance: answers what others ask, also what they asked before. Until this is called, they wait.
    void serve(InstanceConnection::Handler handler);

private:
    [[nodiscard]] bool take();
    void acceptConnections();
    void accept(QLocalSocket& socket);
    void makeRoom();

    const QString name_;
    /// The open connections, oldest first.
    std::deque<InstanceConnection*> connections_;
    InstanceConnection::Handler handler_;
    QLocalServer server_;
    /// Holds the name even if the server fails and closes.
    int lock_ = -1;
};

}  // namespace corvel
