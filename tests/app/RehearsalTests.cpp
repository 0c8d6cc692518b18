#include "app/InMemorySettings.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "hosts/demo/DemoMIDIHost.hpp"
#include "tests/support/ByteText.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using hosts::DemoMIDIHost;
using hosts::DemoTraffic;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kKeyboardID = 1001;
constexpr std::int32_t kPadsID = 1002;
constexpr std::int32_t kSequencerID = 1003;
constexpr std::int32_t kSynthID = 2001;
constexpr std::int32_t kDrumsID = 2002;
constexpr std::int32_t kRecorderID = 2003;

std::string describe(const MIDIRouteVariant& variant, bool isActive) {
    return variant.channelMode.value_or(ChannelMode::asIs()).title() +
           (variant.shortcut ? " " + variant.shortcut->title() : "") + (isActive ? "*" : "");
}

/// "1001>2001 [As Is, Ch 3 ⌃1*]": the endpoints, and the assignments with the active one marked.
std::string describe(const MIDIRoute& route) {
    std::string text = std::to_string(route.sourceID) + ">" + std::to_string(route.destinationID) + " [";
    for (const MIDIRouteVariant& variant : route.variants) {
        text += (text.back() == '[' ? "" : ", ") + describe(variant, variant.id == route.activeVariantID);
    }
    return text + (route.isEnabled ? "]" : "] off");
}

/// The sets in order, one on each line, the current one marked: "*Live: 1001>2001 [As Is*]; 1002>2002 [As Is*]".
std::vector<std::string> describe(const MIDIRouteSetDocument& document) {
    std::vector<std::string> lines;
    for (const MIDIRouteSet& routeSet : document.routeSets) {
        std::string line = (routeSet.id == document.selectedSetID ? "*" : "") + routeSet.name + ":";
        for (const MIDIRoute& route : routeSet.routes) {
            line += (line.back() == ':' ? " " : "; ") + describe(route);
        }
        lines.push_back(line);
    }
    return lines;
}

KeyboardShortcutSpec controlKey(std::string_view key) {
    return {key, {KeyboardShortcutModifier::control}};
}

/// A whole program without a window: model, engine, store and the demo devices, which play only what the test plays.
/// Tests drive time and queues by hand; the test's thread is the main thread.
class Rehearsal : public ::testing::Test {
protected:
    Rehearsal() {
        const std::shared_ptr<const MIDISetup> setup = host->setup(MIDIListing::known);
        for (const MIDIEndpointRecord& record : setup->destinations) {
            destinations[record.uniqueID.value()] = record.ref;
        }
        start();
    }

    /// Starts the program; ends the previous one first.
    void start() {
        model.reset();
        engine.reset();
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        model = MIDIRouterViewModel::create(engine, std::make_shared<RouteStore>(file),
                                            std::make_shared<InMemorySettings>(), clock, mainQueue);
        model->startIfNeeded();
        settle();
    }

    /// Runs everything that is due, and what a change of the devices causes later.
    void settle() {
        runQueues();
        queue->advance(CoreMIDIRouterEngine::kSettleDelay);
        runQueues();
    }

    void runQueues() {
        while (queue->runAll() + mainQueue->runAll() > 0) {
        }
    }

    /// Expects these sets in memory and on disk, the engine's connections to be the current set's, and this status.
    void expectState(const std::vector<std::string>& sets, const std::string& status) {
        settle();
        const MIDIRouteSetDocument inMemory(model->selectedRouteSetID(), model->routeSets());
        EXPECT_EQ(describe(inMemory), sets);
        EXPECT_EQ(RouteStore(file).loadDocument(), inMemory);
        EXPECT_EQ(inMemory.selectedRouteSet().routes, model->routes());
        EXPECT_EQ(model->statusMessage(), status);
    }

