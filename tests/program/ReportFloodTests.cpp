// What the router says of its traffic: a line for every message that was sent, and few lines about messages that could
// not be, since a receiver that takes nothing must cost neither memory nor the command line's answers nor the others'
// notes.

#include "tests/program/SequencerProgramFixture.hpp"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

const Bytes kMark{0xFB};
constexpr const char* kNotSent = "MIDI message could not be sent";

std::string hexadecimal(const Bytes& bytes) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        text << (index == 0 ? "" : " ") << std::setw(2) << static_cast<int>(bytes[index]);
    }
    return text.str();
}

class ReportFlood : public SequencerProgramFixture {
protected:
    ReportFlood()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kLargestPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    /// Plays the next notes, no further ahead of the receiver than the sequencer keeps.
    void playNext(unsigned count) {
        ASSERT_NO_FATAL_FAILURE(playInBatches(keyboard_, keys_, synth_, played_, count, count, [](unsigned) {}));
        played_ += count;
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
    unsigned played_ = 0;
};

TEST_F(ReportFlood, OfTwentyThousandNotesIsWrittenLineByLineInOrder) {
    constexpr unsigned kCount = 20'000;
    ASSERT_NO_FATAL_FAILURE(start({"--monitor"}));
    ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
    for (unsigned batch = 0; batch < kCount / 500; ++batch) {
        ASSERT_NO_FATAL_FAILURE(playNext(500));
        // The reader takes what is there, as a terminal does.
        static_cast<void>(corvel_->standardOutput());
    }
    keyboard_.play(keys_, kMark);
    ASSERT_TRUE(synth_.readUntilCount(kCount + 1));
    EXPECT_TRUE(corvel_->waitForOutput("\tFB\n", kDeadline));

    std::istringstream lines(corvel_->standardOutput());
    unsigned count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        if (count < kCount) {
            ASSERT_EQ(line.substr(line.find('\t') + 1),
                      "Stage Keyboard Out\tStage Synth In\tNote\t" + hexadecimal(SequencerPeer::numberedNote(count)))
                << "line " << count;
        }
    }
    EXPECT_EQ(count, kCount + 1);
    terminate();
}

/// Beside the receiver that reads, one that never does.
class ReportFloodOfFailures : public ReportFlood {
protected:
    ReportFloodOfFailures() : deaf_("Deaf Synth") {
        deaf_.addPort("In", SequencerPeer::kDestination);
        connect("Stage Keyboard", "Deaf Synth");
    }

    /// Plays until the condition holds, and looks at the program's memory and its standard error meanwhile.
    template <typename Condition>
    void floodUntil(Condition isDone) {
        while (!isDone()) {
            ASSERT_NO_FATAL_FAILURE(playNext(250));
            static_cast<void>(corvel_->standardError());
            mostMemoryKiB_ = std::max(mostMemoryKiB_, memoryKiB("VmRSS"));
        }
    }

    SequencerPeer deaf_;
    long mostMemoryKiB_ = 0;
};

TEST_F(ReportFloodOfFailures, IsMergedAndHoldsOffNeitherCommandsNorTheOtherReceiver) {
    constexpr std::chrono::seconds kFlood{6};
    constexpr long kMostMemoryKiB = 150 * 1024;
    // Far above the second that it may take on a machine that does nothing else.
    constexpr std::chrono::seconds kPrompt{4};

    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
    // The receiver is full once the router says so.
    const auto giveUp = steady_clock::now() + kDeadline;
    ASSERT_NO_FATAL_FAILURE(floodUntil(
        [&] { return corvel_->standardError().find(kNotSent) != std::string::npos || steady_clock::now() > giveUp; }));
    ASSERT_FALSE(errorLines(kNotSent).empty());

    const auto begin = steady_clock::now();
    ChildProcess sets = command({"--sets"});
    steady_clock::time_point answered;
    ASSERT_NO_FATAL_FAILURE(floodUntil([&] {
        if (answered == steady_clock::time_point{} && sets.wait(milliseconds(0))) {
            answered = steady_clock::now();
        }
        return steady_clock::now() - begin > kFlood;
    }));
    const auto end = steady_clock::now();
    ASSERT_NE(answered, steady_clock::time_point{}) << "no answer during the flood";
    EXPECT_EQ(sets.wait(milliseconds(0)), 0) << sets.standardError();
    EXPECT_NE(sets.standardOutput().find("Stage"), std::string::npos) << sets.standardOutput();
    EXPECT_LT(answered - begin, kPrompt);
    RecordProperty("answered_ms", std::to_string((answered - begin) / milliseconds(1)));
    RecordProperty("notes", std::to_string(played_));
    RecordProperty("memory_KiB", std::to_string(mostMemoryKiB_));
    EXPECT_LT(mostMemoryKiB_, kMostMemoryKiB);

    // The other receiver has everything, and at once again what is played behind the flood.
    ASSERT_TRUE(synth_.readUntilCount(played_)) << synth_.received().size() << " of " << played_;
    expectNumberedNotes(synth_, played_);
    const auto before = steady_clock::now();
    keyboard_.play(keys_, kMark);
    ASSERT_TRUE(synth_.readUntilCount(played_ + 1));
    EXPECT_EQ(synth_.received().back().bytes, kMark);
    EXPECT_LT(steady_clock::now() - before, kPrompt);
    EXPECT_EQ(synth_.overruns(), 0U);

    // One line at once, then one a second, and one behind the end.
    const auto lines = errorLines(kNotSent);
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(end - begin) + kDeadline;
    EXPECT_LT(lines.size(), static_cast<std::size_t>(seconds.count())) << lines.front();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        // How many there were, beside the status.
        const std::size_t status = line.find(')', line.find(kNotSent));
        return status != std::string::npos && line.find_first_of("0123456789", status) != std::string::npos;
    })) << lines.back();
    terminate();
}

}  // namespace

}  // namespace corvel::tests
