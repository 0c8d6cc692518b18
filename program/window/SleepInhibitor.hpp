#pragma once

namespace corvel {

/// Keeps the desktop from blanking the screen and from sending the machine to sleep.
class SleepInhibitor {
public:
    SleepInhibitor() = default;
    SleepInhibitor(const SleepInhibitor&) = delete;
    SleepInhibitor& operator=(const SleepInhibitor&) = delete;
    virtual ~SleepInhibitor() = default;

    /// Requests it. Returns at once.
    virtual void inhibit() = 0;
    /// Ends the request. Returns at once.
    virtual void release() = 0;
};

}  // namespace corvel
