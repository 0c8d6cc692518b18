#pragma once

#include "program/InstanceMessage.hpp"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>

namespace corvel {

/// A later start's end of the instance's socket: sends one request and waits for its answer.
class InstanceQuestion {
public:
    /// Nobody listens at the socket.
    struct Absent {};
    /// The instance ended without an answer.
    struct Gone {};
    /// No answer in time, or nonsense; the instance's PID if it is known.
    struct Silent {
        std::optional<pid_t> pid;
    };
    using Result = std::variant<Absent, Gone, Silent, InstanceAnswer>;

    /// Maximum size of an answer, in bytes of its texts.
    static constexpr std::size_t kMaxAnswerSize = 16'777'216;

    /// Waits until `deadline` at most, without using the processor. Any thread.
    [[nodiscard]] static Result ask(const std::string& socketPath, const std::string& message,
                                    std::chrono::steady_clock::time_point deadline);
};

}  // namespace corvel
