#pragma once

#include "core/support/Clock.hpp"

#include <chrono>

namespace corvel::tests {

/// A wall clock that shows the time that a test sets. One thread only.
class ManualClock : public Clock {
public:
    /// 2024-01-01 00:00:00 UTC.
    static constexpr Instant kStart{std::chrono::seconds(1'704'067'200)};

    explicit ManualClock(Instant start = kStart) : now_(start) {}

    [[nodiscard]] Instant now() const override { return now_; }

    void set(Instant instant) { now_ = instant; }
    void advance(std::chrono::nanoseconds duration) { now_ += duration; }

private:
    Instant now_;
};

}  // namespace corvel::tests
