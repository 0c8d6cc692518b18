// A program plays more than the router can read: the performer learns which one it is.

#include "tests/program/SequencerProgramFixture.hpp"

#include <gmock/gmock.h>

#include <system_error>

namespace corvel::tests {

namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class Overrun : public SequencerProgramFixture {
protected:
    Overrun()
        : keyboard_("Stage Keyboard"),
          clock_("Stage Clock"),
          synth_("Stage Synth"),
          keys_(keyboard_.addPort("Out", SequencerPeer::kSource)),
          ticks_(clock_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kMaxPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    /// Plays more than the sequencer keeps for a router that is stopped.
    void overrun(std::size_t count) {
        ASSERT_NO_FATAL_FAILURE(halt());
        // The sequencer refuses what comes when nothing fits any more.
        EXPECT_THROW(keyboard_.playNumberedNotes(keys_, 0, 2 * kMaxPool), std::system_error);
        resume();
        ASSERT_TRUE(waitUntil([&] { return errorLines("MIDI input overrun (" + std::to_string(count)).size() == 1; }));
    }

    SequencerPeer keyboard_;
    SequencerPeer clock_;
    SequencerPeer synth_;
    SequencerAddress keys_;
    SequencerAddress ticks_;
};

TEST_F(Overrun, ThatComesAgainIsToldWithTheSourceThatCausesIt) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
    keyboard_.playNumberedNotes(keys_, 0, 500);
    clock_.playNumberedNotes(ticks_, 0, 100);
    ASSERT_TRUE(synth_.readUntilCount(500));
    ASSERT_NO_FATAL_FAILURE(overrun(1));
    EXPECT_THAT(errorLines("were lost:"), IsEmpty());
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    keyboard_.playNumberedNotes(keys_, 0, 500);
    ASSERT_NO_FATAL_FAILURE(overrun(2));
    ASSERT_TRUE(waitUntil([&] { return !errorLines("were lost:").empty(); }));
    EXPECT_THAT(errorLines("Notes were lost: \"Stage Keyboard Out\" sends more than Corvel can take in"), SizeIs(1));
    ASSERT_NO_FATAL_FAILURE(overrun(3));
    EXPECT_THAT(errorLines("Notes were lost:"), SizeIs(1)) << "once a minute";
    terminate();
}

}  // namespace

}  // namespace corvel::tests