    /// Plays a packet on the source with this ID and returns what arrived at which destination: "2001: 90 3C 64".
    [[nodiscard]] std::vector<std::string> play(std::int32_t sourceID, const std::vector<std::uint8_t>& bytes) {
        settle();
        std::map<std::int32_t, DemoTraffic> expected;
        for (const auto& [id, ref] : destinations) {
            expected[id] = host->traffic(ref);
        }
        const std::size_t countBefore = model->activityEvents().size();
        host->play(source(sourceID), bytes);
        runQueues();
        std::vector<std::string> arrivals;
        for (std::size_t index = countBefore; index < model->activityEvents().size(); ++index) {
            const MIDIActivityEvent& event = model->activityEvents()[index];
            const std::int32_t destinationID = model->route(event.routeID)->destinationID;
            arrivals.push_back(std::to_string(destinationID) + ": " + byteText(event.bytes));
            ++expected[destinationID].packets;
            expected[destinationID].bytes += event.bytes.size();
        }
        for (const auto& [id, ref] : destinations) {
            EXPECT_EQ(host->traffic(ref), expected[id]) << "what " << id << " received is not what was reported";
        }
        return arrivals;
    }

    [[nodiscard]] MIDIObjectRef source(std::int32_t id) const {
        const std::vector<MIDIEndpointRecord> sources = host->setup(MIDIListing::known)->sources;
        const auto found = std::ranges::find(sources, id, &MIDIEndpointRecord::uniqueID);
        if (found == sources.end()) {
            ADD_FAILURE() << "no source " << id;
            return 0;
        }
        return found->ref;
    }

    void plugInSynth(std::int32_t id) { destinations[id] = host->addDestination("Demo Synth", "Corvel Demo", id); }

    void unplugDestination(std::int32_t id) {
        host->removeEndpoint(destinations.at(id));
        destinations.erase(id);
    }

    [[nodiscard]] const MIDIRoute& connection(std::size_t index) const { return model->routes().at(index); }

    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "routes.json";
    const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>(ManualQueue::Current::onMakerThread);
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    const std::shared_ptr<DemoMIDIHost> host =
        hosts::makeDemoMIDIHost(mainQueue, {.playsByItself = false, .notice = {}});
    /// The destinations that are plugged in, by ID.
    std::map<std::int32_t, MIDIObjectRef> destinations;
    std::shared_ptr<CoreMIDIRouterEngine> engine;
    std::shared_ptr<MIDIRouterViewModel> model;
};

