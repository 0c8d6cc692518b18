#pragma once

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/proof/Proof.hpp"
#include "tests/support/RandomSource.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace corvel::tests {

/// The base of tests of a promise on the sequencer. `script/prove` tries each promise many times, `script/test` a few
/// times. A promise that does not hold fails its test. Belongs to the test's thread, except `ask`.
class ProofFixture : public SequencerProgramFixture {
protected:
    /// Sends a command to the running program. Any thread.
    [[nodiscard]] TimedAnswer ask(std::vector<std::string> arguments) const;

    /// The number of open descriptors of the program.
    [[nodiscard]] std::size_t descriptors() const;

    /// Starts the program on the present document, with its window, which is drawn only in memory. Returns when it
    /// answers.
    void startWindow();

    RandomSource random_{seed()};
};

}  // namespace corvel::tests
