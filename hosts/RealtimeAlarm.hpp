#pragma once

#include <sys/types.h>

#include <chrono>

namespace corvel::hosts {

/// Keeps the program alive when one of its real-time threads uses a processor for too long without a pause.
///
/// The kernel limits that time (`RLIMIT_RTTIME`), and kills a program that passes the limit. Half-way to it the kernel
/// sends SIGXCPU. The handler that stands here puts the thread back to ordinary priority, so the show goes on.
///
/// One at a time in a program.
class RealtimeAlarm {
public:
    /// Sets the limit to this time, or leaves it where it is lower. False if the system refuses.
    [[nodiscard]] static bool limit(std::chrono::microseconds time);

    /// Guards the thread with this kernel ID. Throws `std::system_error` if no descriptor is left.
    explicit RealtimeAlarm(pid_t thread);
    RealtimeAlarm(const RealtimeAlarm&) = delete;
    RealtimeAlarm& operator=(const RealtimeAlarm&) = delete;
    /// Further signals still do not end the program.
    ~RealtimeAlarm();

    /// Readable once the kernel has given the alarm.
    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// Makes the descriptor unreadable until the next alarm. Whether the guarded thread has lost its priority.
    [[nodiscard]] bool acknowledge() const;

private:
    const pid_t thread_;
    const int descriptor_;
};

}  // namespace corvel::hosts
