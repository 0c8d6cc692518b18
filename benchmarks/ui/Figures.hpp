#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// Functions that the measurements of the window share.
namespace corvel::benchmarks {

/// Prints a figure and, if it has a limit, its ratio to the limit.
void printFigure(const std::string& what, double figure, const char* unit, std::optional<double> limit);

/// The processor time of this process, or of the calling thread alone.
[[nodiscard]] double processorSeconds();
[[nodiscard]] double threadProcessorSeconds();

/// Prints the median and the 99th percentile.
void printPercentiles(const std::string& what, std::vector<double> values, const char* unit,
                      std::optional<double> limit);

/// Runs Qt's loop for this time.
void runLoop(std::chrono::milliseconds duration);

}  // namespace corvel::benchmarks
