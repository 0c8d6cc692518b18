#pragma once

#include <chrono>
#include <optional>

namespace corvel::hosts {

/// Decides when the performer is told that input overruns come again and again.
///
/// A single overrun (of a machine that stood still for a moment) is for the log alone. A second one within a minute is
/// a condition that lasts: it is told at once, and then once a minute while overruns go on.
class OverrunWarning {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds kInterval{60};

    /// Counts an overrun. Whether the performer is to be told now.
    [[nodiscard]] bool noteOverrun(SteadyTime now);

private:
    std::optional<SteadyTime> lastOverrun_;
    std::optional<SteadyTime> lastWarning_;
};

}  // namespace corvel::hosts
