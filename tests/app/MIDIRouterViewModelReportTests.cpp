#include "tests/app/ModelFixture.hpp"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace corvel::tests {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// How the model handles the engine's reports: the event lists, their limits, and the status line.
class MIDIRouterViewModelReports : public ModelFixture {
protected:
    MIDIRouterViewModelReports() {
        startModel();
        model->connect(1011, 1021);
        model->connect(1011, 1022);
        synth = model->routes()[0].id;
        drums = model->routes()[1].id;
    }

    [[nodiscard]] std::vector<MIDIBytes> graphBytes(const UUID& routeID) const {
        std::vector<MIDIBytes> bytes;
        for (const MIDIActivityEvent& event : model->graphActivities(routeID)) {
            bytes.push_back(event.bytes);
        }
        return bytes;
    }

    [[nodiscard]] std::vector<std::string> statusesDuring(const std::function<void()>& action) const {
        std::vector<std::string> statuses;
        bool isFirst = true;
        const Observation observation = model->observe([&](Property property) {
            if (property == Property::statusMessage) {
                if (!isFirst) {
                    statuses.push_back(model->statusMessage());
                }
                isFirst = false;
            }
        });
        action();
        if (!isFirst) {
            statuses.push_back(model->statusMessage());
        }
        return statuses;
    }

    UUID synth;
    UUID drums;
};

// Graph events

TEST_F(MIDIRouterViewModelReports, MakesGraphEventsOfTheSixVoiceKindsAfterNoteOff) {
    report(synth, {0x90, 1, 2});
    report(synth, {0xA3, 1, 2});
    report(synth, {0xB5, 1, 2});
    report(synth, {0xC7, 1});
    report(synth, {0xD9, 1});
    report(synth, {0xEF, 1, 2});
    EXPECT_THAT(graphBytes(synth), ElementsAre(MIDIBytes{0x90, 1, 2}, MIDIBytes{0xA3, 1, 2}, MIDIBytes{0xB5, 1, 2},
                                               MIDIBytes{0xC7, 1}, MIDIBytes{0xD9, 1}, MIDIBytes{0xEF, 1, 2}));
    const std::vector<MIDIActivityEvent> events = model->graphActivities(synth);
    EXPECT_EQ(events[0].messageKind, MIDIMessageKind::noteOn);
    EXPECT_EQ(events[1].messageKind, MIDIMessageKind::polyPressure);
    EXPECT_EQ(events[2].messageKind, MIDIMessageKind::controlChange);
    EXPECT_EQ(events[3].messageKind, MIDIMessageKind::programChange);
    EXPECT_EQ(events[4].messageKind, MIDIMessageKind::channelPressure);
    EXPECT_EQ(events[5].messageKind, MIDIMessageKind::pitchBend);
}

TEST_F(MIDIRouterViewModelReports, MakesNoGraphEventOfAnyOtherKind) {
    const std::vector<std::vector<std::uint8_t>> others{
        {0x80, 1, 2}, {0x90, 1, 0}, {0xF0, 1, 0xF7}, {0xF1, 1}, {0xF2, 1, 2}, {0xF3, 1}, {0xF6},
        {0xF8},       {0xFA},       {0xFB},          {0xFC},    {0xFE},       {0xFF},    {1, 2}};
    for (const std::vector<std::uint8_t>& bytes : others) {
        report(synth, bytes);
    }
    report(synth, {});
    EXPECT_THAT(graphBytes(synth), IsEmpty());
    EXPECT_THAT(model->activityEvents(), SizeIs(15)) << "they are routed messages all the same";
}

TEST_F(MIDIRouterViewModelReports, GivesThreeNotesOfOneEventThreeIDsAndItsTime) {
    clock->set(ManualClock::kStart + nanoseconds(7));
    report(drums, {0x90, 1, 1, 0x90, 2, 1, 0x90, 3, 1});
    const std::vector<MIDIActivityEvent> events = model->graphActivities(drums);
    ASSERT_THAT(events, SizeIs(3));
    EXPECT_NE(events[0].id, events[1].id);
    EXPECT_NE(events[1].id, events[2].id);
    EXPECT_NE(events[0].id, events[2].id);
    for (const MIDIActivityEvent& event : events) {
        EXPECT_EQ(event.timestamp, ManualClock::kStart + nanoseconds(7));
        EXPECT_EQ(event.routeID, drums);
        EXPECT_NE(event.id, model->activityEvents().back().id);
    }
    EXPECT_THAT(model->activityEvents(), SizeIs(1));
}

