#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace corvel::hosts {

/// What came of asking for real-time priority.
struct RealtimeAnswer {
    /// The priority that the thread has now, 0 if it has none.
    int priority = 0;
    /// Who granted or refused it, and why not: "RealtimeKit", "RealtimeKit: Permission denied".
    std::string reason;
};

/// Asks somebody who may grant what the kernel refuses: at most `priority`, for the thread with this kernel ID. It is
/// called on the thread itself and returns at once; `answer` is called once or, if the program ends first, never, on
/// any thread.
using RealtimeBroker = std::function<void(pid_t thread, int priority, std::function<void(RealtimeAnswer)> answer)>;

}  // namespace corvel::hosts
