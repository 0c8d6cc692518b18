#include "tests/app/ModelFixture.hpp"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <thread>

namespace corvel::tests {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class MIDIRouterViewModelState : public ModelFixture {
protected:
    [[nodiscard]] std::vector<std::string> names(const std::vector<MIDIEndpointModel>& endpoints) const {
        std::vector<std::string> result;
        std::ranges::transform(endpoints, std::back_inserter(result), &MIDIEndpointModel::displayName);
        return result;
    }

    /// Connects the keys to the synth and returns the connection's ID.
    UUID connectKeys() {
        startModel();
        model->connect(1011, 1021);
        return model->routes().front().id;
    }
};

// Construction and start

TEST_F(MIDIRouterViewModelState, BeginsWithTheDocumentAndNothingElse) {
    const MIDIRouteSetDocument saved(makeID(2), {{makeID(1), "A", {}}, {makeID(2), "B", {makeRoute()}}});
    makeModel(saved);
    EXPECT_EQ(model->routeSets(), saved.routeSets);
    EXPECT_EQ(model->selectedRouteSetID(), makeID(2));
    EXPECT_EQ(model->routes(), saved.routeSets[1].routes);
    EXPECT_THAT(model->sources(), IsEmpty());
    EXPECT_THAT(model->destinations(), IsEmpty());
    EXPECT_THAT(model->activityEvents(), IsEmpty());
    EXPECT_THAT(model->diagnosticEvents(), IsEmpty());
    EXPECT_EQ(model->selectedSourceID(), std::nullopt);
    EXPECT_EQ(model->selectedDestinationID(), std::nullopt);
    EXPECT_EQ(model->selectedRouteID(), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Ready");
    EXPECT_EQ(engine->delegate(), model);
    settle();
    EXPECT_THAT(host->requested, IsEmpty());
    EXPECT_THAT(host->listings, IsEmpty());
}

TEST_F(MIDIRouterViewModelState, SavesNothingWhenItIsMade) {
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
}

TEST_F(MIDIRouterViewModelState, IsHeldWeaklyByTheEngine) {
    model.reset();
    EXPECT_EQ(engine->delegate(), nullptr);
}

TEST_F(MIDIRouterViewModelState, StartsTheEngineOnceWithTheConnections) {
    makeModel(MIDIRouteSetDocument::singleSet({makeRoute({.sourceID = 1011, .destinationID = 1021})}, "Default"));
    startModel();
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_THAT(host->requested, ElementsAre("Corvel", "Corvel Input", "Corvel Output"));
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x90, 60, 100})));
    host->listings.clear();
    model->setSelectedRouteID(makeID(9));
    model->startIfNeeded();
    settle();
    EXPECT_THAT(host->requested, SizeIs(3));
    EXPECT_THAT(host->listings, IsEmpty());
}

// Appearance

TEST_F(MIDIRouterViewModelState, IsDarkUnlessLightIsStored) {
    EXPECT_EQ(model->appearanceMode(), AppAppearanceMode::dark);
    settings->set("Corvel.appearanceMode", "light");
    makeModel();
    EXPECT_EQ(model->appearanceMode(), AppAppearanceMode::light);
    settings->set("Corvel.appearanceMode", "blue");
    makeModel();
    EXPECT_EQ(model->appearanceMode(), AppAppearanceMode::dark);
}

TEST_F(MIDIRouterViewModelState, StoresTheAppearanceOnlyWhenItChanges) {
    model->setAppearanceMode(AppAppearanceMode::dark);
    EXPECT_THAT(settings->keys(), IsEmpty());
    model->setAppearanceMode(AppAppearanceMode::light);
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), "light");
    model->setAppearanceMode(AppAppearanceMode::dark);
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), "dark");
}

// Endpoints

TEST_F(MIDIRouterViewModelState, SortsEndpointsByNameWithoutCaseAndKeepsTheOrderOfEqualNames) {
    host->addSource(13, {.displayName = "KEYS", .uniqueID = 1});
    host->addSource(14, {.displayName = "apple", .uniqueID = 2});
    host->addSource(15, {.displayName = "Zoo", .uniqueID = 3});
    host->addSource(16, {.displayName = "keys", .uniqueID = 4});
    model->applyEndpointSnapshot();
    EXPECT_THAT(names(model->sources()), ElementsAre("apple", "Keys", "KEYS", "keys", "Pads", "Zoo"));
    EXPECT_THAT(names(model->destinations()), ElementsAre("Drums", "Synth"));
    EXPECT_EQ(model->statusMessage(), "6 inputs, 2 outputs");
}

