#include "tests/core/engine/EngineFixture.hpp"

#include <cstddef>
#include <cstdint>
#include <thread>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Keys (11, ID 1011) and pads (12, ID 1012); synth (21, ID 1021) and drums (22, ID 1022).
class EngineRouting : public EngineFixture {
protected:
    EngineRouting() {
        addKeysAndSynth();
        host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
        host->addDestination(22, {.displayName = "Drums", .uniqueID = 1022});
    }

    static MIDIRoute keysToDrums(ChannelMode mode = ChannelMode::asIs(), std::uint32_t id = 2) {
        return makeRoute({.id = makeID(id), .sourceID = 1011, .destinationID = 1022, .channelMode = mode});
    }

    /// Delivers packets as a service does that receives on the engine's queue.
    void playOnQueue(std::initializer_list<MIDIBytes> packets, MIDIObjectRef source = 11) {
        queue->sync([&] { host->receive(packets, source); });
    }
};

// Receiving

TEST_F(EngineRouting, OnlyCopiesAndPostsOnAThreadOfTheService) {
    startWith({keysToSynth()});
    // The fake overwrites the bytes as soon as the call returns.
    std::thread([this] { host->receive({{0x90, 60, 100}, MIDIBytes(100, 0x55)}, 11); }).join();
    EXPECT_THAT(host->sent, IsEmpty());
    EXPECT_EQ(queue->runAll(), 1U);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, MIDIBytes(100, 0x55)}));
}

TEST_F(EngineRouting, SendsAtOnceWhatArrivesOnItsQueue) {
    startWith({keysToSynth()});
    queue->sync([this] {
        host->receive({{0x90, 60, 100}}, 11);
        EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}));
        host->receive({{0x80, 60, 0}}, 11);
    });
    EXPECT_THAT(host->sent, SizeIs(2));
    EXPECT_THAT(delegate->reports, IsEmpty()) << "inside the delivery";
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("routed [90 3C 64]", "routed [80 3C 00]"));
}

TEST_F(EngineRouting, DropsWhatComesFromAnUnknownOrAbsentSourceSilentlyAndTakesTheRest) {
    startWith({keysToSynth()});
    const std::vector<MIDIArrival> arrivals{
        {0, {0x90, 60, 100}}, {13, {0x90, 61, 100}}, {11, {0x90, 62, 100}}, {1011, {0x90, 63, 100}}};
    host->receive(arrivals);
    settle();
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 62, 100}}));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [90 3E 64]"));
}

TEST_F(EngineRouting, SendsWhatCameFromSeveralSourcesTogetherInItsOrder) {
    startWith({keysToSynth(), makeRoute({.sourceID = 1012, .destinationID = 1021})});
    const std::vector<MIDIArrival> arrivals{{11, {0x90, 60, 100}}, {12, {0x90, 61, 100}}, {11, {0x80, 60, 0}}};
    host->receive(arrivals);
    settle();
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, {0x90, 61, 100}},
                                        FakeSentPacket{21, {0x80, 60, 0}}));
    EXPECT_THAT(host->sendSizes, ElementsAre(3));
}

// Endpoints in use

TEST_F(EngineRouting, TellsTheServiceWhichDestinationsConnectionsLeadTo) {
    startWith({keysToDrums(), keysToSynth(), keysToDrums(ChannelMode::force(2), 3)});
    EXPECT_THAT(host->usedDestinations, ElementsAre(21, 22));
    engine->updateRoutes({keysToDrums()});
    settle();
    EXPECT_THAT(host->usedDestinations, ElementsAre(22));
    MIDIRoute disabled = keysToDrums();
    disabled.isEnabled = false;
    engine->updateRoutes({disabled});
    settle();
    EXPECT_THAT(host->usedDestinations, IsEmpty());
}

TEST_F(EngineRouting, TellsTheServiceWhichSourcesHaveConnectionsAlsoPausedOnes) {
    startWith({keysToSynth(), keysToDrums()});
    EXPECT_THAT(host->usedSources, ElementsAre(11));
    MIDIRoute disabled = makeRoute({.sourceID = 1012, .destinationID = 1021});
    disabled.isEnabled = false;
    engine->updateRoutes({disabled, makeRoute({.sourceID = 999, .destinationID = 1021})});
    settle();
    EXPECT_THAT(host->usedSources, ElementsAre(12));
}

