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
    /// No process listens at the socket.
    struct Absent {};
    /// The instance ended without an answer.
    struct Gone {};
    /// No answer in time, or an invalid one. Has the instance's PID, if known.
    struct Silent {
        std::optional<pid_t> pid;
    };
    using Result = std::variant<Absent, Gone, Silent, InstanceAnswer>;

    /// Maximum size of an answer, in bytes of its texts.
    static constexpr std::size_t kMaxAnswerSize = 16'777'216;

    /// Waits at most until `deadline`, without using the processor. Any thread.
    [[nodiscard]] static Result ask(const std::string& socketPath, const std::string& message,
                                    std::chrono::steady_clock::time_point deadline);
};

}  // namespace corvel
