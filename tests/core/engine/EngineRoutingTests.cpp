#include "tests/core/engine/EngineFixture.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string_view>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
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

    static MIDIRoute keysToSynth(ChannelMode mode = ChannelMode::asIs(), std::uint32_t id = 1) {
        return makeRoute({.id = makeID(id), .sourceID = 1011, .destinationID = 1021, .channelMode = mode});
    }

    static MIDIRoute keysToDrums(ChannelMode mode = ChannelMode::asIs(), std::uint32_t id = 2) {
        return makeRoute({.id = makeID(id), .sourceID = 1011, .destinationID = 1022, .channelMode = mode});
    }

    void startWith(std::vector<MIDIRoute> routes) {
        engine->updateRoutes(std::move(routes));
        startEngine();
    }

    void play(std::initializer_list<std::vector<std::uint8_t>> packets, MIDIObjectRef connection = 11) {
        host->receive(packets, connection);
        settle();
    }
};

// Receiving

TEST_F(EngineRouting, OnlyPostsOnTheReceiveThread) {
    startWith({keysToSynth()});
    host->recording = FakeMIDIHost::Recording::everything;
    host->receive({{0x90, 60, 100}, {0x80, 60, 0}}, 11);
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_EQ(queue->pendingCount(), 1U);
    EXPECT_EQ(mainQueue->pendingCount(), 0U);
}

TEST_F(EngineRouting, KeepsACopyOfTheBytesReceived) {
    startWith({keysToSynth()});
    // The fake overwrites the bytes as soon as the call returns.
    host->receive({{0x90, 60, 100}}, 11);
    queue->runAll();
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 21, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, IgnoresAnAbsentReferenceConstant) {
    startWith({keysToSynth()});
    host->receive({{0x90, 60, 100}}, 0);
    EXPECT_EQ(queue->pendingCount(), 0U);
    settle();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineRouting, DropsADeliveryFromAnUnknownSourceSilently) {
    startWith({keysToSynth()});
    play({{0x90, 60, 100}}, 13);
    play({{0x90, 60, 100}}, 1011);
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

// Matching and sending

TEST_F(EngineRouting, SendsAPacketOnAndReportsIt) {
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->calls, ElementsAre("makePacket([90 3C 64])", "send(port 3, destination 21, [90 3C 64])"));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [90 3C 64]"));
}

TEST_F(EngineRouting, ForcesTheChannelOfAConnection) {
    startWith({keysToSynth(ChannelMode::force(10))});
    play({{0x90, 60, 100, 0x80, 60, 0, 0xF8}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 21, {0x99, 60, 100, 0x89, 60, 0, 0xF8}}));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [99 3C 64 89 3C 00 F8]"));
}

TEST_F(EngineRouting, SendsBytesAsTheyAreForAChannelThatDoesNotExist) {
    startWith({keysToSynth(ChannelMode::force(17)), keysToDrums(ChannelMode::force(0))});
    play({{0x93, 60, 100}});
    EXPECT_THAT(host->sent,
                ElementsAre(FakeSentPacket{3, 21, {0x93, 60, 100}}, FakeSentPacket{3, 22, {0x93, 60, 100}}));
}

TEST_F(EngineRouting, SendsThroughEveryMatchingConnectionInTheirOrderEachWithItsOwnCopy) {
    startWith({keysToDrums(ChannelMode::force(10)), keysToSynth(), keysToDrums(ChannelMode::force(3), 3)});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->calls, ElementsAre("makePacket([99 3C 64])", "send(port 3, destination 22, [99 3C 64])",
                                         "makePacket([90 3C 64])", "send(port 3, destination 21, [90 3C 64])",
                                         "makePacket([92 3C 64])", "send(port 3, destination 22, [92 3C 64])"));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [99 3C 64]", "routed [90 3C 64]", "routed [92 3C 64]"));
    ASSERT_THAT(delegate->activities, SizeIs(3));
    EXPECT_EQ(delegate->activities[0].routeID, makeID(2));
    EXPECT_EQ(delegate->activities[1].routeID, makeID(1));
    EXPECT_EQ(delegate->activities[2].routeID, makeID(3));
}

