#pragma once

#include "program/InstanceConnection.hpp"
#include "program/InstanceListener.hpp"
#include "program/InstanceLock.hpp"
#include "program/InstanceMessage.hpp"

#include <QLocalSocket>
#include <QObject>

#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <variant>

namespace corvel {

/// Lets only one instance of the program run for each user and each folder of settings, and lets later starts send it
/// their request.
///
/// The instance is the process that holds a lock file in the user's runtime folder (`InstanceLock`). It listens on a
/// socket beside that file. Both ends of the socket check the user at the other end.
///
/// On one thread, while the application object exists; needs its event loop only to answer.
class SingleInstance {
public:
    /// This process is the instance until the object goes.
    struct Taken {};
    /// There can be no lock or no socket, and why. The program then runs without this protection.
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

    /// `settingsFile` is where the user's settings are or would be.
    explicit SingleInstance(const std::filesystem::path& settingsFile);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// The name of the lock file and the socket of this folder of settings, without their suffixes.
    [[nodiscard]] const std::string& name() const { return name_; }

    /// Becomes the instance; where there is one, asks it. Waits `limit` at most. Of several that try at the same time,
    /// one becomes the instance.
    [[nodiscard]] Outcome takeOrAsk(const InstanceRequest& request, std::chrono::milliseconds limit = kAnswerLimit);

    /// As the instance: answers what others ask, also what they asked before. Until this is called, they wait. Does
    /// nothing if this process is not the instance.
    void serve(InstanceConnection::Handler handler);

private:
    [[nodiscard]] Outcome becomeInstance();
    void accept(QLocalSocket& socket);
    void makeRoom();

    const std::string name_;
    InstanceLock lock_;
    InstanceConnection::Handler handler_;
    /// The open connections, oldest first. `owner_` owns them.
    std::deque<InstanceConnection*> connections_;
    QObject owner_;
    InstanceListener listener_;
};

}  // namespace corvel
