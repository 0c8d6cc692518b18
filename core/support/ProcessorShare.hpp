#pragma once

#include <chrono>

namespace corvel {

/// Keeps a thread from using its processor without a pause: where it was busy for more than 95 % of a window of time,
/// it sleeps for the rest of its 5 %.
///
/// The kernel does the same to threads with real-time priority, but by stopping all of them for 50 ms, which is heard.
/// A pause here is at most 2 ms. The thread's processor time is asked for only where it may be busy, since that
/// is a system call.
class ProcessorShare {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// To be called on the thread after each round of its work, with the time at which the round began.
    /// `hasMoreWork` tells that the round did not wait for work.
    void endRound(SteadyTime began, bool hasMoreWork);

private:
    void endWindow(SteadyTime now);

    SteadyTime windowStart_{};
    /// Processor time of the thread at the window's start; unknown (-1) where the window before was idle.
    std::chrono::nanoseconds usedBefore_{-1};
    unsigned rounds_ = 0;
    bool mayBeBusy_ = false;
};

}  // namespace corvel
