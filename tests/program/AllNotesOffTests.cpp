// All Notes Off from the command line, as a script or a foot switch gives it: to the running instance, and without one.

#include "tests/program/SequencerProgramFixture.hpp"

#include <cstdint>

namespace corvel::tests {

namespace {

/// Sustain off, All Notes Off and All Sound Off on each channel.
Bytes silence() {
    Bytes bytes;
    for (std::uint8_t channel = 0; channel < 16; ++channel) {
        for (const std::uint8_t controller : {std::uint8_t{64}, std::uint8_t{123}, std::uint8_t{120}}) {
            bytes.insert(bytes.end(), {static_cast<std::uint8_t>(0xB0 + channel), controller, 0});
        }
    }
    return bytes;
}

class AllNotesOff : public SequencerProgramFixture {
protected:
    AllNotesOff()
        : keyboard_("Stage Keyboard"),
          synth_("Stage Synth"),
          bystander_("Bystander"),
          keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        bystander_.addPort("In", SequencerPeer::kDestination);
        connect("Stage Keyboard", "Stage Synth");
    }

    void expectSuccess(ChildProcess command) {
        EXPECT_EQ(command.wait(kDeadline), 0) << command.standardError();
        EXPECT_EQ(command.standardOutput(), "All notes off on 1 output\n");
    }

    /// Expects the bytes at the connected destination and none at the other.
    void expectHeard(const Bytes& expected) {
        EXPECT_TRUE(synth_.readUntilBytes(expected.size()));
        EXPECT_EQ(synth_.receivedBytes(), expected);
        bystander_.readWaiting();
        EXPECT_EQ(bystander_.receivedBytes(), Bytes{});
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerPeer bystander_;
    SequencerAddress keys_;
};

TEST_F(AllNotesOff, ToTheProgramThatRunsSilencesEveryChannelOfConnectedDestinations) {
    ASSERT_NO_FATAL_FAILURE(start());
    expectSuccess(ChildProcess(command({"--all-notes-off"})));
    expectHeard(silence());
    terminate();
}

TEST_F(AllNotesOff, ToTheProgramThatRunsEndsHeldNotesFirst) {
    releaseHeldNotes();
    ASSERT_NO_FATAL_FAILURE(start());
    keyboard_.play(keys_, {0x92, 60, 100});
    keyboard_.play(keys_, {0xB2, 64, 127});
    ASSERT_TRUE(synth_.readUntilCount(2));
    synth_.forgetReceived();

    expectSuccess(ChildProcess(command({"--all-notes-off"})));
    Bytes expected{0x82, 60, 64, 0xB2, 64, 0};
    const Bytes rest = silence();
    expected.insert(expected.end(), rest.begin(), rest.end());
    expectHeard(expected);
    terminate();
}

TEST_F(AllNotesOff, WithoutAProgramThatRunsSilencesTheSavedConnections) {
    file_.write(document());
    expectSuccess(ChildProcess(command({"--midi", "alsa", "--all-notes-off"})));
    expectHeard(silence());
}

}  // namespace

}  // namespace corvel::tests
