#include "tests/core/engine/EngineFixture.hpp"

#include <cstdint>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class EngineEndpoints : public EngineFixture {
protected:
    /// The reports of one reload and the change that it announces, after forgetting what was before.
    Calls reportsOfReload() {
        delegate->reports.clear();
        engine->reloadEndpoints();
        settle();
        return delegate->takeReports();
    }
};

// Listing

TEST_F(EngineEndpoints, ListsSourcesAndDestinationsInTheServicesOrder) {
    host->addSource(12, {.displayName = "Pads", .manufacturer = "Acme", .uniqueID = 5, .isOffline = false});
    host->addSource(11, {.displayName = "Keys", .uniqueID = -7});
    host->addDestination(21, {.displayName = "Synth", .manufacturer = "", .uniqueID = 5});
    const MIDIEndpoints endpoints = engine->endpoints();
    EXPECT_THAT(endpoints.sources,
                ElementsAre(MIDIEndpointModel{5, 12, "Pads", "Acme", MIDIEndpointDirection::source, true},
                            MIDIEndpointModel{-7, 11, "Keys", std::nullopt, MIDIEndpointDirection::source, true}));
    EXPECT_THAT(endpoints.destinations,
                ElementsAre(MIDIEndpointModel{5, 21, "Synth", "", MIDIEndpointDirection::destination, true}));
}

TEST_F(EngineEndpoints, ListsNothingForAServiceWithoutEndpoints) {
    EXPECT_EQ(engine->endpoints(), MIDIEndpoints{});
}

TEST_F(EngineEndpoints, ListsAfreshEachTimeAndBeforeStart) {
    addKeysAndSynth();
    EXPECT_THAT(engine->endpoints().sources, SizeIs(1));
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    EXPECT_THAT(engine->endpoints().sources, SizeIs(2));
    host->sources.clear();
    EXPECT_THAT(engine->endpoints().sources, IsEmpty());
    EXPECT_THAT(engine->endpoints().destinations, SizeIs(1));
}

TEST_F(EngineEndpoints, ListsOnTheQueueAfterWhatWasPostedBefore) {
    addKeysAndSynth();
    startEngine();
    engine->reloadEndpoints();
    host->recording = FakeMIDIHost::Recording::everything;
    (void)engine->endpoints();
    EXPECT_EQ(host->calls.front(), "disconnectSource(port 2, source 11)");
    EXPECT_EQ(queue->pendingCount(), 0U);
}

TEST_F(EngineEndpoints, ListingChangesNothingAndReportsNothing) {
    addKeysAndSynth();
    engine->updateRoutes({makeRoute({.sourceID = 1012, .destinationID = 1021})});
    startEngine();
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    (void)engine->endpoints();
    settle();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
    host->receive({{0x90, 60, 100}}, 12);
    settle();
    EXPECT_EQ(host->sentCount, 0U);
}

TEST_F(EngineEndpoints, ListingLeavesOutNullReferences) {
    host->sources = {0, 11, 0};
    host->destinations = {0};
    host->properties[11] = {.displayName = "Keys", .uniqueID = 1011};
    const MIDIEndpoints endpoints = engine->endpoints();
    ASSERT_THAT(endpoints.sources, SizeIs(1));
    EXPECT_EQ(endpoints.sources[0].endpointRef, 11U);
    EXPECT_THAT(endpoints.destinations, IsEmpty());
}

TEST_F(EngineEndpoints, NamesAnEndpointByDisplayNameThenNameThenReference) {
    host->addSource(11, {.displayName = "Keys Port 1", .name = "Port 1", .uniqueID = 1});
    host->addSource(12, {.name = "Port 2", .uniqueID = 2});
    host->addSource(13, {.uniqueID = 3});
    host->addSource(4294967294, {.uniqueID = 4});
    const MIDIEndpoints endpoints = engine->endpoints();
    ASSERT_THAT(endpoints.sources, SizeIs(4));
    EXPECT_EQ(endpoints.sources[0].displayName, "Keys Port 1");
    EXPECT_EQ(endpoints.sources[1].displayName, "Port 2");
    EXPECT_EQ(endpoints.sources[2].displayName, "MIDI Endpoint 13");
    EXPECT_EQ(endpoints.sources[3].displayName, "MIDI Endpoint 4294967294");
}