TEST_F(MIDIRouterViewModelReports, KeepsTheNewest512GraphEventsOfAllConnectionsTogether) {
    for (int number = 0; number < 600; ++number) {
        report(number % 2 == 0 ? synth : drums,
               {0x90, static_cast<std::uint8_t>(number % 100), static_cast<std::uint8_t>(1 + number / 100)});
    }
    const std::vector<MIDIBytes> kept = graphBytes(synth);
    EXPECT_THAT(kept, SizeIs(256));
    EXPECT_THAT(graphBytes(drums), SizeIs(256));
    EXPECT_EQ(kept.front(), (MIDIBytes{0x90, 88, 1})) << "the first 88 have gone";
    EXPECT_EQ(kept.back(), (MIDIBytes{0x90, 98, 6}));
}

TEST_F(MIDIRouterViewModelReports, KeepsTheNewest512OfOneEventThatHoldsMore) {
    std::vector<std::uint8_t> bytes;
    for (int number = 0; number < 600; ++number) {
        bytes.insert(bytes.end(),
                     {0x90, static_cast<std::uint8_t>(number % 100), static_cast<std::uint8_t>(1 + number / 100)});
    }
    report(synth, {0x90, 127, 127});
    report(synth, bytes);
    const std::vector<MIDIBytes> kept = graphBytes(synth);
    ASSERT_THAT(kept, SizeIs(512));
    EXPECT_EQ(kept.front(), (MIDIBytes{0x90, 88, 1}));
    EXPECT_EQ(kept.back(), (MIDIBytes{0x90, 99, 6}));
}

TEST_F(MIDIRouterViewModelReports, KeepsAGraphEventForThreeSecondsToTheNanosecond) {
    // Fractions that a floating-point number of seconds since 1970 cannot represent exactly.
    for (const nanoseconds phase : {nanoseconds(1), nanoseconds(333'333'333), nanoseconds(999'999'999)}) {
        clock->set(ManualClock::kStart + seconds(100) + phase);
        report(synth, {0x90, 1, 1});
        clock->advance(seconds(3));
        report(drums, {0x90, 2, 1});
        EXPECT_THAT(graphBytes(synth), ElementsAre(MIDIBytes{0x90, 1, 1})) << phase.count();
        clock->advance(nanoseconds(1));
        report(drums, {0x90, 3, 1});
        EXPECT_THAT(graphBytes(synth), IsEmpty()) << phase.count();
        clock->advance(seconds(60));
    }
}

TEST_F(MIDIRouterViewModelReports, DropsAtOnceAnEventThatArrivesTooLate) {
    report(synth, {0x90, 1, 1});
    const Instant sentAt = clock->now();
    clock->advance(seconds(3) + nanoseconds(1));
    model->midiRouterEngineDidRoute(*engine, MIDIActivityEvent(makeID(5), drums, sentAt, MIDIBytes{0x90, 2, 1}));
    EXPECT_THAT(graphBytes(drums), IsEmpty());
    EXPECT_THAT(graphBytes(synth), IsEmpty()) << "and trims the others";
    EXPECT_THAT(model->activityEvents(), SizeIs(2));
}

TEST_F(MIDIRouterViewModelReports, KeepsOldGraphEventsWhileNoneArrive) {
    report(synth, {0x90, 1, 1});
    clock->advance(seconds(3600));
    report(synth, {0x80, 1, 1});
    report(synth, {0xF8});
    model->applyEndpointSnapshot();
    EXPECT_THAT(graphBytes(synth), SizeIs(1));
}

