#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::benchmarks {

/// How many units of work one iteration did. Without it the figure of a benchmark is that of an iteration.
inline constexpr const char* kUnits = "per_unit";

/// Says how many messages, say, an iteration handled, so that the figure of the benchmark is the time for one.
void setUnitsPerIteration(benchmark::State& state, double units);

/// Prints every run as it ends, and at the end of all what they come to beside the limits that they have.
///
/// A figure is the median of a benchmark's repetitions: other work on the machine then shows little.
class Summary : public benchmark::ConsoleReporter {
public:
    /// `name` may take `limit` times as long as `baseline`; without a limit the ratio is only shown.
    void addRatio(std::string name, std::string baseline, std::optional<double> limit);

    /// The counter of `name` may be at most `limit`; without a limit it is only shown.
    void addCounter(std::string name, std::string counter, std::optional<double> limit);

    /// The time may grow with the size as size times the logarithm of the size at most. `half`, `whole` and `twice`
    /// handle half of `size` things, all of them, and twice as many.
    void addGrowth(std::string half, std::string whole, std::string twice, double size);

    void ReportRuns(const std::vector<Run>& runs) override;

    /// Prints a line for each limit and figure. True if no limit is missed; what did not run misses none.
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

    /// What stands for all repetitions.
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
