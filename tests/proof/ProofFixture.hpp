#pragma once

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/support/RandomSource.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

/// The answer of the running program to a later start.
struct TimedAnswer {
    /// No value if the program did not answer within ten seconds or declined.
    std::optional<int> exitCode;
    std::string text;
    std::chrono::milliseconds duration{0};
};

/// A promise that `script/prove` tries many times. The same test runs a few times in `script/test`, where each also
/// fails like any other test. Belongs to the test's thread, except `ask`.
class ProofFixture : public SequencerProgramFixture {
protected:
    /// How much more is tried than the minimum: CORVEL_PROOF_SCALE, or 1.
    [[nodiscard]] static unsigned scale();
    /// The time limit that a promise names. Twenty times as long in `script/test`, whose machine is emulated and busy.
    [[nodiscard]] static std::chrono::milliseconds limit(std::chrono::milliseconds promised);
    /// Makes a run repeatable: CORVEL_PROOF_SEED, or 1.
    [[nodiscard]] static unsigned seed();

    /// Reports a promise with the number of times that it was tried and held, and fails the test unless it always
    /// held. `detail` says how far from the limit it was.
    static void report(const std::string& promise, std::size_t tried, std::size_t held, const std::string& detail = {});

    /// Sends a command to the running program over its socket, as a later start does. Callable on any thread: it needs
    /// nothing but the document's name, so it measures the program and not the start of another.
    [[nodiscard]] TimedAnswer ask(std::vector<std::string> arguments) const;

    /// The number of open descriptors of the program.
    [[nodiscard]] std::size_t descriptors() const;

    /// Starts the program with its window, which is drawn in memory, on the document as it is. Returns when it answers.
    void startWindow();

    RandomSource random_{seed()};
};

}  // namespace corvel::tests