TEST_F(MIDIRouterViewModelState, CountsInThePluralAlways) {
    host->sources = {11};
    host->destinations = {};
    model->applyEndpointSnapshot();
    EXPECT_EQ(model->statusMessage(), "1 inputs, 0 outputs");
}

TEST_F(MIDIRouterViewModelState, RefreshesDevicesAndThenShowsTheCounts) {
    startModel();
    unplugSource(12);
    model->refreshDevices();
    EXPECT_EQ(model->statusMessage(), "Refreshing MIDI devices...");
    settle();
    EXPECT_EQ(model->statusMessage(), "1 inputs, 2 outputs");
    EXPECT_THAT(names(model->sources()), ElementsAre("Keys"));
}

// Reports of the engine

TEST_F(MIDIRouterViewModelState, KeepsTheNewest200RoutedMessages) {
    const UUID id = connectKeys();
    for (int note = 0; note < 201; ++note) {
        report(id, {0x80, static_cast<std::uint8_t>(note % 128), static_cast<std::uint8_t>(note / 128)});
    }
    ASSERT_THAT(model->activityEvents(), SizeIs(200));
    EXPECT_EQ(model->activityEvents().front().bytes, (MIDIBytes{0x80, 1, 0}));
    EXPECT_EQ(model->activityEvents().back().bytes, (MIDIBytes{0x80, 72, 1}));
}

TEST_F(MIDIRouterViewModelState, KeepsTheNewest80Diagnostics) {
    for (int number = 0; number < 81; ++number) {
        model->midiRouterEngineDidLog(*engine, {UUID::random(), clock->now(), std::to_string(number)});
    }
    ASSERT_THAT(model->diagnosticEvents(), SizeIs(80));
    EXPECT_EQ(model->diagnosticEvents().front().message, "1");
    EXPECT_EQ(model->diagnosticEvents().back().message, "80");
}

TEST_F(MIDIRouterViewModelState, ShowsAFailureAsItIs) {
    model->midiRouterEngineDidFail(*engine, "Could not do it (-50)");
    EXPECT_EQ(model->statusMessage(), "Could not do it (-50)");
}

TEST_F(MIDIRouterViewModelState, MakesAGraphEventOfEachVoiceMessageButNotOfNoteOffs) {
    const UUID id = connectKeys();
    report(id, {0x90, 60, 100, 0xF8, 0x80, 60, 0, 0x90, 61, 0, 0xB0, 1, 2, 0xE0, 0, 64, 0x90, 62, 1});
    const std::vector<MIDIActivityEvent> events = model->graphActivities(id);
    ASSERT_THAT(events, SizeIs(4));
    EXPECT_EQ(events[0].bytes, (MIDIBytes{0x90, 60, 100}));
    EXPECT_EQ(events[1].bytes, (MIDIBytes{0xB0, 1, 2}));
    EXPECT_EQ(events[2].bytes, (MIDIBytes{0xE0, 0, 64}));
    EXPECT_EQ(events[3].bytes, (MIDIBytes{0x90, 62, 1}));
    EXPECT_EQ(events[1].messageKind, MIDIMessageKind::controlChange);
    std::set<UUID> ids;
    for (const MIDIActivityEvent& event : events) {
        ids.insert(event.id);
        EXPECT_EQ(event.timestamp, ManualClock::kStart);
        EXPECT_EQ(event.routeID, id);
    }
    EXPECT_THAT(ids, SizeIs(4));
}

TEST_F(MIDIRouterViewModelState, LetsGraphEventsGoWhenTheyAreOlderThanThreeSeconds) {
    const UUID id = connectKeys();
    report(id, {0x90, 60, 100});
    clock->advance(seconds(3));
    report(id, {0x90, 61, 100});
    EXPECT_THAT(model->graphActivities(id), SizeIs(2)) << "exactly three seconds old";
    clock->advance(nanoseconds(1));
    report(id, {0x80, 60, 0});
    EXPECT_THAT(model->graphActivities(id), SizeIs(2)) << "a note-off trims nothing";
    report(id, {0x90, 62, 100});
    ASSERT_THAT(model->graphActivities(id), SizeIs(2));
    EXPECT_EQ(model->graphActivities(id).front().bytes, (MIDIBytes{0x90, 61, 100}));
}