TEST_F(EngineRouting, SendsTwiceThroughTwoConnectionsBetweenTheSameEndpoints) {
    startWith({keysToSynth(ChannelMode::asIs(), 1), keysToSynth(ChannelMode::force(2), 2)});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->sent,
                ElementsAre(FakeSentPacket{3, 21, {0x90, 60, 100}}, FakeSentPacket{3, 21, {0x91, 60, 100}}));
    ASSERT_THAT(delegate->activities, SizeIs(2));
    EXPECT_EQ(delegate->activities[0].routeID, makeID(1));
    EXPECT_EQ(delegate->activities[1].routeID, makeID(2));
}

TEST_F(EngineRouting, SendsNothingThroughADisabledConnection) {
    MIDIRoute disabled = keysToSynth();
    disabled.isEnabled = false;
    startWith({disabled});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineRouting, SendsNothingFromASourceWithoutConnections) {
    startWith({keysToSynth()});
    play({{0x90, 60, 100}}, 12);
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineRouting, SkipsAnAbsentDestinationSilentlyAndGoesOn) {
    startWith({makeRoute({.sourceID = 1011, .destinationID = 1099}), keysToDrums()});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->calls, ElementsAre("makePacket([90 3C 64])", "send(port 3, destination 22, [90 3C 64])"));
    EXPECT_THAT(delegate->reports, ElementsAre("routed [90 3C 64]"));
}

TEST_F(EngineRouting, SendsAllOfAPacketBeforeItLooksAtTheNext) {
    startWith({keysToSynth(), keysToDrums()});
    play({{0x90, 60, 100}, {0xB0, 7, 90}, {0x80, 60, 0}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 21, {0x90, 60, 100}}, FakeSentPacket{3, 22, {0x90, 60, 100}},
                                        FakeSentPacket{3, 21, {0xB0, 7, 90}}, FakeSentPacket{3, 22, {0xB0, 7, 90}},
                                        FakeSentPacket{3, 21, {0x80, 60, 0}}, FakeSentPacket{3, 22, {0x80, 60, 0}}));
}

TEST_F(EngineRouting, RoutesAPacketOfLengthZero) {
    startWith({keysToSynth(ChannelMode::force(4))});
    play({{}, {0x90, 60, 100}});
    EXPECT_THAT(host->calls, ElementsAre("makePacket([])", "send(port 3, destination 21, [])", "makePacket([93 3C 64])",
                                         "send(port 3, destination 21, [93 3C 64])"));
    EXPECT_THAT(delegate->reports, ElementsAre("routed []", "routed [93 3C 64]"));
    ASSERT_THAT(delegate->activities, SizeIs(2));
    EXPECT_EQ(delegate->activities[0].messageKind, MIDIMessageKind::unknown);
}

TEST_F(EngineRouting, DoesNothingForADeliveryWithoutPackets) {
    startWith({keysToSynth()});
    play({});
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineRouting, SendsALongExclusiveMessageInOnePiece) {
    startWith({keysToSynth(), keysToDrums(ChannelMode::force(5))});
    host->recording = FakeMIDIHost::Recording::nothing;
    std::vector<std::uint8_t> exclusive(60'000, 0x55);
    exclusive.front() = 0xF0;
    exclusive.back() = 0xF7;
    play({exclusive});
    const MIDIBytes expected(exclusive.begin(), exclusive.end());
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 21, expected}, FakeSentPacket{3, 22, expected}));
    ASSERT_THAT(delegate->activities, SizeIs(2));
    EXPECT_EQ(delegate->activities[1].bytes, expected);
    EXPECT_EQ(delegate->activities[1].messageKind, MIDIMessageKind::sysex);
}

TEST_F(EngineRouting, RoutesFromBothOfTwoSourcesThatShareAnIdentifier) {
    host->addSource(13, {.displayName = "Twin", .uniqueID = 1011});
    startWith({keysToSynth()});
    play({{0x90, 60, 100}}, 11);
    play({{0x90, 61, 100}}, 13);
    EXPECT_THAT(host->sent,
                ElementsAre(FakeSentPacket{3, 21, {0x90, 60, 100}}, FakeSentPacket{3, 21, {0x90, 61, 100}}));
}

TEST_F(EngineRouting, SendsToTheLaterOfTwoDestinationsThatShareAnIdentifier) {
    host->addDestination(23, {.displayName = "Twin", .uniqueID = 1021});
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 23, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, MatchesByReferenceWhereTheServiceGivesNoIdentifier) {
    host->addSource(13, {.uniqueID = 0});
    host->addDestination(4294967294, {});
    startWith({makeRoute({.sourceID = 13, .destinationID = -2})});
    play({{0x90, 60, 100}}, 13);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 4294967294, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, SendsToAnOfflineDestinationThatIsListed) {
    host->properties[21].isOffline = true;
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 1U);
}