TEST_F(EngineRouting, TellsTheServiceOfADestinationThatComesBack) {
    startWith({keysToDrums()});
    host->destinations = {21};
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(host->usedDestinations, IsEmpty());
    host->destinations = {21, 22};
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(host->usedDestinations, ElementsAre(22));
}

// Matching and sending

TEST_F(EngineRouting, ForcesTheChannelOfAConnection) {
    startWith({keysToSynth(ChannelMode::force(10))});
    play({{0x90, 60, 100, 0x80, 60, 0, 0xF8}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x99, 60, 100, 0x89, 60, 0, 0xF8}}));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [99 3C 64 89 3C 00 F8]"));
}

TEST_F(EngineRouting, SendsThroughEveryMatchingConnectionInTheirOrderEachWithItsOwnBytes) {
    startWith({keysToDrums(ChannelMode::force(10)), keysToSynth(), keysToDrums(ChannelMode::force(3), 3)});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{22, {0x99, 60, 100}}, FakeSentPacket{21, {0x90, 60, 100}},
                                        FakeSentPacket{22, {0x92, 60, 100}}));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [99 3C 64]", "routed [90 3C 64]", "routed [92 3C 64]"));
    ASSERT_THAT(delegate->activities, SizeIs(3));
    EXPECT_EQ(delegate->activities[0].routeID, makeID(2));
    EXPECT_EQ(delegate->activities[1].routeID, makeID(1));
    EXPECT_EQ(delegate->activities[2].routeID, makeID(3));
}

TEST_F(EngineRouting, SendsNothingThroughADisabledConnectionNorFromASourceWithoutOne) {
    MIDIRoute disabled = keysToSynth();
    disabled.isEnabled = false;
    startWith({disabled});
    play({{0x90, 60, 100}}, 11);
    play({{0x90, 60, 100}}, 12);
    EXPECT_THAT(host->sendSizes, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineRouting, SkipsAnAbsentDestinationSilentlyAndGoesOn) {
    startWith({makeRoute({.sourceID = 1011, .destinationID = 1099}), keysToDrums()});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{22, {0x90, 60, 100}}));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [90 3C 64]"));
}

TEST_F(EngineRouting, SendsAllOfAPacketBeforeItLooksAtTheNext) {
    startWith({keysToSynth(), keysToDrums()});
    play({{0x90, 60, 100}, {0xB0, 7, 90}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{22, {0x90, 60, 100}},
                                        FakeSentPacket{21, {0xB0, 7, 90}}, FakeSentPacket{22, {0xB0, 7, 90}}));
}

TEST_F(EngineRouting, RoutesAPacketOfLengthZero) {
    startWith({keysToSynth(ChannelMode::force(4))});
    play({{}, {0x90, 60, 100}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {}}, FakeSentPacket{21, {0x93, 60, 100}}));
    EXPECT_THAT(delegate->reports, ElementsAre("routed []", "routed [93 3C 64]"));
}

TEST_F(EngineRouting, DoesNothingForADeliveryWithoutPackets) {
    startWith({keysToSynth()});
    play({});
    EXPECT_THAT(host->sendSizes, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineRouting, SendsALongSysExMessageInOnePiece) {
    startWith({keysToSynth(), keysToDrums(ChannelMode::force(5))});
    MIDIBytes sysEx(60'000, 0x55);
    sysEx.writable().front() = 0xF0;
    sysEx.writable().back() = 0xF7;
    play({sysEx});
    EXPECT_EQ(host->sent, (std::vector<FakeSentPacket>{{21, sysEx}, {22, sysEx}}));
    ASSERT_THAT(delegate->activities, SizeIs(2));
    EXPECT_EQ(delegate->activities[1].bytes, sysEx);
}

TEST_F(EngineRouting, GivesTheServiceAtMost64MessagesTogetherAndLosesNone) {
    startWith({keysToSynth(), keysToDrums(), keysToSynth(ChannelMode::force(3), 3)});
    std::vector<MIDIArrival> arrivals;
    std::vector<FakeSentPacket> expected;
    for (std::uint8_t number = 0; number < 50; ++number) {
        arrivals.push_back({11, {0x90, number, 100}});
        expected.push_back({21, {0x90, number, 100}});
        expected.push_back({22, {0x90, number, 100}});
        expected.push_back({21, {0x92, number, 100}});
    }
    host->receive(arrivals);
    settle();
    EXPECT_THAT(host->sendSizes, ElementsAre(64, 64, 22));
    EXPECT_EQ(host->sent, expected);
    ASSERT_THAT(delegate->activities, SizeIs(150));
    for (std::size_t index = 0; index < expected.size(); ++index) {
        EXPECT_EQ(delegate->activities[index].bytes, expected[index].bytes) << index;
    }
}

TEST_F(EngineRouting, SendsWhatArrivesOnItsQueueBehindWhatWasPostedBefore) {
    startWith({keysToSynth()});
    std::thread([this] { host->receive({{0x90, 60, 100}}, 11); }).join();
    playOnQueue({{0x80, 60, 0}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, {0x80, 60, 0}}));
}

// Endpoints that are hard to distinguish

TEST_F(EngineRouting, RoutesFromBothOfTwoSourcesThatShareAnIdentifier) {
    host->addSource(13, {.displayName = "Twin", .uniqueID = 1011});
    startWith({keysToSynth()});
    play({{0x90, 60, 100}}, 11);
    play({{0x90, 61, 100}}, 13);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, {0x90, 61, 100}}));
}