TEST_F(MIDIRouterViewModelState, TrimsExpiredGraphEventsWhereverTheyStand) {
    const UUID id = connectKeys();
    clock->advance(seconds(10));
    report(id, {0x90, 1, 1});
    clock->advance(seconds(-4));
    report(id, {0x90, 2, 1});
    clock->advance(seconds(4));
    report(id, {0x90, 3, 1});
    const std::vector<MIDIActivityEvent> events = model->graphActivities(id);
    ASSERT_THAT(events, SizeIs(2));
    EXPECT_EQ(events[0].bytes, (MIDIBytes{0x90, 1, 1}));
    EXPECT_EQ(events[1].bytes, (MIDIBytes{0x90, 3, 1}));
}

TEST_F(MIDIRouterViewModelState, KeepsAFullGraphWhenAnExpiredEventArrives) {
    const UUID id = connectKeys();
    for (int count = 0; count < 600; ++count) {
        report(id, {0x90, 60, 100});
    }
    EXPECT_THAT(model->graphActivities(id), SizeIs(512));
    model->midiRouterEngineDidRoute(*engine,
                                    MIDIActivityEvent(makeID(5), id, clock->now() - seconds(4), MIDIBytes{0x90, 1, 1}));
    EXPECT_THAT(model->graphActivities(id), SizeIs(512));
}

TEST_F(MIDIRouterViewModelState, DropsTheGraphEventsOfAConnectionWhoseOutputGoes) {
    const UUID id = connectKeys();
    report(id, {0x90, 60, 100});
    unplugDestination(21);
    model->refreshDevices();
    settle();
    EXPECT_THAT(model->graphActivities(id), IsEmpty());
    EXPECT_THAT(model->activityEvents(), SizeIs(1));
}

TEST_F(MIDIRouterViewModelState, PostsReportsOfOtherThreadsAndKeepsTheirOrder) {
    std::thread([&] { model->midiRouterEngineDidFail(*engine, "first"); }).join();
    EXPECT_EQ(model->statusMessage(), "Ready");
    model->midiRouterEngineDidFail(*engine, "second");
    EXPECT_EQ(model->statusMessage(), "Ready") << "the first is still to come";
    ASSERT_TRUE(mainQueue->runNext());
    EXPECT_EQ(model->statusMessage(), "first");
    ASSERT_TRUE(mainQueue->runNext());
    EXPECT_EQ(model->statusMessage(), "second");
    model->midiRouterEngineDidFail(*engine, "third");
    EXPECT_EQ(model->statusMessage(), "third");
}

TEST_F(MIDIRouterViewModelState, ForgetsPostedReportsWhenItGoes) {
    std::thread([&] { model->midiRouterEngineDidFail(*engine, "late"); }).join();
    model.reset();
    EXPECT_EQ(mainQueue->runAll(), 1U);
}

// Observation and saving

TEST_F(MIDIRouterViewModelState, TellsObserversBeforeAPropertyChanges) {
    std::vector<std::string> seen;
    const Observation observation = model->observe([&](Property property) {
        if (property == Property::statusMessage) {
            seen.push_back(model->statusMessage());
        }
    });
    model->midiRouterEngineDidFail(*engine, "one");
    model->midiRouterEngineDidFail(*engine, "one");
    model->midiRouterEngineDidFail(*engine, "two");
    EXPECT_THAT(seen, ElementsAre("Ready", "one", "one"));
}

TEST_F(MIDIRouterViewModelState, SetsAndTellsOfSelectionsAndDoesNothingElse) {
    startModel();
    std::vector<Property> told;
    const Observation observation = model->observe([&](Property property) { told.push_back(property); });
    model->setSelectedSourceID(5);
    model->setSelectedDestinationID(6);
    model->setSelectedRouteID(makeID(7));
    model->setSelectedRouteID(std::nullopt);
    EXPECT_EQ(model->selectedSourceID(), 5);
    EXPECT_EQ(model->selectedDestinationID(), 6);
    EXPECT_EQ(model->selectedRouteID(), std::nullopt);
    EXPECT_THAT(told, ElementsAre(Property::selectedSourceID, Property::selectedDestinationID,
                                  Property::selectedRouteID, Property::selectedRouteID));
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
}

TEST_F(MIDIRouterViewModelState, ShowsAFailedSaveAndRoutesOn) {
    startModel();
    breakStore();
    model->connect(1011, 1021);
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
    EXPECT_EQ(model->saveFailure(), model->statusMessage());
    EXPECT_THAT(playKeys(), SizeIs(1));
    std::filesystem::remove_all(store->fileURL());
    model->setRouteEnabled(model->routes().front().id, true);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
    EXPECT_EQ(model->saveFailure(), std::nullopt);
    EXPECT_EQ(store->loadDocument(), document());
}

}  // namespace
}  // namespace corvel::tests
