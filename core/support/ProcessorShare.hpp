#pragma once

#include <chrono>

namespace corvel {

/// Limits the processor time of a thread: leaves 8 % of the time to other threads, by short sleeps.
///
/// At real-time priority a busy thread would otherwise stop every other program on its processor. The kernel leaves
/// them 5 %, but by stopping all real-time threads for 50 ms each second, which is audible. A pause here is at most 1
/// ms, so messages that arrive meanwhile fit into the sequencer's buffer for a client. A burst of up to 12 ms after a
/// quieter time needs no pause. The thread's processor time is read only while the thread may be busy, because reading
/// it is a system call.
class ProcessorShare {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// The source of the thread's times. Tests drive it by hand.
    class Time {
    public:
        [[nodiscard]] virtual SteadyTime now() = 0;
        /// Processor time that the calling thread has used so far.
        [[nodiscard]] virtual std::chrono::nanoseconds used() = 0;
        virtual void sleep(std::chrono::nanoseconds duration) = 0;

    protected:
        ~Time() = default;
    };

    static constexpr std::chrono::nanoseconds kMaxPause = std::chrono::milliseconds(1);

    /// Uses the system's time.
    ProcessorShare();
    /// `time` must outlive this object.
    explicit ProcessorShare(Time& time) : time_(time) {}

    /// To be called on the thread after each round of its work and between the steps of a long one. `roughNow` may be
    /// as old as the round. `mayBeBusy` means that the thread did not wait for its work.
    void look(SteadyTime roughNow, bool mayBeBusy);

private:
    /// The maximum time that a burst may run without a pause.
    static constexpr std::chrono::nanoseconds kMaxCredit = std::chrono::milliseconds(1);

    void endBusyWindow();
    [[nodiscard]] std::chrono::nanoseconds pauseAfter(std::chrono::nanoseconds elapsed);

    Time& time_;
    SteadyTime windowStart_{};
    /// Processor time of the thread at the start of the window; -1 (unknown) if the window before was idle.
    std::chrono::nanoseconds usedBefore_{-1};
    /// The time that other threads still have to get; negative if they got more than their share.
    std::chrono::nanoseconds owed_{-kMaxCredit};
    unsigned looks_ = 0;
    bool mayBeBusy_ = false;
};

}  // namespace corvel
