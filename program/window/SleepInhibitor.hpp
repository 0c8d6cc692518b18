#pragma once

namespace corvel {

/// Asks the desktop not to blank the screen and not to send the machine to sleep.
class SleepInhibitor {
public:
    SleepInhibitor() = default;
    SleepInhibitor(const SleepInhibitor&) = delete;
    SleepInhibitor& operator=(const SleepInhibitor&) = delete;
    virtual ~SleepInhibitor() = default;

    /// Asks for it. Returns at once.
    virtual void inhibit() = 0;
    /// Takes back what `inhibit` asked for. Returns at once.
    virtual void release() = 0;
};

}  // namespace corvel
