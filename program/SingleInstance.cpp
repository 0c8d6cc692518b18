#include "program/SingleInstance.hpp"

#include "program/InstanceQuestion.hpp"

#include <uuid/uuid.h>

#include <array>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel {

namespace {

using std::chrono::milliseconds;

/// Pause before another try while an instance is starting or ending.
constexpr milliseconds kRetryPause{10};

/// Different settings folders have different instances, which tests need.
std::string instanceName(const std::filesystem::path& settingsFolder) {
    std::error_code error;
    std::filesystem::path place = std::filesystem::weakly_canonical(settingsFolder, error);
    if (error) {
        place = settingsFolder;
    }
    // Any path becomes a short file name.
    const uuid_t space{};
    uuid_t hash{};
    ::uuid_generate_sha1(hash, space, place.c_str(), place.native().size());
    std::array<char, UUID_STR_LEN> text{};
    ::uuid_unparse_lower(hash, text.data());
    return text.data();
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

SingleInstance::SingleInstance(const std::filesystem::path& settingsFolder)
    : name_(instanceName(settingsFolder)), lock_(name_) {}

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

}  // namespace corvel