TEST_F(MIDIRouterViewModelReports, DropsTheGraphEventsOfConnectionsThatCannotBeSeenAndKeepsTheOrderOfTheRest) {
    report(synth, {0x90, 1, 1});
    report(drums, {0x90, 2, 1});
    report(makeID(99), {0x90, 3, 1});
    report(synth, {0x90, 4, 1});
    model->setRouteEnabled(synth, false);
    unplugDestination(22);
    model->applyEndpointSnapshot();
    EXPECT_THAT(graphBytes(synth), ElementsAre(MIDIBytes{0x90, 1, 1}, MIDIBytes{0x90, 4, 1}))
        << "a connection that is switched off is still seen";
    EXPECT_THAT(graphBytes(drums), IsEmpty());
    EXPECT_THAT(graphBytes(makeID(99)), IsEmpty()) << "no connection of the current set";
    EXPECT_THAT(model->activityEvents(), SizeIs(4));
    unplugSource(11);
    model->applyEndpointSnapshot();
    EXPECT_THAT(graphBytes(synth), IsEmpty());
}

TEST_F(MIDIRouterViewModelReports, KeepsTheGraphEventsOfEndpointsThatAreThereButOffline) {
    report(synth, {0x90, 1, 1});
    host->properties[11].isOffline = true;
    host->properties[21].isOffline = true;
    model->applyEndpointSnapshot();
    EXPECT_FALSE(model->sources().front().isOnline);
    EXPECT_THAT(graphBytes(synth), SizeIs(1));
    EXPECT_EQ(model->routeAvailability(model->routes().front()), RouteAvailability::active);
}

// Lists

TEST_F(MIDIRouterViewModelReports, HoldsExactly200RoutedMessagesInTheirOrder) {
    for (int number = 0; number < 450; ++number) {
        report(synth, {0x80, static_cast<std::uint8_t>(number % 100), static_cast<std::uint8_t>(number / 100)});
        ASSERT_EQ(model->activityEvents().size(), static_cast<std::size_t>(std::min(number + 1, 200)));
    }
    int number = 250;
    for (const MIDIActivityEvent& event : model->activityEvents()) {
        ASSERT_EQ(event.bytes,
                  (MIDIBytes{0x80, static_cast<std::uint8_t>(number % 100), static_cast<std::uint8_t>(number / 100)}));
        ++number;
    }
}

TEST_F(MIDIRouterViewModelReports, HoldsExactly80DiagnosticsInTheirOrder) {
    for (int number = 0; number < 300; ++number) {
        model->midiRouterEngineDidLog(*engine, {UUID::random(), clock->now(), std::to_string(number)});
    }
    ASSERT_THAT(model->diagnosticEvents(), SizeIs(80));
    int number = 220;
    for (const MIDIDiagnosticEvent& event : model->diagnosticEvents()) {
        EXPECT_EQ(event.message, std::to_string(number++));
    }
}

TEST_F(MIDIRouterViewModelReports, KeepsTheEventAsItCame) {
    const MIDIActivityEvent event(makeID(5), synth, ManualClock::kStart, MIDIBytes{0x90, 1, 1});
    model->midiRouterEngineDidRoute(*engine, event);
    EXPECT_EQ(model->activityEvents().back(), event);
}

TEST_F(MIDIRouterViewModelReports, TakesAllFourReportsFromOtherThreadsInTheOrderInWhichTheyCame) {
    unplugSource(12);
    std::thread([&] {
        model->midiRouterEngineDidFail(*engine, "before");
        model->midiRouterEngineDidChangeEndpoints(*engine);
        model->midiRouterEngineDidRoute(
            *engine, MIDIActivityEvent(makeID(5), synth, ManualClock::kStart, MIDIBytes{0x90, 1, 1}));
        model->midiRouterEngineDidLog(*engine, {makeID(6), ManualClock::kStart, "noted"});
        model->midiRouterEngineDidFail(*engine, "after");
    }).join();
    EXPECT_THAT(model->sources(), SizeIs(2)) << "nothing happens on the other thread";
    EXPECT_THAT(model->activityEvents(), IsEmpty());
    EXPECT_THAT(statusesDuring([&] { settle(); }), ElementsAre("before", "1 inputs, 2 outputs", "after"));
    EXPECT_THAT(model->activityEvents(), SizeIs(1));
    EXPECT_EQ(model->diagnosticEvents().back().message, "noted");
}

// Start and endpoints

