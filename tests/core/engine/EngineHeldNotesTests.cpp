#include "tests/core/engine/EngineFixture.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Keys (11, ID 1011) and pads (12, ID 1012); synth (21, ID 1021) and drums (22, ID 1022).
class EngineHeldNotes : public EngineFixture {
protected:
    EngineHeldNotes() {
        addKeysAndSynth();
        host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
        host->addDestination(22, {.displayName = "Drums", .uniqueID = 1022});
    }

    /// Holds a chord and the pedal through a connection on channel 5, and forgets the sent messages.
    void holdChord() {
        engine->setReleasesHeldNotes(true);
        startWith({keysToSynth(ChannelMode::force(5))});
        play({{0x90, 60, 100}, {0x90, 64, 100}, {0xB0, 64, 127}, {0x90, 67, 100}, {0x80, 67, 0}});
        host->sent.clear();
        delegate->reports.clear();
    }

    std::vector<FakeSentPacket> sentAfterUpdate(std::vector<MIDIRoute> routes) {
        host->sent.clear();
        engine->updateRoutes(std::move(routes));
        settle();
        return host->sent;
    }

    std::vector<FakeSentPacket> sentAfterSetupChange() {
        host->sent.clear();
        host->notify({.messageID = MIDINotification::kSetupChanged});
        settle();
        return host->sent;
    }

    /// The messages that end the chord.
    const std::vector<FakeSentPacket> release{{21, {0x84, 60, 64}}, {21, {0x84, 64, 64}}, {21, {0xB4, 64, 0}}};
};

TEST_F(EngineHeldNotes, EndWhenTheirConnectionGoesToAnotherChannel) {
    holdChord();
    EXPECT_EQ(sentAfterUpdate({keysToSynth(ChannelMode::force(6))}), release);
    EXPECT_THAT(delegate->takeReports(), ElementsAre("logged: Released held notes: 3 messages"));
    EXPECT_THAT(sentAfterUpdate({}), IsEmpty()) << "once";
}

TEST_F(EngineHeldNotes, EndWhenTheirConnectionIsPausedDeletedOrTurnsElsewhere) {
    MIDIRoute paused = keysToSynth(ChannelMode::force(5));
    paused.isEnabled = false;
    MIDIRoute fromPads = keysToSynth(ChannelMode::force(5));
    fromPads.sourceID = 1012;
    MIDIRoute toDrums = keysToSynth(ChannelMode::force(5));
    toDrums.destinationID = 1022;
    for (const std::vector<MIDIRoute>& routes :
         {std::vector{paused}, std::vector<MIDIRoute>{}, std::vector{fromPads}, std::vector{toDrums},
          std::vector{keysToSynth(ChannelMode::force(5), 9)}}) {
        engine->updateRoutes({keysToSynth(ChannelMode::force(5))});
        holdChord();
        EXPECT_EQ(sentAfterUpdate(routes), release);
    }
}

TEST_F(EngineHeldNotes, EndWhenTheirSourceVanishes) {
    holdChord();
    std::erase(host->sources, 11U);
    EXPECT_EQ(sentAfterSetupChange(), release);
}

TEST_F(EngineHeldNotes, GoOnWhileTheirWayStaysAsItIs) {
    holdChord();
    EXPECT_THAT(sentAfterUpdate({makeRoute({.id = makeID(2), .sourceID = 1012, .destinationID = 1021}),
                                 keysToSynth(ChannelMode::force(5))}),
                IsEmpty());
    EXPECT_THAT(sentAfterSetupChange(), IsEmpty());
    EXPECT_EQ(sentAfterUpdate({}), release);
}

TEST_F(EngineHeldNotes, AreForgottenWithTheirDestination) {
    holdChord();
    std::erase(host->destinations, 21U);
    EXPECT_THAT(sentAfterSetupChange(), IsEmpty());
    host->destinations.push_back(21);
    EXPECT_THAT(sentAfterSetupChange(), IsEmpty());
    EXPECT_THAT(sentAfterUpdate({}), IsEmpty());
}

TEST_F(EngineHeldNotes, GoOnWhereAnotherConnectionHoldsThemToo) {
    engine->setReleasesHeldNotes(true);
    const MIDIRoute padsToSynth = makeRoute({.id = makeID(2), .sourceID = 1012, .destinationID = 1021});
    startWith({keysToSynth(), padsToSynth});
    play({{0x90, 60, 100}, {0x90, 62, 100}}, 11);
    play({{0x90, 60, 100}}, 12);
    EXPECT_THAT(sentAfterUpdate({padsToSynth}), ElementsAre(FakeSentPacket{21, {0x80, 62, 64}}));
    EXPECT_THAT(sentAfterUpdate({}), ElementsAre(FakeSentPacket{21, {0x80, 60, 64}}));
}

TEST_F(EngineHeldNotes, StayAsTheyAreUnlessTheUserWantsThemReleased) {
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_THAT(sentAfterUpdate({}), IsEmpty());
    engine->setReleasesHeldNotes(true);
    engine->updateRoutes({keysToSynth()});
    settle();
    play({{0x90, 61, 100}});
    engine->setReleasesHeldNotes(false);
    EXPECT_THAT(sentAfterUpdate({}), IsEmpty());
}

TEST_F(EngineHeldNotes, AreFollowedFromTheMomentTheUserWantsThemReleased) {
    startWith({keysToSynth()});
    engine->setReleasesHeldNotes(true);
    settle();
    play({{0x90, 60, 100}});
    EXPECT_THAT(sentAfterUpdate({}), ElementsAre(FakeSentPacket{21, {0x80, 60, 64}}));
}

