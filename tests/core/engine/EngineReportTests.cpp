#include "tests/core/engine/EngineFixture.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string_view>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Keys that play the synthesizer (21, ID 1021) and the drums (22, ID 1022), through a given number of connections.
class EngineReports : public EngineFixture {
protected:
    EngineReports() {
        addKeysAndSynth();
        host->addDestination(22, {.displayName = "Drums", .uniqueID = 1022});
    }

    static MIDIRoute keysToDrums() { return makeRoute({.id = makeID(2), .sourceID = 1011, .destinationID = 1022}); }

    /// Delivers this many notes, packet by packet, to the engine's queue and runs it.
    void playNotes(unsigned count) {
        for (unsigned number = 0; number < count; ++number) {
            host->receive(
                {{0x90, static_cast<std::uint8_t>(number >> 7U & 0x7FU), static_cast<std::uint8_t>(number & 0x7FU)}},
                11);
            queue->runAll();
        }
    }
};

// Delivery

TEST_F(EngineReports, AreDeliveredOnTheMainThreadOnlyAndShareOneWakeUp) {
    engine->start();
    queue->runAll();
    EXPECT_THAT(delegate->reports, IsEmpty());
    EXPECT_EQ(mainQueue->runAll(), 1U);
    EXPECT_THAT(delegate->takeReports(), SizeIs(4));

    engine->updateRoutes({keysToSynth()});
    engine->reloadEndpoints();
    playNotes(3);
    EXPECT_THAT(delegate->reports, IsEmpty());
    EXPECT_EQ(mainQueue->runAll(), 1U);
    EXPECT_THAT(delegate->reports, SizeIs(6));
}

TEST_F(EngineReports, StampDiagnosticsWithTheClockAndANewIdentityEach) {
    host->diagnose("No real-time priority");
    engine->start();
    clock->advance(milliseconds(1500));
    queue->runAll();
    clock->advance(milliseconds(1500));
    mainQueue->runAll();
    ASSERT_THAT(delegate->diagnostics, SizeIs(4));
    std::set<UUID> ids{UUID{}};
    for (const MIDIDiagnosticEvent& event : delegate->diagnostics) {
        ids.insert(event.id);
        const bool isFirst = &event == &delegate->diagnostics.front();
        EXPECT_EQ(event.timestamp, ManualClock::kStart + milliseconds(isFirst ? 0 : 1500));
    }
    EXPECT_THAT(ids, SizeIs(5));
}

TEST_F(EngineReports, MadeDuringADeliveryAreDeliveredToo) {
    std::size_t count = 0;
    host->clientStatus = -1;
    delegate->onReport = [&] {
        if (++count == 2) {
            engine->start();
        }
    };
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Starting CoreMIDI client on main run loop",
                                               "failed: MIDI client could not be created (-1)",
                                               "logged: Starting CoreMIDI client on main run loop",
                                               "failed: MIDI client could not be created (-1)"));
    delegate->onReport = nullptr;
}

TEST_F(EngineReports, AreDeliveredAlsoAfterOneInWhichTheDelegateThrew) {
    engine->start();
    queue->runAll();
    bool hasThrown = false;
    delegate->onReport = [&] {
        if (!std::exchange(hasThrown, true)) {
            throw std::runtime_error("thrown by the delegate");
        }
    };
    EXPECT_THROW(mainQueue->runAll(), std::runtime_error);
    settle();
    EXPECT_THAT(delegate->reports, SizeIs(4));
    host->diagnose("Overrun 1");
    settle();
    EXPECT_EQ(delegate->reports.back(), "logged: Overrun 1");
    delegate->onReport = nullptr;
}