TEST_F(EngineRouting, RoutesFromASourceThatCouldNotBeConnected) {
    host->connectStatuses[11] = -16;
    startWith({keysToSynth()});
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 1U);
}

// Routes and endpoints that change

TEST_F(EngineRouting, AppliesNewRoutesToThePacketThatFollowsAtOnce) {
    startWith({keysToSynth()});
    engine->updateRoutes({keysToDrums()});
    host->receive({{0x90, 60, 100}}, 11);
    settle();
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 22, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, AppliesTheOldRoutesToThePacketThatCameBefore) {
    startWith({keysToSynth()});
    host->receive({{0x90, 60, 100}, {0x80, 60, 0}}, 11);
    engine->updateRoutes({keysToDrums()});
    settle();
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 21, {0x90, 60, 100}}, FakeSentPacket{3, 21, {0x80, 60, 0}}));
}

TEST_F(EngineRouting, ReplacesTheWholeListOfRoutes) {
    startWith({keysToSynth(), keysToDrums()});
    engine->updateRoutes({});
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 0U);
}

TEST_F(EngineRouting, ReplacesRoutesOnItsQueue) {
    startWith({});
    engine->updateRoutes({keysToSynth()});
    EXPECT_EQ(queue->pendingCount(), 1U);
    EXPECT_EQ(mainQueue->pendingCount(), 0U);
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
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 25, {0x90, 60, 100}}));
}

TEST_F(EngineRouting, DropsWhatComesFromAReferenceThatIsGone) {
    startWith({keysToSynth()});
    host->sources = {14};
    host->properties[14] = {.displayName = "Keys", .uniqueID = 1011};
    engine->reloadEndpoints();
    play({{0x90, 60, 100}}, 11);
    EXPECT_EQ(host->sentCount, 0U);
    play({{0x90, 61, 100}}, 14);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{3, 21, {0x90, 61, 100}}));
}

TEST_F(EngineRouting, KeepsItsTablesWhenAReloadIsRefused) {
    host->outputPortStatus = -10832;
    startWith({keysToSynth()});
    engine->reloadEndpoints();
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 0U);
    EXPECT_THAT(callsTo({"connectSource", "disconnectSource"}), IsEmpty());
}

// Failures

TEST_F(EngineRouting, ReportsAPacketThatCannotBeMadeAndGoesOn) {
    startWith({keysToSynth(ChannelMode::force(2)), keysToDrums()});
    host->canMakePacket = [](std::span<const std::uint8_t> bytes) { return bytes[0] != 0x91; };
    play({{0x90, 60, 100}});
    EXPECT_THAT(host->calls, ElementsAre("makePacket([91 3C 64])", "makePacket([90 3C 64])",
                                         "send(port 3, destination 22, [90 3C 64])"));
    EXPECT_THAT(delegate->reports,
                ElementsAre("failed: MIDI packet could not be created (-10838)", "routed [90 3C 64]"));
}

TEST_F(EngineRouting, ReportsAPacketThatCannotBeSentWithItsStatusAndGoesOnWithoutRetrying) {
    startWith({keysToSynth(), keysToDrums()});
    host->sendStatuses[21] = -11;
    play({{0x90, 60, 100}, {0x80, 60, 0}});
    EXPECT_THAT(host->calls, ElementsAre("makePacket([90 3C 64])", "send(port 3, destination 21, [90 3C 64])",
                                         "makePacket([90 3C 64])", "send(port 3, destination 22, [90 3C 64])",
                                         "makePacket([80 3C 00])", "send(port 3, destination 21, [80 3C 00])",
                                         "makePacket([80 3C 00])", "send(port 3, destination 22, [80 3C 00])"));
    EXPECT_THAT(delegate->reports, ElementsAre("failed: MIDI message could not be sent (-11)", "routed [90 3C 64]",
                                               "failed: MIDI message could not be sent (-11)", "routed [80 3C 00]"));
}