TEST_F(EngineHeldNotes, EndInCallsOfAtMost64Messages) {
    engine->setReleasesHeldNotes(true);
    startWith({keysToSynth()});
    for (std::uint8_t note = 0; note < 100; ++note) {
        play({{0x90, note, 100}});
    }
    host->sendSizes.clear();
    const std::vector<FakeSentPacket> sent = sentAfterUpdate({});
    EXPECT_THAT(host->sendSizes, ElementsAre(64, 36));
    ASSERT_EQ(sent.size(), 100U);
    EXPECT_EQ(sent[64], (FakeSentPacket{21, {0x80, 64, 64}}));
    EXPECT_EQ(sent[99], (FakeSentPacket{21, {0x80, 99, 64}}));
}

TEST_F(EngineHeldNotes, ReportADestinationThatRefusesTheirEnd) {
    holdChord();
    host->sendStatuses[21] = -19;
    EXPECT_THAT(sentAfterUpdate({}), IsEmpty());
    EXPECT_THAT(delegate->takeReports(),
                ElementsAre("failed: MIDI message could not be sent (-19)", "logged: Released held notes: 3 messages"));
}

// Silence

class EngineSilence : public EngineHeldNotes {
protected:
    void silence(std::vector<std::int32_t> destinationIDs) {
        host->sent.clear();
        engine->silence(std::move(destinationIDs), [this] { ++doneCount; });
        settle();
    }

    int doneCount = 0;
};

TEST_F(EngineSilence, SendsSustainOffAllNotesOffAndAllSoundOffOnEveryChannelOneAMillisecond) {
    startWith({keysToSynth()});
    silence({1021});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0xB0, 64, 0}}));
    queue->advance(std::chrono::milliseconds(2));
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0xB0, 64, 0}}, FakeSentPacket{21, {0xB0, 123, 0}},
                                        FakeSentPacket{21, {0xB0, 120, 0}}));
    queue->advance(std::chrono::milliseconds(45));
    ASSERT_EQ(host->sent.size(), 48U);
    EXPECT_EQ(host->sent[45], (FakeSentPacket{21, {0xBF, 64, 0}}));
    EXPECT_EQ(host->sent[46], (FakeSentPacket{21, {0xBF, 123, 0}}));
    EXPECT_EQ(host->sent[47], (FakeSentPacket{21, {0xBF, 120, 0}}));
    settle();
    EXPECT_EQ(doneCount, 1);
    queue->advance(std::chrono::seconds(1));
    EXPECT_EQ(host->sent.size(), 48U);
}

TEST_F(EngineSilence, EndsTheNotesThatAreKnownToBeHeldFirst) {
    holdChord();
    silence({1021});
    queue->advance(std::chrono::milliseconds(3));
    EXPECT_THAT(host->sent, ElementsAre(release[0], release[1], release[2], FakeSentPacket{21, {0xB0, 64, 0}}));
    queue->advance(std::chrono::seconds(1));
    EXPECT_THAT(sentAfterUpdate({}), IsEmpty()) << "they have ended";
}

TEST_F(EngineSilence, ReachesSeveralDestinationsAtOnceAndLeavesOutAbsentOnes) {
    startWith({});
    silence({1022, 1099, 1021});
    EXPECT_THAT(host->sent,
                ::testing::UnorderedElementsAre(FakeSentPacket{21, {0xB0, 64, 0}}, FakeSentPacket{22, {0xB0, 64, 0}}));
    std::erase(host->destinations, 22U);
    EXPECT_THAT(sentAfterSetupChange(), IsEmpty());
    queue->advance(std::chrono::seconds(1));
    EXPECT_EQ(host->sent.size(), 47U) << "the rest for the synth alone";
    settle();
    EXPECT_EQ(doneCount, 1);
}

TEST_F(EngineSilence, BeginsAnewForADestinationThatIsBeingSilenced) {
    startWith({});
    silence({1021});
    queue->advance(std::chrono::milliseconds(10));
    silence({1021});
    queue->advance(std::chrono::seconds(1));
    EXPECT_EQ(host->sent.size(), 48U);
    settle();
    EXPECT_EQ(doneCount, 2);
}

TEST_F(EngineSilence, IsDoneAtOnceWithNothingToSilence) {
    silence({1021});
    EXPECT_EQ(doneCount, 1) << "not started";
    startEngine();
    silence({});
    EXPECT_EQ(doneCount, 2);
    engine->silence({}, {});
    settle();
    EXPECT_THAT(host->sent, IsEmpty());
}

// Traffic

using EngineTraffic = EngineHeldNotes;

TEST_F(EngineTraffic, NamesTheEndpointsThatSentOrWereSentSomethingSinceTheLastLook) {
    startWith({keysToSynth()});
    EXPECT_EQ(engine->takeTraffic(), ActiveEndpoints());
    play({{0x90, 60, 100}, {0x80, 60, 0}});
    EXPECT_EQ(engine->takeTraffic(), (ActiveEndpoints{{1011}, {1021}}));
    EXPECT_EQ(engine->takeTraffic(), ActiveEndpoints());
    play({{0xF8}}, 12);
    EXPECT_EQ(engine->takeTraffic(), (ActiveEndpoints{{1012}, {}})) << "without a connection";
    std::erase(host->sources, 12U);
    sentAfterSetupChange();
    play({{0x90, 60, 100}});
    EXPECT_EQ(engine->takeTraffic(), (ActiveEndpoints{{1011}, {1021}}));
}

}  // namespace
}  // namespace corvel::tests
