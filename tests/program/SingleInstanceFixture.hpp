#pragma once

#include "program/InstanceServer.hpp"
#include "program/SingleInstance.hpp"
#include "tests/support/Deadline.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

namespace corvel::tests {

/// Time limit for an answer that never comes.
inline constexpr std::chrono::milliseconds kShortLimit{100};

/// A process that sends arbitrary data to the instance.
class RawClient {
public:
    explicit RawClient(const std::filesystem::path& socketFile) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socketFile.string().copy(address.sun_path, sizeof address.sun_path - 1);
        if (descriptor_ < 0 ||
            ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::system_error(errno, std::generic_category(), "connect");
        }
    }
    RawClient(RawClient&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    RawClient& operator=(RawClient&&) = delete;
    ~RawClient() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    void send(const std::string& bytes) const {
        std::ignore = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    /// Whether the other side has closed the connection.
    [[nodiscard]] bool isDropped() const {
        char byte = 0;
        const ssize_t size = ::recv(descriptor_, &byte, 1, MSG_DONTWAIT);
        return size == 0 || (size < 0 && errno == ECONNRESET);
    }

private:
    int descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

/// Instances for one place of settings in a runtime folder of their own, and an event loop for their answers.
class SingleInstances : public ::testing::Test {
protected:
    /// Runs the event loop until the condition holds; false after the deadline.
    template <typename Condition>
    [[nodiscard]] static bool runUntil(Condition condition, std::chrono::milliseconds limit = kDeadline) {
        const QDeadlineTimer deadline(limit);
        while (!condition()) {
            if (deadline.hasExpired()) {
                return false;
            }
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 10);
        }
        return true;
    }

    /// Another start with these settings, on a thread of its own while the event loop runs here.
    [[nodiscard]] SingleInstance::Outcome startAnother(const InstanceRequest& request,
                                                       std::chrono::milliseconds limit = kDeadline) {
        std::future<SingleInstance::Outcome> outcome = std::async(std::launch::async, [&] {
            SingleInstance other(settings);
            return other.takeOrAsk(request, limit);
        });
        EXPECT_TRUE(runUntil([&] { return outcome.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return outcome.get();
    }

    /// Becomes the instance and answers every request with its arguments.
    void serve() {
        ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
        server.emplace(instance->listeningSocket(), [this](const InstanceRequest& request) {
            requests.push_back(request);
            return CommandResult{0, std::to_string(requests.size())};
        });
    }

    [[nodiscard]] std::filesystem::path socketFile() const { return meetingPlace / (instance->name() + ".socket"); }
    [[nodiscard]] std::filesystem::path lockFile() const { return meetingPlace / (instance->name() + ".lock"); }

    static std::string problemOf(const SingleInstance::Outcome& outcome) {
        const auto* const unavailable = std::get_if<SingleInstance::Unavailable>(&outcome);
        return unavailable != nullptr ? unavailable->reason : "no problem: " + std::to_string(outcome.index());
    }
    static bool isTaken(const SingleInstance::Outcome& outcome) {
        return std::holds_alternative<SingleInstance::Taken>(outcome);
    }
    static std::string answerOf(const SingleInstance::Outcome& outcome) {
        const auto* const answered = std::get_if<SingleInstance::Answered>(&outcome);
        return answered != nullptr ? answered->result.text : "no answer: " + std::to_string(outcome.index());
    }

    int argumentCount = 1;
    char program[7] = "corvel";
    char* arguments[2] = {program, nullptr};
    const TemporaryFolder folder;
    const TemporaryFolder runtime;
    const ScopedEnvironment runtimeVariable{"XDG_RUNTIME_DIR", runtime.path().string()};
    const std::filesystem::path meetingPlace = runtime / "corvel";
    const std::filesystem::path settings = folder / "Corvel";
    std::unique_ptr<QCoreApplication> application = std::make_unique<QCoreApplication>(argumentCount, arguments);
    std::optional<SingleInstance> instance{std::in_place, settings};
    std::optional<InstanceServer> server;
    std::vector<InstanceRequest> requests;
};

}  // namespace corvel::tests
