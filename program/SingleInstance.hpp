#pragma once

#include "program/InstanceListener.hpp"
#include "program/InstanceLock.hpp"
#include "program/InstanceMessage.hpp"

#include <chrono>
#include <filesystem>
#include <string>
#include <variant>

namespace corvel {

/// Lets only one instance of the program run for each user and settings folder, and lets later starts send it their
/// request.
///
/// The instance is the process that holds a lock file in the user's runtime folder (`InstanceLock`). It listens on a
/// socket in the same folder. Both ends of the socket check the user at the other end. `InstanceServer` answers there.
///
/// On one thread.
class SingleInstance {
public:
    /// This process is the instance until the object is destroyed.
    struct Taken {};
    /// There can be no lock or no socket, and the reason. The program then runs without this protection.
    struct Unavailable {
        std::string reason;
    };
    /// Another process is the instance and has carried out the request.
    struct Answered {
        CommandResult result;
    };
    /// Another process is the instance, and the request does not concern it.
    struct Declined {};
    /// Another process is the instance but does not answer in time. `reason` is a sentence for the user.
    struct NotAnswering {
        std::string reason;
    };
    using Outcome = std::variant<Taken, Unavailable, Answered, Declined, NotAnswering>;

    /// Time limit for an answer: longer than a disk needs to spin up.
    static constexpr std::chrono::milliseconds kAnswerLimit{5'000};
    /// `settingsFolder` is the folder of the user's settings, whether or not it exists.
    explicit SingleInstance(const std::filesystem::path& settingsFolder);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// The name of this settings folder's lock file and socket, without their suffixes.
    [[nodiscard]] const std::string& name() const { return name_; }

    /// Becomes the instance or, if there is one, sends it the request. Waits at most `limit`. If several processes try
    /// at the same time, one becomes the instance.
    [[nodiscard]] Outcome takeOrAsk(const InstanceRequest& request, std::chrono::milliseconds limit = kAnswerLimit);

    /// The socket at which requests wait; negative if this process is not the instance.
    [[nodiscard]] int listeningSocket() const { return listener_.socket(); }

private:
    [[nodiscard]] Outcome becomeInstance();

    const std::string name_;
    InstanceLock lock_;
    InstanceListener listener_;
};

}  // namespace corvel