TEST_F(EngineReports, GoToWhoeverIsTheDelegateWhenTheMainThreadRunsAndAreNotKeptForALaterOne) {
    EXPECT_EQ(delegate.use_count(), 1) << "the engine holds its delegate weakly";
    EXPECT_EQ(engine->delegate(), delegate);
    engine->start();
    delegate.reset();
    EXPECT_EQ(engine->delegate(), nullptr);
    settle();
    delegate = std::make_shared<RecordingDelegate>();
    engine->setDelegate(delegate);
    settle();
    EXPECT_THAT(delegate->reports, IsEmpty());
    engine->reloadEndpoints();
    const auto later = std::make_shared<RecordingDelegate>();
    engine->setDelegate(later);
    settle();
    EXPECT_THAT(delegate->reports, IsEmpty());
    EXPECT_THAT(later->reports, SizeIs(3));
}

// Turns of the main thread

TEST_F(EngineReports, GiveOtherWorkOfTheMainThreadATurnAfterFiveMilliseconds) {
    startWith({keysToSynth()});
    playNotes(12);
    bool hasOtherWorkRun = false;
    std::size_t reportsBefore = 0;
    mainQueue->async([&] {
        hasOtherWorkRun = true;
        reportsBefore = delegate->activities.size();
    });
    delegate->onReport = [this] { clock->advance(milliseconds(1)); };
    EXPECT_TRUE(mainQueue->runNext());
    EXPECT_THAT(delegate->activities, SizeIs(5));
    EXPECT_FALSE(hasOtherWorkRun);
    settle();
    EXPECT_EQ(reportsBefore, 5U);
    ASSERT_THAT(delegate->activities, SizeIs(12));
    EXPECT_EQ(delegate->reports.back(), "routed [90 00 0B]");
    delegate->onReport = nullptr;
}

TEST_F(EngineReports, GoOnInOneTurnAsLongAsItIsShort) {
    startWith({keysToSynth()});
    playNotes(3000);
    EXPECT_EQ(mainQueue->runAll(), 1U);
    EXPECT_THAT(delegate->activities, SizeIs(3000));
}

// Activities

TEST_F(EngineReports, StampActivitiesWhenTheSendHasSucceeded) {
    startWith({keysToSynth(), keysToDrums()});
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
    host->onCall = nullptr;
    ASSERT_THAT(delegate->activities, SizeIs(2));
    EXPECT_EQ(delegate->activities[0].timestamp, ManualClock::kStart + milliseconds(105));
    EXPECT_EQ(delegate->activities[1].timestamp, ManualClock::kStart + milliseconds(105));
    EXPECT_EQ(delegate->activities[0].routeID, makeID(1));
    EXPECT_EQ(delegate->activities[1].routeID, makeID(2));
    EXPECT_EQ(delegate->activities[0].messageKind, MIDIMessageKind::noteOff);
    EXPECT_NE(delegate->activities[0].id, delegate->activities[1].id);
}

TEST_F(EngineReports, TellOfActivitiesAndFailuresInTheOrderInWhichTheyHappened) {
    startWith({keysToSynth(), keysToDrums(), keysToSynth(ChannelMode::force(2))});
    host->sendStatuses[22] = -19;
    host->receive({{0x90, 60, 100}}, 11);
    engine->reloadEndpoints();
    host->receive({{0x80, 60, 0}}, 11);
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("routed [90 3C 64]", "failed: MIDI message could not be sent (-19)", "routed [91 3C 64]",
                            "logged: Endpoint reload (manual refresh): 1 sources, 2 destinations, 1 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed",
                            "routed [80 3C 00]", "routed [81 3C 00]"));
}

