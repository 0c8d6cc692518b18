// Ports that another program holds exclusively: the router reports that it cannot connect them, does not count them,
// and connects them once they are free.

#include "tests/program/SequencerProgramFixture.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>

namespace corvel::tests {

namespace {

using testing::IsEmpty;

std::string text(SequencerAddress address) {
    return std::to_string(address.client) + ":" + std::to_string(address.port);
}

class ExclusivePort : public SequencerProgramFixture {
protected:
    ExclusivePort()
        : keyboard_("Stage Keyboard"),
          synth_("Stage Synth"),
          other_("Other Program"),
          keys_(keyboard_.addPort("Out", SequencerPeer::kSource)),
          otherIn_(other_.addPort("In", SequencerPeer::kDestination)),
          otherOut_(other_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        connect("Stage Keyboard", "Stage Synth");
    }

    static void connectExclusively(SequencerAddress from, SequencerAddress to) {
        ChildProcess patch({"aconnect", "-e", text(from), text(to)});
        ASSERT_EQ(patch.wait(kDeadline), 0) << patch.standardError();
    }

    ReloadSummary latestReload() {
        const auto all = reloads();
        return all.empty() ? ReloadSummary{} : all.back();
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerPeer other_;
    SequencerAddress keys_;
    SequencerAddress otherIn_;
    SequencerAddress otherOut_;
};

TEST_F(ExclusivePort, ThatIsASourceIsReportedAndNotCountedUntilItIsFree) {
    ASSERT_NO_FATAL_FAILURE(connectExclusively(keys_, otherIn_));
    ASSERT_NO_FATAL_FAILURE(start());
    const ReloadSummary held = latestReload();
    ASSERT_GT(held.sources, 1);
    EXPECT_EQ(held.connections, held.sources - 1);
    EXPECT_TRUE(corvel_->waitForError("MIDI source could not be connected: Stage Keyboard Out (-16)\n",
                                      std::chrono::seconds(5)))
        << corvel_->standardError();

    // While it is held, later reloads do not count it as connected either.
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    const ReloadSummary stillHeld = latestReload();
    EXPECT_EQ(stillHeld.connections, stillHeld.sources - 1);

    ASSERT_EQ(other_.disconnect(keys_, otherIn_), 0);
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    EXPECT_EQ(keyboard_.subscribers(keys_).size(), 1U);
    const ReloadSummary free = latestReload();
    EXPECT_EQ(free.connections, free.sources);
    keyboard_.play(keys_, {0x90, 60, 100});
    ASSERT_TRUE(synth_.readUntilCount(1));
    EXPECT_EQ(synth_.receivedBytes(), (Bytes{0x90, 60, 100}));
    terminate();
}

TEST_F(ExclusivePort, ThatIsNotHeldIsCountedWhenTheRouterIsNotAloneThere) {
    ASSERT_EQ(other_.connect(keys_, otherIn_), 0);
    ASSERT_NO_FATAL_FAILURE(start());
    const ReloadSummary initial = latestReload();
    ASSERT_GT(initial.sources, 1);
    EXPECT_EQ(initial.connections, initial.sources);
    EXPECT_EQ(keyboard_.subscribers(keys_).size(), 2U);
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    const ReloadSummary again = latestReload();
    EXPECT_EQ(again.connections, again.sources);
    EXPECT_THAT(errorLines("could not be"), IsEmpty());
    terminate();
}

TEST_F(ExclusivePort, ThatIsADestinationIsReportedAtEachMessageUntilItIsFree) {
    const SequencerAddress device = other_.find("Virtual Raw MIDI 0-0", "VirMIDI 0-0");
    file_.add({.sourceID = sourceID("Stage Keyboard"),
               .destinationID = endpointID("destination", "card:VirMIDI", 0, "VirMIDI 0-0")});
    ASSERT_NO_FATAL_FAILURE(connectExclusively(otherOut_, device));
    ASSERT_NO_FATAL_FAILURE(start({"--monitor"}));
    keyboard_.play(keys_, {0x90, 60, 100});
    ASSERT_TRUE(synth_.readUntilCount(1));
    EXPECT_TRUE(corvel_->waitForError("MIDI message could not be sent (-16)\n", std::chrono::seconds(5)))
        << corvel_->standardError();
    // The line for the other receiver is there; the held one has none.
    ASSERT_TRUE(corvel_->waitForOutput("Stage Synth In\tNote\t90 3C 64\n", kDeadline));
    EXPECT_EQ(corvel_->standardOutput().find("VirMIDI"), std::string::npos) << corvel_->standardOutput();

    ASSERT_EQ(other_.disconnect(otherOut_, device), 0);
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    keyboard_.play(keys_, {0x91, 61, 101});
    ASSERT_TRUE(synth_.readUntilCount(2));
    EXPECT_TRUE(waitUntil([&] {
        const std::string& lines = corvel_->standardOutput();
        const std::size_t line = lines.find("VirMIDI");
        return line != std::string::npos && lines.find("91 3D 65\n", line) != std::string::npos;
    })) << corvel_->standardOutput();
    terminate();
}

}  // namespace

}  // namespace corvel::tests