TEST_F(Rehearsal, ConnectsAndSwitchesAssignmentsByHandAndByShortcut) {
    EXPECT_EQ(model->statusMessage(), "3 inputs, 3 outputs");
    EXPECT_FALSE(std::filesystem::exists(file)) << "nothing has changed yet";
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), IsEmpty());

    model->connect(kKeyboardID, kSynthID);
    expectState({"*Default: 1001>2001 [As Is*]"}, "Set \"Default\" saved (1 connections)");
    EXPECT_EQ(model->selectedRouteID(), connection(0).id);
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("2001: 90 3C 64"));
    EXPECT_THAT(play(kPadsID, {0x90, 60, 100}), IsEmpty());
    model->connect(kKeyboardID, kSynthID);
    expectState({"*Default: 1001>2001 [As Is*]"}, "Connection already exists");

    model->addChannelAssignment(connection(0).id, ChannelMode::force(3), controlKey("1"));
    expectState({"*Default: 1001>2001 [As Is, Ch 3 ⌃1*]"}, "Added output channel Ch 3 with ⌃1");
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("2001: 92 3C 64"));
    model->addChannelAssignment(connection(0).id, ChannelMode::force(3), std::nullopt);
    expectState({"*Default: 1001>2001 [As Is, Ch 3 ⌃1*]"}, "Channel assignment already exists");

    model->connect(kPadsID, kDrumsID);
    model->addChannelAssignment(connection(1).id, ChannelMode::force(10), controlKey("1"));
    expectState({"*Default: 1001>2001 [As Is, Ch 3 ⌃1*]; 1002>2002 [As Is, Ch 10 ⌃1*]"},
                "Added output channel Ch 10 with ⌃1");
    EXPECT_THAT(play(kPadsID, {0x90, 36, 100}), ElementsAre("2002: 99 24 64"));

    model->setActiveVariant(connection(0).variants[0].id, connection(0).id);
    expectState({"*Default: 1001>2001 [As Is*, Ch 3 ⌃1]; 1002>2002 [As Is, Ch 10 ⌃1*]"},
                "Selected output channel As Is");
    EXPECT_THAT(play(kKeyboardID, {0x94, 60, 100, 0xF8}), ElementsAre("2001: 94 3C 64 F8"));

    model->setSelectedRouteID(std::nullopt);
    EXPECT_TRUE(model->handleShortcut(controlKey("1")));
    expectState({"*Default: 1001>2001 [As Is*, Ch 3 ⌃1]; 1002>2002 [As Is, Ch 10 ⌃1*]"},
                "⌃1 is assigned to multiple connections; select a connection first");
    model->setSelectedRouteID(connection(0).id);
    EXPECT_TRUE(model->handleShortcut(controlKey("1")));
    expectState({"*Default: 1001>2001 [As Is, Ch 3 ⌃1*]; 1002>2002 [As Is, Ch 10 ⌃1*]"},
                "Selected output channel Ch 3");
    EXPECT_FALSE(model->handleShortcut(controlKey("2")));

    model->updateActiveChannelAssignment(connection(0).id, ChannelMode::force(4), controlKey("2"));
    expectState({"*Default: 1001>2001 [As Is, Ch 4 ⌃2*]; 1002>2002 [As Is, Ch 10 ⌃1*]"},
                "Updated output channel Ch 4 with ⌃2");
    EXPECT_THAT(play(kKeyboardID, {0x80, 60, 64}), ElementsAre("2001: 83 3C 40"));

    model->deleteActiveVariant(connection(1).id);
    expectState({"*Default: 1001>2001 [As Is, Ch 4 ⌃2*]; 1002>2002 [As Is*]"}, "Deleted output channel Ch 10");
    model->deleteActiveVariant(connection(1).id);
    expectState({"*Default: 1001>2001 [As Is, Ch 4 ⌃2*]; 1002>2002 [As Is*]"},
                "A connection needs at least one output channel");
    EXPECT_THAT(play(kPadsID, {0x90, 36, 100}), ElementsAre("2002: 90 24 64"));

    model->setRouteEnabled(connection(1).id, false);
    expectState({"*Default: 1001>2001 [As Is, Ch 4 ⌃2*]; 1002>2002 [As Is*] off"},
                "Set \"Default\" saved (2 connections)");
    EXPECT_EQ(model->routeAvailability(connection(1)), RouteAvailability::paused);
    EXPECT_THAT(play(kPadsID, {0x90, 36, 100}), IsEmpty());

    model->setSelectedRouteID(connection(0).id);
    model->deleteSelectedRoute();
    expectState({"*Default: 1002>2002 [As Is*] off"}, "Set \"Default\" saved (1 connections)");
    EXPECT_EQ(model->selectedRouteID(), connection(0).id);
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), IsEmpty());
}