TEST_F(EngineRouting, SendsToTheLaterOfTwoDestinationsThatShareAnIdentifier) {
    host->addDestination(23, {.displayName = "Twin", .uniqueID = 1021});
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{23, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, MatchesByReferenceWhereTheServiceGivesNoIdentifier) {
    host->addSource(13, {.uniqueID = 0});
    host->addDestination(4294967294, {});
    startWith({makeRoute({.sourceID = 13, .destinationID = -2})});
    play({{0x90, 60, 100}}, 13);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{4294967294, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, SendsToAnOfflineDestinationAndFromASourceThatCouldNotBeConnected) {
    host->properties[21].isOffline = true;
    host->connectStatuses[11] = -16;
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 1U);
}

// Routes and endpoints that change

TEST_F(EngineRouting, AppliesToAPacketTheWholeListOfRoutesThatWasSetLastBeforeIt) {
    startWith({keysToSynth()});
    host->receive({{0x90, 60, 100}, {0x80, 60, 0}}, 11);
    engine->updateRoutes({keysToDrums()});
    host->receive({{0x90, 61, 100}}, 11);
    engine->updateRoutes({});
    host->receive({{0x90, 62, 100}}, 11);
    settle();
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, {0x80, 60, 0}},
                                        FakeSentPacket{22, {0x90, 61, 100}}));
}

TEST_F(EngineRouting, FollowsADestinationThatComesBackUnderAnotherReference) {
    startWith({keysToSynth()});
    host->destinations = {22};
    engine->reloadEndpoints();
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 0U);
    host->addDestination(25, {.displayName = "Synth", .uniqueID = 1021});
    engine->reloadEndpoints();
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{25, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, DropsWhatComesFromAReferenceThatIsGone) {
    startWith({keysToSynth()});
    host->sources.clear();
    host->addSource(14, {.displayName = "Keys", .uniqueID = 1011});
    engine->reloadEndpoints();
    play({{0x90, 60, 100}}, 11);
    EXPECT_EQ(host->sentCount, 0U);
    play({{0x90, 61, 100}}, 14);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 61, 100}}));
}

// Failures

TEST_F(EngineRouting, ReportsWhatCouldNotBeSentWithItsStatusAndGoesOnWithoutRetrying) {
    startWith({keysToSynth(ChannelMode::force(2)), keysToDrums()});
    host->sendStatuses[21] = kMIDIPacketNotMade;
    play({{0x90, 60, 100}});
    EXPECT_THAT(delegate->takeReports(),
                ElementsAre("failed: MIDI packet could not be created (-10838)", "routed [90 3C 64]"));
    host->sendStatuses[21] = -11;
    play({{0x80, 60, 0}});
    EXPECT_THAT(delegate->takeReports(),
                ElementsAre("failed: MIDI message could not be sent (-11)", "routed [80 3C 00]"));
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{22, {0x90, 60, 100}}, FakeSentPacket{22, {0x80, 60, 0}}));
    EXPECT_THAT(host->sendSizes, ElementsAre(2, 2));
}

}  // namespace
}  // namespace corvel::tests