TEST_F(MIDIRouterViewModelReports, StartsOnceAlsoWhenTheStartFails) {
    makeModel();
    host->clientStatus = -50;
    model->startIfNeeded();
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    settle();
    EXPECT_THAT(model->statusMessage(), ::testing::EndsWith(" (-50)"));
    host->clientStatus = kMIDISuccess;
    host->requested.clear();
    model->startIfNeeded();
    settle();
    EXPECT_THAT(host->requested, IsEmpty());
}

TEST_F(MIDIRouterViewModelReports, OverwritesAFailureToConnectASourceByTheCounts) {
    host->connectStatuses[12] = -61;
    const std::vector<std::string> statuses = statusesDuring([&] {
        model->refreshDevices();
        settle();
    });
    EXPECT_THAT(statuses,
                ElementsAre("Refreshing MIDI devices...", ::testing::EndsWith(" (-61)"), "2 inputs, 2 outputs"));
}

TEST_F(MIDIRouterViewModelReports, TakesTheEndpointsInBeforeTheEngineIsStarted) {
    makeModel();
    model->applyEndpointSnapshot();
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_THAT(host->requested, IsEmpty());
    EXPECT_THAT(playKeys(), IsEmpty()) << "the engine was not started";
}

TEST_F(MIDIRouterViewModelReports, CountsNoneInThePlural) {
    host->sources.clear();
    host->destinations.clear();
    model->midiRouterEngineDidChangeEndpoints(*engine);
    EXPECT_EQ(model->statusMessage(), "0 inputs, 0 outputs");
}

// Appearance

TEST_F(MIDIRouterViewModelReports, TakesOnlyTheExactTextLightForLight) {
    for (const char* const stored : {"Light", "LIGHT", " light", "light ", "", "dark"}) {
        settings->set("Corvel.appearanceMode", stored);
        makeModel();
        EXPECT_EQ(model->appearanceMode(), AppAppearanceMode::dark) << stored;
        EXPECT_EQ(settings->string("Corvel.appearanceMode"), stored);
    }
    settings->set("Corvel.appearanceMode", "blue");
    makeModel();
    model->setAppearanceMode(AppAppearanceMode::dark);
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), "blue") << "the current appearance again stores nothing";
}

// Observation of single events

TEST_F(MIDIRouterViewModelReports, TellsItsObserversOfEachSingleEventOnceItIsTakenIn) {
    std::vector<std::string> events;
    const Observation activity = model->observeActivity([&](const MIDIActivityEvent& event) {
        EXPECT_EQ(model->activityEvents().back(), event);
        events.push_back("activity " + std::to_string(event.bytes.front()));
    });
    Observation failures = model->observeFailures([&](const std::string& message) {
        EXPECT_EQ(model->statusMessage(), message);
        events.push_back(message);
    });
    const Observation diagnostics = model->observeDiagnostics([&](const MIDIDiagnosticEvent& event) {
        EXPECT_EQ(model->diagnosticEvents().back(), event);
        events.push_back(event.message);
    });
    report(synth, {0xF8});
    model->midiRouterEngineDidFail(*engine, "No room (-11)");
    report(drums, {0xFA});
    model->midiRouterEngineDidLog(*engine, {UUID::random(), clock->now(), "Reloaded"});
    model->midiRouterEngineDidFail(*engine, "No room (-11)");
    failures.end();
    model->midiRouterEngineDidFail(*engine, "Gone (-19)");
    EXPECT_THAT(events, ElementsAre("activity 248", "No room (-11)", "activity 250", "Reloaded", "No room (-11)"));
}

TEST_F(MIDIRouterViewModelReports, TellsItsObserversOfAFailureToSaveUntilItIsMended) {
    std::vector<std::string> failures;
    const Observation observation =
        model->observeFailures([&](const std::string& message) { failures.push_back(message); });
    breakStore();
    model->setRouteEnabled(synth, false);
    model->setRouteEnabled(synth, true);
    const std::string failure = "Could not save sets: " + store->fileURL().string() + ": Is a directory";
    EXPECT_THAT(failures, ElementsAre(failure));
    std::filesystem::remove_all(store->fileURL());
    model->setRouteEnabled(synth, false);
    breakStore();
    model->setRouteEnabled(synth, true);
    EXPECT_THAT(failures, ElementsAre(failure, failure));
}

}  // namespace
}  // namespace corvel::tests