TEST_F(EngineEndpoints, IdentifiesAnEndpointByItsReferenceWhereTheUniqueIDIsZeroOrUnreadable) {
    host->addSource(11, {.uniqueID = 0});
    host->addSource(12, {});
    host->addDestination(4294967294, {});
    host->addDestination(22, {.uniqueID = -2147483648});
    const MIDIEndpoints endpoints = engine->endpoints();
    ASSERT_THAT(endpoints.sources, SizeIs(2));
    ASSERT_THAT(endpoints.destinations, SizeIs(2));
    EXPECT_EQ(endpoints.sources[0].id, 11);
    EXPECT_EQ(endpoints.sources[1].id, 12);
    EXPECT_EQ(endpoints.destinations[0].id, -2);
    EXPECT_EQ(endpoints.destinations[1].id, -2147483648);
}

TEST_F(EngineEndpoints, IsOfflineOnlyWhereTheServiceSaysSo) {
    host->addSource(11, {.isOffline = true});
    host->addSource(12, {.isOffline = false});
    host->addSource(13, {});
    const MIDIEndpoints endpoints = engine->endpoints();
    ASSERT_THAT(endpoints.sources, SizeIs(3));
    EXPECT_FALSE(endpoints.sources[0].isOnline);
    EXPECT_TRUE(endpoints.sources[1].isOnline);
    EXPECT_TRUE(endpoints.sources[2].isOnline);
}

// Reload

TEST_F(EngineEndpoints, ReloadsAtOnceInTheCallersEyesAndOnItsQueue) {
    addKeysAndSynth();
    startEngine();
    engine->reloadEndpoints();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_EQ(queue->pendingCount(), 1U);
    queue->runNext();
    EXPECT_THAT(host->calls, SizeIs(2));
}

TEST_F(EngineEndpoints, ReloadsStepByStep) {
    addKeysAndSynth();
    host->addDestination(22, {.displayName = "Drums", .uniqueID = 1022});
    startEngine();
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    host->recording = FakeMIDIHost::Recording::everything;
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(host->calls,
                ElementsAre("disconnectSource(port 2, source 11)",              //
                            "sourceCount()",                                    //
                            "source(index 0)", "uniqueID(object 11)",           //
                            "connectSource(port 2, source 11, connection 11)",  //
                            "source(index 1)", "uniqueID(object 12)",           //
                            "connectSource(port 2, source 12, connection 12)",  //
                            "destinationCount()",                               //
                            "destination(index 0)", "uniqueID(object 21)",      //
                            "destination(index 1)", "uniqueID(object 22)",      //
                            "deviceCount()", "externalDeviceCount()"));
}

TEST_F(EngineEndpoints, DisconnectsEverySourceBeforeItConnectsTheFirst) {
    for (const MIDIObjectRef ref : {11U, 12U, 13U}) {
        host->addSource(ref, {.displayName = "Keys", .uniqueID = static_cast<std::int32_t>(ref)});
    }
    startEngine();
    host->sources = {13, 14};
    engine->reloadEndpoints();
    settle();
    ASSERT_THAT(host->calls, SizeIs(5));
    EXPECT_THAT(Calls(host->calls.begin(), host->calls.begin() + 3),
                UnorderedElementsAre("disconnectSource(port 2, source 11)", "disconnectSource(port 2, source 12)",
                                     "disconnectSource(port 2, source 13)"));
    EXPECT_THAT(Calls(host->calls.begin() + 3, host->calls.end()),
                ElementsAre("connectSource(port 2, source 13, connection 13)",
                            "connectSource(port 2, source 14, connection 14)"));
}

TEST_F(EngineEndpoints, IgnoresThatASourceCouldNotBeDisconnected) {
    addKeysAndSynth();
    startEngine();
    host->disconnectStatuses[11] = -19;
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Endpoint reload (manual refresh): 1 sources, 1 destinations, 1 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
    EXPECT_THAT(callsTo({"connectSource"}), SizeIs(1));
}

TEST_F(EngineEndpoints, SkipsNullReferencesAndCountsThem) {
    host->sources = {0, 11, 0};
    host->destinations = {21, 0};
    host->properties[11] = {.displayName = "Keys", .uniqueID = 1011};
    startEngine();
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Endpoint reload (manual refresh): 3 sources, 2 destinations, 1 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
    EXPECT_THAT(host->calls,
                ElementsAre("disconnectSource(port 2, source 11)", "connectSource(port 2, source 11, connection 11)"));
}

TEST_F(EngineEndpoints, ReportsASourceThatCannotBeConnectedAndGoesOn) {
    host->addSource(11, {.displayName = "Keys", .uniqueID = 1});
    host->addSource(12, {.name = "Port 2", .uniqueID = 2});
    host->addSource(13, {.uniqueID = 3});
    host->addSource(14, {.displayName = "Pads", .uniqueID = 4});
    host->connectStatuses = {{11, -10844}, {12, 12}, {13, -1}};
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Starting CoreMIDI client on main run loop",
                            "failed: MIDI source could not be connected: Keys (-10844)",
                            "failed: MIDI source could not be connected: Port 2 (12)",
                            "failed: MIDI source could not be connected: MIDI Endpoint 13 (-1)",
                            "logged: Endpoint reload (initial load): 4 sources, 0 destinations, 1 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
}

