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

/// The base of tests of a promise. `script/prove` tries each promise many times, `script/test` a few times. A promise
/// that does not hold fails its test. Belongs to the test's thread, except `ask`.
class ProofFixture : public SequencerProgramFixture {
protected:
    /// The factor by which more is tried than the minimum: CORVEL_PROOF_SCALE, or 1.
    [[nodiscard]] static unsigned scale();
    /// The time limit of a promise, and 20 times as much without CORVEL_PROOF_SCALE, as in `script/test`, whose machine
    /// is emulated and busy.
    [[nodiscard]] static std::chrono::milliseconds limit(std::chrono::milliseconds promised);
    /// Makes a run repeatable: CORVEL_PROOF_SEED, or 1.
    [[nodiscard]] static unsigned seed();

    /// Reports a promise with the number of times that it was tried and held, and fails the test unless it always
    /// held. `detail` says how far from the limit it was.
    static void report(const std::string& promise, std::size_t tried, std::size_t held, const std::string& detail = {});

    /// Sends a command to the running program over its socket, as a later start does, but starts no process, so that
    /// only the running program is measured. Any thread.
    [[nodiscard]] TimedAnswer ask(std::vector<std::string> arguments) const;

    /// The number of open descriptors of the program.
    [[nodiscard]] std::size_t descriptors() const;

    /// Starts the program on the present document, with its window, which is drawn only in memory. Returns when it
    /// answers.
    void startWindow();

    RandomSource random_{seed()};
};

}  // namespace corvel::tests
