#pragma once

#include <chrono>
#include <memory>

namespace corvel {

/// A wall-clock instant in whole nanoseconds since the Unix epoch.
using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;

/// Gives the wall-clock time, so that tests can set the clock by hand.
class Clock {
public:
    virtual ~Clock() = default;

    /// The current instant. Any thread.
    [[nodiscard]] virtual Instant now() const = 0;
};

/// The system's clock.
[[nodiscard]] std::shared_ptr<const Clock> makeSystemClock();

}  // namespace corvel
