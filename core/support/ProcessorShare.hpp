#pragma once

#include <chrono>

namespace corvel {

/// Limits a thread to 95 % of its processor: if it was busy for more of a time window, it sleeps for the rest of the 5
/// %.
///
/// The kernel limits real-time threads too, but stops all of them for 50 ms, which is audible. A pause here is at most
/// 2 ms. The thread's processor time is read only when the thread may be busy, because reading it is a system call.
class ProcessorShare {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// To be called on the thread after each round of its work, with the time at which the round began. `hasMoreWork`
    /// means that the round did not wait for work.
    void endRound(SteadyTime began, bool hasMoreWork);

private:
    void endWindow(SteadyTime now);

    SteadyTime windowStart_{};
    /// Processor time of the thread at the start of the window; -1 (unknown) if the window before was idle.
    std::chrono::nanoseconds usedBefore_{-1};
    unsigned rounds_ = 0;
    bool mayBeBusy_ = false;
};

}  // namespace corvel
