#include "benchmarks/support/Summary.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace corvel::benchmarks {

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// For growth, because a machine that is slow for a while would look like growth.
double fastest(std::vector<double> values) {
    return std::ranges::min(values);
}

/// "52.3 ns".
std::string timeText(double seconds) {
    constexpr double kNanosecond = 1e-9;
    double value = seconds / kNanosecond;
    const char* unit = "ns";
    for (const char* larger : {"us", "ms", "s"}) {
        if (value < 1000) {
            break;
        }
        value /= 1000;
        unit = larger;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", value, unit);
    return text;
}

/// The exponent of a power that grows as n log n does from half of `size` to twice `size`.
double exponentAllowed(double size) {
    return 1 + std::log2(std::log(2 * size) / std::log(size / 2)) / 2;
}

/// Whether the repetition failed. Google Benchmark 1.8 renamed the field.
template <typename Run>
bool hasFailed(const Run& run) {
    if constexpr (requires { run.error_occurred; }) {
        return run.error_occurred;
    } else {
        return static_cast<bool>(run.skipped);
    }
}

const char* verdict(bool isMet) {
    return isMet ? "pass" : "MISS";
}

}  // namespace

void setUnitsPerIteration(benchmark::State& state, double units) {
    state.counters[kUnits] =
        benchmark::Counter(units, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Summary::addRatio(std::string name, std::string baseline, std::optional<double> limit) {
    ratios_.push_back({std::move(name), std::move(baseline), limit});
}

void Summary::addCounter(std::string name, std::string counter, std::optional<double> limit) {
    counters_.push_back({std::move(name), std::move(counter), limit});
}

void Summary::addGrowth(std::string half, std::string whole, std::string twice, double size) {
    growths_.push_back({std::move(half), std::move(whole), std::move(twice), size});
}

void Summary::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration || hasFailed(run)) {
            continue;
        }
        const std::string& name = run.run_name.function_name;
        const double iterations = static_cast<double>(run.iterations);
        const bool isRealTime = !run.run_name.time_type.empty();
        double time = (isRealTime ? run.real_accumulated_time : run.cpu_accumulated_time) / iterations;
        for (const auto& [counterName, counter] : run.counters) {
            if (counterName == kUnits) {
                time = counter.value;
            } else {
                countersByName_[name][counterName].push_back(counter.value);
            }
        }
        secondsByName_[name].push_back(time);
    }
    ConsoleReporter::ReportRuns(runs);
}

bool Summary::printSummary() const {
    // Every kind is printed, also after a miss.
    const bool areRatiosMet = printRatios();
    const bool areCountersMet = printCounters();
    const bool isGrowthMet = printGrowth();
    std::fflush(stdout);
    return areRatiosMet && areCountersMet && isGrowthMet;
}

std::optional<double> Summary::seconds(const std::string& name, Statistic statistic) const {
    const auto found = secondsByName_.find(name);
    return found == secondsByName_.end() ? std::nullopt : std::optional(statistic(found->second));
}

std::optional<double> Summary::counterValue(const Counter& counter) const {
    const auto found = countersByName_.find(counter.name);
    if (found == countersByName_.end() || !found->second.contains(counter.counter)) {
        return std::nullopt;
    }
    const std::vector<double>& values = found->second.at(counter.counter);
    // The worst repetition: a count does not depend on other work on the machine.
    return *std::ranges::max_element(values);
}

bool Summary::printRatios() const {
    std::printf("\n%-46s %10s  %-42s %10s %6s %6s\n", "time", "", "beside", "", "ratio", "limit");
    bool isMet = true;
    for (const Ratio& entry : ratios_) {
        const std::optional<double> here = seconds(entry.name, median);
        const std::optional<double> baseline = seconds(entry.baseline, median);
        if (!here || !baseline) {
            std::printf("%-46s %12s\n", entry.name.c_str(), "not run");
            continue;
        }
        const double ratio = *here / *baseline;
        std::printf("%-46s %10s  %-42s %10s %6.2f", entry.name.c_str(), timeText(*here).c_str(), entry.baseline.c_str(),
                    timeText(*baseline).c_str(), ratio);
        if (entry.limit) {
            std::printf(" %6.2f  %s", *entry.limit, verdict(ratio <= *entry.limit));
            isMet = isMet && ratio <= *entry.limit;
        }
        std::printf("\n");
    }
    return isMet;
}

bool Summary::printCounters() const {
    std::printf("\n%-46s %-24s %8s %8s\n", "count", "", "here", "limit");
    bool isMet = true;
    for (const Counter& entry : counters_) {
        const std::optional<double> here = counterValue(entry);
        if (!here) {
            std::printf("%-46s %12s\n", entry.name.c_str(), "not run");
            continue;
        }
        std::printf("%-46s %-24s %8.3f", entry.name.c_str(), entry.counter.c_str(), *here);
        if (entry.limit) {
            std::printf(" %8.3f  %s", *entry.limit, verdict(*here <= *entry.limit));
            isMet = isMet && *here <= *entry.limit;
        }
        std::printf("\n");
    }
    return isMet;
}

bool Summary::printGrowth() const {
    std::printf("\n%-46s %10s %10s %10s %8s %8s\n", "growth", "half", "whole", "twice", "exponent", "limit");
    bool isMet = true;
    for (const Growth& entry : growths_) {
        const std::optional<double> half = seconds(entry.half, fastest);
        const std::optional<double> whole = seconds(entry.whole, fastest);
        const std::optional<double> twice = seconds(entry.twice, fastest);
        if (!half || !whole || !twice) {
            std::printf("%-46s %10s\n", entry.whole.c_str(), "not run");
            continue;
        }
        const double exponent = std::log2(*twice / *half) / 2;
        const double allowed = exponentAllowed(entry.size);
        std::printf("%-46s %10s %10s %10s %8.2f %8.2f  %s\n", entry.whole.c_str(), timeText(*half).c_str(),
                    timeText(*whole).c_str(), timeText(*twice).c_str(), exponent, allowed,
                    verdict(exponent <= allowed));
        isMet = isMet && exponent <= allowed;
    }
    return isMet;
}

}  // namespace corvel::benchmarks
