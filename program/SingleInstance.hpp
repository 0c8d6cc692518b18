#pragma once

#include "program/InstanceMessage.hpp"
#include "program/InstanceConnection.hpp"

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

/// Keeps the program single, for each user and each place of settings, and lets later starts speak to the one that
/// runs.
///
/// Whoever holds a certain name in the system's abstract socket namespace is the instance. The name is free again as
/// soon as its holder has ended, whatever ended it, and leaves no file. Such names know no permissions: each side looks
/// who is at the other end, and has nothing to do with other users.
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
    /// Another process is the instance but gives no answer in time; a sentence that says so.
    struct NotAnswering {
        std::string reason;
    };
    using Outcome = std::variant<Taken, Unavailable, Answered, Declined, NotAnswering>;

    /// How long a request may take to be answered: more than a disk that has to wake up.
    static constexpr std::chrono::milliseconds kAnswerLimit{5'000};
    /// How many may be about to say what they want. Of more, the first to come gives way.
    static constexpr std::size_t kMaxConnections = 32;
    /// The longest answer, in bytes of its texts.
    static constexpr std::size_t kMaxAnswerSize = 16'777'216;

    /// `settingsFile` is where the user's settings are or would be.
    explicit SingleInstance(const std::filesystem::path& settingsFile);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    /// The name that stands for the place.
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
    /// Those who are not gone yet, in the order in which they came.
    std::deque<InstanceConnection*> connections_;
    InstanceConnection::Handler handler_;
    QLocalServer server_;
    /// Holds the name even if the server fails and closes.
    int lock_ = -1;
};

}  // namespace corvel
