#include "tests/core/engine/EngineFixture.hpp"

#include <cstdint>
#include <string_view>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

constexpr const char* kTree = "logged: Device tree: 0 devices, 0 external devices";

class EngineEndpoints : public EngineFixture {
protected:
    /// Forgets earlier reports and returns those of one reload with a changed setup.
    Reports reportsOfReload() {
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

TEST_F(EngineEndpoints, ListsWhatThereIsEachTimeAlsoBeforeStart) {
    EXPECT_EQ(engine->endpoints(), MIDIEndpoints{});
    addKeysAndSynth();
    EXPECT_THAT(engine->endpoints().sources, SizeIs(1));
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    EXPECT_THAT(engine->endpoints().sources, SizeIs(2));
    host->sources.clear();
    EXPECT_THAT(engine->endpoints().sources, IsEmpty());
    EXPECT_THAT(engine->endpoints().destinations, SizeIs(1));
}

TEST_F(EngineEndpoints, ListsOnTheQueueAfterWhatWasPostedBefore) {
    startEngine();
    engine->reloadEndpoints();
    (void)engine->endpoints();
    EXPECT_THAT(host->listings, ElementsAre(MIDIListing::afresh, MIDIListing::known));
}

TEST_F(EngineEndpoints, ListingChangesNothingAndReportsNothing) {
    addKeysAndSynth();
    startWith({makeRoute({.sourceID = 1012, .destinationID = 1021})});
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    (void)engine->endpoints();
    settle();
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11)));
    EXPECT_THAT(delegate->reports, IsEmpty());
    play({{0x90, 60, 100}}, 12);
    EXPECT_EQ(host->sentCount, 0U);
}

TEST_F(EngineEndpoints, ListsNothingOnceItsQueueHasEnded) {
    addKeysAndSynth();
    /// A queue that drops what is posted to it, as one that has ended.
    class EndedQueue final : public ManualQueue {
    public:
        void sync(Task) override {}
    };
    engine = CoreMIDIRouterEngine::create(host, std::make_shared<EndedQueue>(), mainQueue, clock);
    EXPECT_EQ(engine->endpoints(), MIDIEndpoints{});
}

TEST_F(EngineEndpoints, ListingLeavesOutNullReferences) {
    host->sources = {0, 11, 0};
    host->destinations = {0};
    const MIDIEndpoints endpoints = engine->endpoints();
    ASSERT_THAT(endpoints.sources, SizeIs(1));
    EXPECT_EQ(endpoints.sources[0].endpointRef, 11U);
    EXPECT_THAT(endpoints.destinations, IsEmpty());
}

TEST_F(EngineEndpoints, NamesAnEndpointByDisplayNameThenNameThenReference) {
    host->addSource(11, {.displayName = "Keys Port 1", .name = "Port 1"});
    host->addSource(12, {.name = "Port 2"});
    host->addSource(4294967294, {});
    const MIDIEndpoints endpoints = engine->endpoints();
    ASSERT_THAT(endpoints.sources, SizeIs(3));
    EXPECT_EQ(endpoints.sources[0].displayName, "Keys Port 1");
    EXPECT_EQ(endpoints.sources[1].displayName, "Port 2");
    EXPECT_EQ(endpoints.sources[2].displayName, "MIDI Endpoint 4294967294");
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

TEST_F(EngineEndpoints, ReloadsOnItsQueueAndLooksAtEverythingAgain) {
    startEngine();
    engine->reloadEndpoints();
    EXPECT_THAT(host->listings, IsEmpty());
    settle();
    EXPECT_THAT(host->listings, ElementsAre(MIDIListing::afresh));
}

TEST_F(EngineEndpoints, ConnectsEverySourceThatThereIsUnderItsReference) {
    host->addSource(11, {.displayName = "Keys", .uniqueID = 1011});
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012, .isOffline = true});
    startEngine();
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11), Pair(12, 12)));
    host->sources = {12, 13};
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Endpoint reload (manual refresh): 2 sources, 0 destinations, 2 source connections",
                            kTree, "endpoints changed"));
    EXPECT_THAT(host->connections, ElementsAre(Pair(12, 12), Pair(13, 13)));
}

TEST_F(EngineEndpoints, DisconnectsEverySourceBeforeItConnectsTheFirst) {
    host->addSource(11, {});
    host->addSource(12, {});
    startEngine();
    host->onCall = [this](std::string_view operation) {
        if (operation == "connectSource") {
            EXPECT_THAT(host->connections, IsEmpty());
            host->onCall = nullptr;
        }
    };
    (void)reportsOfReload();
    EXPECT_FALSE(host->onCall) << "no source was connected";
    EXPECT_THAT(host->connections, SizeIs(2));
}

TEST_F(EngineEndpoints, IgnoresThatASourceCouldNotBeDisconnected) {
    addKeysAndSynth();
    startEngine();
    host->disconnectStatuses[11] = -19;
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Endpoint reload (manual refresh): 1 sources, 1 destinations, 1 source connections",
                            kTree, "endpoints changed"));
    EXPECT_THAT(host->connections, SizeIs(1));
}

