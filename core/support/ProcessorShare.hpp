#pragma once

#include <chrono>

namespace corvel {

/// Keeps a thread from using its processor without a pause: it leaves 8 % of the time to others, by short sleeps.
///
/// At real-time priority a busy thread would otherwise stop every other program on its processor. The kernel, which
/// leaves them 5 %, does so by stopping all real-time threads for 50 ms each second, which is heard. A pause here is at
/// most 1 ms: what arrives meanwhile fits into what the system keeps for a client. A burst of up to 12 ms after a
/// quieter time goes without a pause. The thread's processor time is asked for only while the thread may be busy, since
/// that is a system call.
class ProcessorShare {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// Where the thread's times come from. Tests drive it by hand.
    class Time {
    public:
        virtual ~Time() = default;
        [[nodiscard]] virtual SteadyTime now() = 0;
        /// Processor time that the calling thread has used so far.
        [[nodiscard]] virtual std::chrono::nanoseconds used() = 0;
        virtual void sleep(std::chrono::nanoseconds duration) = 0;
    };

    static constexpr std::chrono::nanoseconds kMaxPause = std::chrono::milliseconds(1);

    /// On the system's own time.
    ProcessorShare();
    /// `time` must outlive this object.
    explicit ProcessorShare(Time& time) : time_(time) {}

    /// To be called on the thread after each round of its work and between the steps of a long one. `roughNow` may be
    /// as old as the round. `mayBeBusy` tells that the thread did not wait for its work.
    void look(SteadyTime roughNow, bool mayBeBusy);

private:
    /// The share of the burst that goes without a pause.
    static constexpr std::chrono::nanoseconds kMaxCredit = std::chrono::milliseconds(1);

    void endBusyWindow();
    [[nodiscard]] std::chrono::nanoseconds pauseAfter(std::chrono::nanoseconds elapsed);

    Time& time_;
    SteadyTime windowStart_{};
    /// Processor time of the thread at the start of the window; -1 (unknown) if the window before was idle.
    std::chrono::nanoseconds usedBefore_{-1};
    /// What the others are still to get; negative for what they got beyond their share.
    std::chrono::nanoseconds owed_{-kMaxCredit};
    unsigned looks_ = 0;
    bool mayBeBusy_ = false;
};

}  // namespace corvel