TEST_F(EngineRouting, TakesEveryNonzeroStatusForAFailure) {
    startWith({keysToSynth()});
    for (const MIDIStatus status : {1, -1, 2147483647, static_cast<MIDIStatus>(-2147483648LL)}) {
        host->sendStatuses[21] = status;
        play({{0x90, 60, 100}});
    }
    EXPECT_THAT(delegate->reports,
                ElementsAre("failed: MIDI message could not be sent (1)", "failed: MIDI message could not be sent (-1)",
                            "failed: MIDI message could not be sent (2147483647)",
                            "failed: MIDI message could not be sent (-2147483648)"));
}

// Activity

TEST_F(EngineRouting, StampsActivityWhenTheSendHasSucceeded) {
    startWith({keysToSynth(), keysToDrums()});
    clock->set(ManualClock::kStart);
    host->onCall = [this](std::string_view operation) {
        if (operation == "send") {
            clock->advance(milliseconds(5));
        }
    };
    host->receive({{0x90, 60, 0}}, 11);
    clock->advance(milliseconds(100));
    queue->runAll();
    clock->advance(milliseconds(1000));
    mainQueue->runAll();
    ASSERT_THAT(delegate->activities, SizeIs(2));
    EXPECT_EQ(delegate->activities[0].timestamp, ManualClock::kStart + milliseconds(105));
    EXPECT_EQ(delegate->activities[1].timestamp, ManualClock::kStart + milliseconds(110));
    EXPECT_EQ(delegate->activities[0].messageKind, MIDIMessageKind::noteOff);
    host->onCall = nullptr;
}

TEST_F(EngineRouting, GivesEveryActivityAnIdentityOfItsOwn) {
    startWith({keysToSynth(), keysToDrums()});
    play({{0x90, 60, 100}, {0x90, 60, 100}});
    std::set<UUID> ids;
    for (const MIDIActivityEvent& event : delegate->activities) {
        ids.insert(event.id);
    }
    EXPECT_THAT(ids, SizeIs(4));
    EXPECT_EQ(ids.count(UUID{}), 0U);
}

TEST_F(EngineRouting, ReportsNoActivityInsideTheDelivery) {
    startWith({keysToSynth()});
    host->receive({{0x90, 60, 100}}, 11);
    queue->runAll();
    EXPECT_THAT(delegate->reports, IsEmpty());
    EXPECT_EQ(mainQueue->pendingCount(), 1U);
}

TEST_F(EngineRouting, ReportsActivityAndFailuresInTheOrderInWhichTheyHappened) {
    startWith({keysToSynth(), keysToDrums()});
    host->sendStatuses[22] = -19;
    host->receive({{0x90, 60, 100}}, 11);
    engine->reloadEndpoints();
    host->receive({{0x80, 60, 0}}, 11);
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("routed [90 3C 64]", "failed: MIDI message could not be sent (-19)",
                            "logged: Endpoint reload (manual refresh): 2 sources, 2 destinations, 2 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed",
                            "routed [80 3C 00]", "failed: MIDI message could not be sent (-19)"));
}

TEST_F(EngineRouting, KeepsTheNewest4096ActivitiesAndEveryOtherReportWhileTheMainThreadStandsStill) {
    startWith({keysToSynth(), keysToDrums()});
    host->recording = FakeMIDIHost::Recording::nothing;
    host->keepsSent = false;
    host->sendStatuses[22] = -11;
    for (unsigned number = 0; number < 5000; ++number) {
        const auto high = static_cast<std::uint8_t>(number >> 7U);
        const auto low = static_cast<std::uint8_t>(number & 0x7FU);
        host->receive({{0x90, high, low}}, 11);
        queue->runAll();
    }
    EXPECT_EQ(mainQueue->pendingCount(), 1U);
    settle();
    EXPECT_EQ(host->sentCount, 5000U);
    EXPECT_THAT(delegate->failures, SizeIs(5000));
    ASSERT_THAT(delegate->activities, SizeIs(4096));
    // The first 904 gave way.
    EXPECT_EQ(delegate->activities.front().bytes, (MIDIBytes{0x90, 7, 8}));
    EXPECT_EQ(delegate->activities.back().bytes, (MIDIBytes{0x90, 39, 7}));
    EXPECT_EQ(delegate->reports.front(), "failed: MIDI message could not be sent (-11)");
    EXPECT_EQ(delegate->reports[904], "routed [90 07 08]");
    EXPECT_EQ(delegate->reports[905], "failed: MIDI message could not be sent (-11)");
}

}  // namespace
}  // namespace corvel::tests