TEST_F(EngineEndpoints, SkipsNullReferencesAndCountsThem) {
    host->sources = {0, 11, 0};
    host->destinations = {21, 0};
    startWith({makeRoute({.sourceID = 11, .destinationID = 0})});
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Endpoint reload (manual refresh): 3 sources, 2 destinations, 1 source connections",
                            kTree, "endpoints changed"));
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11)));
    play({{0x90, 60, 100}});
    EXPECT_EQ(host->sentCount, 0U) << "a null reference is no destination, not even of ID 0";
}

TEST_F(EngineEndpoints, ReportsASourceThatCannotBeConnectedAndGoesOn) {
    host->addSource(11, {.displayName = "Keys"});
    host->addSource(12, {.name = "Port 2"});
    host->addSource(13, {});
    host->addSource(14, {.displayName = "Pads"});
    host->connectStatuses = {{11, -10844}, {12, 12}, {13, -1}};
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Starting CoreMIDI client on main run loop",
                            "failed: MIDI source could not be connected: Keys (-10844)",
                            "failed: MIDI source could not be connected: Port 2 (12)",
                            "failed: MIDI source could not be connected: MIDI Endpoint 13 (-1)",
                            "logged: Endpoint reload (initial load): 4 sources, 0 destinations, 1 source connections",
                            kTree, "endpoints changed"));
}

TEST_F(EngineEndpoints, TriesASourceAgainThatCouldNotBeConnectedWithoutDisconnectingIt) {
    addKeysAndSynth();
    host->connectStatuses[11] = -16;
    startEngine();
    host->connectStatuses.clear();
    bool hasDisconnected = false;
    host->onCall = [&](std::string_view operation) {
        hasDisconnected = hasDisconnected || operation == "disconnectSource";
    };
    (void)reportsOfReload();
    host->onCall = nullptr;
    EXPECT_FALSE(hasDisconnected);
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11)));
    EXPECT_THAT(delegate->failures, SizeIs(1));
}

TEST_F(EngineEndpoints, RefusesAReloadBeforeStart) {
    addKeysAndSynth();
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("logged: Skipped endpoint reload before engine start", "endpoints changed"));
    EXPECT_THAT(host->listings, IsEmpty());
    EXPECT_THAT(host->connections, IsEmpty());
}

TEST_F(EngineEndpoints, AnnouncesTheChangeAfterEveryManualRefresh) {
    startEngine();
    engine->reloadEndpoints();
    engine->reloadEndpoints();
    settle();
    EXPECT_EQ(delegate->endpointChanges, 3U) << "the initial load and two refreshes";
}

// Packets that arrive while the service lists and connects

/// A service that delivers, inside a call of the reload, packets from before the change of the setup. When it is asked
/// for its setup, the keys (11) are gone, the synthesizer has another reference, and the pads (12) are new.
class EngineReloadDelivery : public EngineEndpoints, public ::testing::WithParamInterface<const char*> {};

TEST_P(EngineReloadDelivery, GoesByTheTablesFromBeforeTheReload) {
    addKeysAndSynth();
    startWith({keysToSynth(), makeRoute({.sourceID = 1012, .destinationID = 1021})});
    host->sources.clear();
    host->destinations.clear();
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    host->addDestination(25, {.displayName = "Synth", .uniqueID = 1021});
    unsigned calls = 0;
    host->onCall = [&](std::string_view operation) {
        if (operation == GetParam()) {
            ++calls;
            host->receive({{0x90, 60, 100}, {0x80, 60, 0}}, 11);
        }
    };
    EXPECT_THAT(reportsOfReload(),
                ElementsAre("routed [90 3C 64]", "routed [80 3C 00]",
                            "logged: Endpoint reload (manual refresh): 1 sources, 1 destinations, 1 source connections",
                            kTree, "endpoints changed"));
    host->onCall = nullptr;
    EXPECT_EQ(calls, 1U);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, {0x80, 60, 0}}));
    // The new tables are in use from now on.
    host->sent.clear();
    play({{0x90, 61, 100}}, 11);
    play({{0x90, 62, 100}}, 12);
    EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{25, {0x90, 62, 100}}));
}

INSTANTIATE_TEST_SUITE_P(InsideACall, EngineReloadDelivery,
                         ::testing::Values("setup", "disconnectSource", "connectSource"));

// Device tree

TEST_F(EngineEndpoints, SummarisesTheDeviceTree) {
    host->devices = {
        {{41, "Stage Piano", "Piano", false},
         {{{51, "Piano Ports", {}, {}},
           {{11, "Piano Out 1", {}, {}}, {12, {}, "Out 2", {}}},
           {{21, "Piano In", {}, {}}}},
          {{52, {}, "Piano Control", {}}, {}, {}}}},
        {{42, {}, "Pad Box", true}, {}},
    };
    host->externalDevices = {
        {{43, {}, {}, {}}, {{{53, "Rack", {}, {}}, {}, {{22, "Rack A", {}, {}}, {23, {}, {}, {}}}}}},
        {{0, {}, {}, {}}, {}}};
    startEngine();
    EXPECT_EQ(reportsOfReload()[1],
              "logged: Device tree: 2 devices, 2 external devices\n"
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
              "    destination[1] MIDI Endpoint 23\n"
              "- external[1] MIDI Endpoint 0 online, 0 entities");
}

}  // namespace
}  // namespace corvel::tests
