#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::benchmarks {

/// The counter with the number of units of work in an iteration. Without it, a benchmark's figure is the time of an
/// iteration.
inline constexpr const char* kUnits = "per_unit";

/// Sets how many units, such as messages, an iteration handled, so that the benchmark's figure is the time of one.
void setUnitsPerIteration(benchmark::State& state, double units);

/// Prints every run when it ends, and at the end all figures with their limits.
///
/// A figure is the median of a benchmark's repetitions, which reduces the influence of other work on the machine.
class Summary : public benchmark::ConsoleReporter {
public:
    /// `name` may take `limit` times as long as `baseline`; without a limit the ratio is only printed.
    void addRatio(std::string name, std::string baseline, std::optional<double> limit);

    /// The counter of `name` may be at most `limit`; without a limit it is only printed.
    void addCounter(std::string name, std::string counter, std::optional<double> limit);

    /// The time may grow at most as n log n. `half`, `whole` and `twice` handle half of `size` things, all of them, and
    /// twice as many.
    void addGrowth(std::string half, std::string whole, std::string twice, double size);

    void ReportRuns(const std::vector<Run>& runs) override;

    /// Prints a line for each limit and figure. Returns true if no limit is missed; benchmarks that did not run miss
    /// none.
    [[nodiscard]] bool printSummary() const;

private:
    struct Ratio {
        std::string name;
        std::string baseline;
        std::optional<double> limit;
    };
    struct Counter {
        std::string name;
        std::string counter;
        std::optional<double> limit;
    };
    struct Growth {
        std::string half;
        std::string whole;
        std::string twice;
        double size = 0;
    };

    /// The value that represents all repetitions.
    using Statistic = double (*)(std::vector<double> values);

    [[nodiscard]] std::optional<double> seconds(const std::string& name, Statistic statistic) const;
    [[nodiscard]] std::optional<double> counterValue(const Counter& counter) const;

    bool printRatios() const;
    bool printCounters() const;
    bool printGrowth() const;

    std::map<std::string, std::vector<double>> secondsByName_;
    std::map<std::string, std::map<std::string, std::vector<double>>> countersByName_;
    std::vector<Ratio> ratios_;
    std::vector<Counter> counters_;
    std::vector<Growth> growths_;
};

}  // namespace corvel::benchmarks
