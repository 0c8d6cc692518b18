#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

/// The factor by which more is tried than the minimum: CORVEL_PROOF_SCALE, or 1.
[[nodiscard]] unsigned scale();
/// The time limit of a promise, and 20 times as much without CORVEL_PROOF_SCALE, as in `script/test`, whose machine is
/// busy, and emulated for tests that need a sequencer.
[[nodiscard]] std::chrono::milliseconds limit(std::chrono::milliseconds promised);
/// Makes a run repeatable: CORVEL_PROOF_SEED, or 1.
[[nodiscard]] unsigned seed();

/// Reports a promise with the number of times that it was tried and held, and fails the test unless it always held.
/// `detail` says how far from the limit it was. Test's thread.
void report(const std::string& promise, std::size_t tried, std::size_t held, const std::string& detail = {});

/// The answer of the running program to a later start.
struct TimedAnswer {
    /// No value if the program did not answer within ten seconds or declined.
    std::optional<int> exitCode;
    std::string text;
    std::chrono::milliseconds duration{0};
};

/// Sends a command to the only instance in the runtime folder over its socket, as a later start does, but starts no
/// process, so that only the running program is measured. Relative paths in it refer to the runtime folder. Any thread.
[[nodiscard]] TimedAnswer askInstance(const std::filesystem::path& runtimeFolder, std::vector<std::string> arguments);

}  // namespace corvel::tests
