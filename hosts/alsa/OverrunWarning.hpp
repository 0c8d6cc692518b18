#pragma once

#include <chrono>
#include <optional>

namespace corvel::hosts {

/// Decides when the performer is told about repeated input overruns.
///
/// A single overrun, after the machine stopped for a moment, only goes into the log. A second one within a minute is
/// reported at once, and then once a minute while overruns continue.
class OverrunWarning {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds kInterval{60};

    /// Counts an overrun. Returns whether to tell the performer now.
    [[nodiscard]] bool noteOverrun(SteadyTime now);

private:
    std::optional<SteadyTime> lastOverrun_;
    std::optional<SteadyTime> lastWarning_;
};

}  // namespace corvel::hosts