TEST_F(EngineEndpoints, DoesNotDisconnectASourceThatCouldNotBeConnectedAndTriesItAgain) {
    addKeysAndSynth();
    host->connectStatuses[11] = -16;
    startEngine();
    host->connectStatuses.clear();
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(host->calls, ElementsAre("connectSource(port 2, source 11, connection 11)"));
    EXPECT_THAT(delegate->failures, SizeIs(1));
}

TEST_F(EngineEndpoints, DoesNotDisconnectASourceAgainThatIsNoLongerConnected) {
    addKeysAndSynth();
    startEngine();
    host->connectStatuses[11] = -16;
    engine->reloadEndpoints();
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(host->calls,
                ElementsAre("disconnectSource(port 2, source 11)", "connectSource(port 2, source 11, connection 11)",
                            "connectSource(port 2, source 11, connection 11)"));
}

TEST_F(EngineEndpoints, ConnectsAnOfflineSourceLikeAnyOther) {
    host->addSource(11, {.displayName = "Keys", .uniqueID = 1011, .isOffline = true});
    host->calls.clear();
    engine->start();
    settle();
    EXPECT_THAT(callsTo({"connectSource"}), ElementsAre("connectSource(port 2, source 11, connection 11)"));
    EXPECT_EQ(delegate->reports[1],
              "logged: Endpoint reload (initial load): 1 sources, 0 destinations, 1 source connections");
}

TEST_F(EngineEndpoints, RefusesAReloadBeforeStart) {
    addKeysAndSynth();
    host->calls.clear();
    host->recording = FakeMIDIHost::Recording::everything;
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Skipped endpoint reload before engine start", "endpoints changed"));
    EXPECT_THAT(host->calls, IsEmpty());
}

TEST_F(EngineEndpoints, AnnouncesTheChangeAfterEveryManualRefresh) {
    startEngine();
    engine->reloadEndpoints();
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Endpoint reload (manual refresh): 0 sources, 0 destinations, 0 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed",
                            "logged: Endpoint reload (manual refresh): 0 sources, 0 destinations, 0 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
}

// Device tree

TEST_F(EngineEndpoints, SummarisesTheDeviceTree) {
    host->devices = {
        {.ref = 41, .entities = {{.ref = 51, .sources = {11, 12}, .destinations = {21}}, {.ref = 52}}},
        {.ref = 42},
    };
    host->externalDevices = {{.ref = 43, .entities = {{.ref = 53, .destinations = {22, 23}}}}};
    host->properties[41] = {.displayName = "Stage Piano", .name = "Piano", .isOffline = false};
    host->properties[51] = {.displayName = "Piano Ports"};
    host->properties[52] = {.name = "Piano Control"};
    host->properties[11] = {.displayName = "Piano Out 1"};
    host->properties[12] = {.name = "Out 2"};
    host->properties[21] = {.displayName = "Piano In"};
    host->properties[42] = {.name = "Pad Box", .isOffline = true};
    host->properties[53] = {.displayName = "Rack"};
    host->properties[22] = {.displayName = "Rack A"};
    startEngine();
    EXPECT_THAT(reportsOfReload()[1],
                "logged: Device tree: 2 devices, 1 external devices\n"
                "- device[0] Stage Piano online, 2 entities\n"
                "  entity[0] Piano Ports: 2 sources, 1 destinations\n"
                "    source[0] Piano Out 1\n"
                "    source[1] Out 2\n"
                "    destination[0] Piano In\n"
                "  entity[1] Piano Control: 0 sources, 0 destinations\n"
                "- device[1] Pad Box offline, 0 entities\n"
                "- external[0] MIDI Endpoint 43 online, 1 entities\n"
                "  entity[0] Rack: 0 sources, 2 destinations\n"
                "    destination[0] Rack A\n"
                "    destination[1] MIDI Endpoint 23");
}

TEST_F(EngineEndpoints, SummarisesANullDeviceByItsReference) {
    host->devices = {{.ref = 0}, {.ref = 41}};
    host->properties[41] = {.displayName = "Pads"};
    startEngine();
    EXPECT_THAT(reportsOfReload()[1],
                "logged: Device tree: 2 devices, 0 external devices\n"
                "- device[0] MIDI Endpoint 0 online, 0 entities\n"
                "- device[1] Pads online, 0 entities");
}

}  // namespace
}  // namespace corvel::tests
