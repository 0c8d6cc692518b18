#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace corvel::hosts {

/// The answer to a request for real-time priority.
struct RealtimeAnswer {
    /// The thread's present priority; 0 if it has none.
    int priority = 0;
    /// Who granted or refused it, and the reason of a refusal: "RealtimeKit", "RealtimeKit: Permission denied".
    std::string reason;
};

/// Requests real-time priority of at most `priority`, for the thread with this kernel ID, from a service that may grant
/// what the kernel refuses. Called on that thread; returns at once. `answer` is called once on any thread, or never if
/// the program ends first.
using RealtimeBroker = std::function<void(pid_t thread, int priority, std::function<void(RealtimeAnswer)> answer)>;

}  // namespace corvel::hosts