TEST_F(Rehearsal, MakesDuplicatesRenamesAndDeletesSetsAndFindsThemAfterARestart) {
    model->connect(kKeyboardID, kSynthID);
    model->addChannelAssignment(connection(0).id, ChannelMode::force(4), controlKey("2"));

    model->createRouteSet("  Live ");
    expectState({"Default: 1001>2001 [As Is, Ch 4 ⌃2*]", "*Live:"}, "Created set \"Live\"");
    EXPECT_EQ(model->selectedRouteID(), std::nullopt);
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), IsEmpty());
    model->connect(kSequencerID, kRecorderID);
    EXPECT_THAT(play(kSequencerID, {0xFA}), ElementsAre("2003: FA"));

    model->selectRouteSet(model->routeSets()[0].id);
    expectState({"*Default: 1001>2001 [As Is, Ch 4 ⌃2*]", "Live: 1003>2003 [As Is*]"}, "Loaded set \"Default\"");
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("2001: 93 3C 64"));
    EXPECT_THAT(play(kSequencerID, {0xFA}), IsEmpty());

    model->duplicateSelectedRouteSet(" ");
    expectState({"Default: 1001>2001 [As Is, Ch 4 ⌃2*]", "Live: 1003>2003 [As Is*]",
                 "*Default Copy: 1001>2001 [As Is, Ch 4 ⌃2*]"},
                "Duplicated set \"Default Copy\"");
    EXPECT_NE(model->routeSets()[0].routes[0].id, connection(0).id);
    EXPECT_NE(model->routeSets()[0].routes[0].activeVariantID, connection(0).activeVariantID);

    model->renameSelectedRouteSet("Live");
    model->deleteActiveVariant(connection(0).id);
    expectState({"Default: 1001>2001 [As Is, Ch 4 ⌃2*]", "Live: 1003>2003 [As Is*]", "*Live 2: 1001>2001 [As Is*]"},
                "Deleted output channel Ch 4");
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("2001: 90 3C 64"));
    model->renameSelectedRouteSet("");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Live 2\"");

    const std::string beforeRestart = readFile(file);
    start();
    expectState({"Default: 1001>2001 [As Is, Ch 4 ⌃2*]", "Live: 1003>2003 [As Is*]", "*Live 2: 1001>2001 [As Is*]"},
                "3 inputs, 3 outputs");
    EXPECT_EQ(readFile(file), beforeRestart);
    EXPECT_THAT(play(kKeyboardID, {0x95, 60, 100}), ElementsAre("2001: 95 3C 64"));

    model->deleteSelectedRouteSet();
    expectState({"Default: 1001>2001 [As Is, Ch 4 ⌃2*]", "*Live: 1003>2003 [As Is*]"}, "Deleted set \"Live 2\"");
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), IsEmpty());
    EXPECT_THAT(play(kSequencerID, {0xFC}), ElementsAre("2003: FC"));
    model->selectRouteSet(model->routeSets()[0].id);
    model->deleteSelectedRouteSet();
    expectState({"*Live: 1003>2003 [As Is*]"}, "Deleted set \"Default\"");
    model->deleteSelectedRouteSet();
    expectState({"*Live: 1003>2003 [As Is*]"}, "Deleted set \"Default\"");
}

