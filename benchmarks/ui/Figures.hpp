#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// What the measurements of the window have in common.
namespace corvel::benchmarks {

/// Prints a figure, and what part of its limit it is if it has one.
void printFigure(const std::string& what, double figure, const char* unit, std::optional<double> limit);

/// The processor's time that this process, or the calling thread alone, has taken.
[[nodiscard]] double processorSeconds();
[[nodiscard]] double threadProcessorSeconds();

/// Prints the median and the 99th of a hundred.
void printPercentiles(const std::string& what, std::vector<double> values, const char* unit,
                      std::optional<double> limit);

/// Runs Qt's loop for a while.
void runLoop(std::chrono::milliseconds duration);

}  // namespace corvel::benchmarks
