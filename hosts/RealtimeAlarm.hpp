#pragma once

#include <sys/types.h>

#include <chrono>

namespace corvel::hosts {

/// Keeps the program alive if one of its real-time threads uses a processor for too long without a pause.
///
/// The kernel limits that time (`RLIMIT_RTTIME`) and kills a program that exceeds the limit. At half of it the kernel
/// sends SIGXCPU. The handler here then sets the thread back to ordinary priority, so the show goes on.
///
/// Only one object at a time in a program.
class RealtimeAlarm {
public:
    /// Sets the limit to this time, unless it is already lower. Returns false if the system refuses.
    [[nodiscard]] static bool limit(std::chrono::microseconds time);

    /// Guards the thread with this kernel ID. Throws `std::system_error` if no descriptor is left.
    explicit RealtimeAlarm(pid_t thread);
    RealtimeAlarm(const RealtimeAlarm&) = delete;
    RealtimeAlarm& operator=(const RealtimeAlarm&) = delete;
    /// Further signals still do not end the program.
    ~RealtimeAlarm();

    /// Readable after the kernel has sent the signal.
    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// Makes the descriptor unreadable until the next signal. Returns whether the guarded thread has lost its priority.
    [[nodiscard]] bool acknowledge() const;

private:
    const pid_t thread_;
    const int descriptor_;
};

}  // namespace corvel::hosts