TEST_F(Rehearsal, FollowsDevicesThatAreUnpluggedAndPluggedInUnderTraffic) {
    model->connect(kKeyboardID, kSynthID);
    model->connect(kPadsID, kDrumsID);
    model->addChannelAssignment(connection(1).id, ChannelMode::force(10), std::nullopt);
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("2001: 90 3C 64"));
    EXPECT_EQ(model->graphActivities(connection(0).id).size(), 1U);

    // A note is being sent when its destination disappears.
    host->play(source(kKeyboardID), {0x90, 62, 100});
    host->play(source(kPadsID), {0x90, 36, 100});
    unplugDestination(kSynthID);
    expectState({"*Default: 1001>2001 [As Is*]; 1002>2002 [As Is, Ch 10*]"}, "3 inputs, 2 outputs");
    EXPECT_EQ(model->routeAvailability(connection(0)), RouteAvailability::missingOutput);
    EXPECT_THAT(model->graphActivities(connection(0).id), IsEmpty());
    EXPECT_EQ(host->traffic(destinations.at(kDrumsID)), (DemoTraffic{.packets = 1, .bytes = 3}));
    EXPECT_THAT(play(kKeyboardID, {0x80, 62, 64}), IsEmpty());
    EXPECT_THAT(play(kPadsID, {0x90, 36, 100}), ElementsAre("2002: 99 24 64"));
    model->connect(kKeyboardID, kSynthID);
    EXPECT_EQ(model->statusMessage(), "Output endpoint is no longer available");

    // It returns as another endpoint of the same name.
    plugInSynth(-77);
    expectState({"*Default: 1001>-77 [As Is*]; 1002>2002 [As Is, Ch 10*]"}, "3 inputs, 3 outputs");
    EXPECT_EQ(model->routeAvailability(connection(0)), RouteAvailability::active);
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("-77: 90 3C 64"));

    // With two endpoints of the same name the right one is unknown, until one disappears.
    unplugDestination(-77);
    settle();
    const std::string whileAway = readFile(file);
    plugInSynth(88);
    plugInSynth(99);
    // Both are present before the program notices a change.
    expectState({"*Default: 1001>-77 [As Is*]; 1002>2002 [As Is, Ch 10*]"}, "3 inputs, 4 outputs");
    EXPECT_EQ(readFile(file), whileAway);
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), IsEmpty());
    unplugDestination(88);
    expectState({"*Default: 1001>99 [As Is*]; 1002>2002 [As Is, Ch 10*]"}, "3 inputs, 3 outputs");
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("99: 90 3C 64"));

    // A source disappears in the middle of a phrase and comes back.
    host->play(source(kPadsID), {0x90, 38, 100});
    host->removeEndpoint(source(kPadsID));
    expectState({"*Default: 1001>99 [As Is*]; 1002>2002 [As Is, Ch 10*]"}, "2 inputs, 3 outputs");
    EXPECT_EQ(model->routeAvailability(connection(1)), RouteAvailability::missingInput);
    static_cast<void>(host->addSource("Demo Pads", "Corvel Demo", 1234));
    expectState({"*Default: 1001>99 [As Is*]; 1234>2002 [As Is, Ch 10*]"}, "3 inputs, 3 outputs");
    EXPECT_THAT(play(1234, {0x80, 38, 64}), ElementsAre("2002: 89 26 40"));

    // "Offline" only changes the dot.
    host->setOffline(destinations.at(kDrumsID), true);
    expectState({"*Default: 1001>99 [As Is*]; 1234>2002 [As Is, Ch 10*]"}, "3 inputs, 3 outputs");
    EXPECT_EQ(model->routeAvailability(connection(1)), RouteAvailability::active);

    start();
    expectState({"*Default: 1001>99 [As Is*]; 1234>2002 [As Is, Ch 10*]"}, "3 inputs, 3 outputs");
    EXPECT_THAT(play(kKeyboardID, {0x90, 60, 100}), ElementsAre("99: 90 3C 64"));
}

TEST_F(Rehearsal, KeepsTheNewestEventsOfAStormAndDeliversAllOfIt) {
    model->connect(kKeyboardID, kSynthID);
    settle();
    for (int count = 0; count < 600; ++count) {
        host->play(source(kKeyboardID), {0x90, static_cast<std::uint8_t>(count % 128), 100});
    }
    model->refreshDevices();
    EXPECT_EQ(model->statusMessage(), "Refreshing MIDI devices...");
    expectState({"*Default: 1001>2001 [As Is*]"}, "3 inputs, 3 outputs");
    EXPECT_EQ(host->traffic(destinations.at(kSynthID)), (DemoTraffic{.packets = 600, .bytes = 1800}));
    ASSERT_EQ(model->activityEvents().size(), 200U);
    // The 401st and the 600th.
    EXPECT_EQ(byteText(model->activityEvents().front().bytes), "90 10 64");
    EXPECT_EQ(byteText(model->activityEvents().back().bytes), "90 57 64");
    EXPECT_EQ(model->lastEventDescription(connection(0).id), "Note 90 57 64");
    const std::vector<MIDIActivityEvent> pulses = model->graphActivities(connection(0).id);
    ASSERT_EQ(pulses.size(), 512U);
    EXPECT_EQ(byteText(pulses.front().bytes), "90 58 64");
}

}  // namespace
}  // namespace corvel::tests