TEST_F(EngineReports, SayOnceASecondHowManyActivitiesGaveWayToNewerOnes) {
    startWith({keysToSynth()});
    host->keepsSent = false;
    constexpr std::size_t kLimit = MIDIReportQueue::kActivityLimit;
    const std::vector<MIDIArrival> arrivals(1'024, MIDIArrival{11, {0x90, 60, 100}});
    for (std::size_t count = 0; count < kLimit; count += arrivals.size()) {
        host->receive(arrivals);
        queue->runAll();
    }
    // The oldest of them must be dropped now.
    playNotes(3);
    queue->advance(milliseconds(999));
    playNotes(1);
    std::vector<std::string> others;
    std::size_t activities = 0;
    const auto counting = std::make_shared<RecordingDelegate>();
    counting->onReport = [&] {
        if (counting->activities.empty()) {
            others.push_back(counting->reports.back());
        }
        activities += counting->activities.size();
        counting->activities.clear();
        counting->reports.clear();
    };
    engine->setDelegate(counting);
    queue->advance(milliseconds(1));
    playNotes(1);
    queue->advance(milliseconds(1000));
    settle();
    EXPECT_EQ(activities, kLimit);
    EXPECT_THAT(others, ElementsAre("logged: 4 activity reports were dropped: the program cannot keep up with them",
                                    "logged: 1 activity reports were dropped: the program cannot keep up with them"));
    others.clear();
    queue->advance(milliseconds(5000));
    settle();
    EXPECT_THAT(others, IsEmpty());
}

// Failures that repeat

TEST_F(EngineReports, TellOfARepeatedFailureOnceASecondWithItsCount) {
    startWith({keysToSynth(), keysToDrums()});
    host->sendStatuses[21] = -11;
    playNotes(24);
    settle();
    EXPECT_THAT(delegate->activities, SizeIs(24));
    EXPECT_EQ(delegate->reports.front(), "failed: MIDI message could not be sent (-11)");
    EXPECT_THAT(delegate->failures, SizeIs(1));
    EXPECT_THAT(reportsDuring(milliseconds(999)), IsEmpty());
    EXPECT_THAT(reportsDuring(milliseconds(1)),
                ElementsAre("failed: MIDI message could not be sent (-11), repeated 23 times"));

    playNotes(1);
    settle();
    EXPECT_THAT(delegate->failures, SizeIs(2)) << "still the same trouble";
    EXPECT_THAT(reportsDuring(milliseconds(1000)),
                ElementsAre("failed: MIDI message could not be sent (-11), repeated 1 time"));
    EXPECT_THAT(reportsDuring(milliseconds(60'000)), IsEmpty());

    playNotes(1);
    settle();
    EXPECT_EQ(delegate->failures.back(), "MIDI message could not be sent (-11)") << "new trouble";
}

TEST_F(EngineReports, TellOfAFailureAtOnceAfterASecondWithoutIt) {
    startWith({keysToSynth()});
    host->sendStatuses[21] = -11;
    playNotes(1);
    EXPECT_THAT(reportsDuring(milliseconds(1000)), ElementsAre("failed: MIDI message could not be sent (-11)"));
    playNotes(1);
    settle();
    EXPECT_THAT(delegate->failures,
                ElementsAre("MIDI message could not be sent (-11)", "MIDI message could not be sent (-11)"));
}

TEST_F(EngineReports, TellOfEachDestinationsAndEachStatusFirstFailureAtOnce) {
    startWith({keysToSynth(), keysToDrums()});
    host->sendStatuses = {{21, -11}, {22, -11}};
    playNotes(2);
    host->sendStatuses[21] = kMIDIPacketNotMade;
    playNotes(2);
    settle();
    EXPECT_THAT(delegate->failures,
                ElementsAre("MIDI message could not be sent (-11)", "MIDI message could not be sent (-11)",
                            "MIDI packet could not be created (-10838)"));
    delegate->failures.clear();
    queue->advance(milliseconds(1000));
    settle();
    EXPECT_THAT(delegate->failures,
                ::testing::UnorderedElementsAre("MIDI packet could not be created (-10838), repeated 1 time",
                                                "MIDI message could not be sent (-11), repeated 1 time",
                                                "MIDI message could not be sent (-11), repeated 3 times"));
}

TEST_F(EngineReports, TakeEveryNonzeroStatusForAFailure) {
    startWith({keysToSynth()});
    for (const MIDIStatus status : {1, -1, 2147483647, static_cast<MIDIStatus>(-2147483648LL)}) {
        host->sendStatuses[21] = status;
        playNotes(1);
    }
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("failed: MIDI message could not be sent (1)", "failed: MIDI message could not be sent (-1)",
                            "failed: MIDI message could not be sent (2147483647)",
                            "failed: MIDI message could not be sent (-2147483648)"));
}

}  // namespace
}  // namespace corvel::tests
