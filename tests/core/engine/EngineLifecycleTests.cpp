#include "tests/core/engine/EngineFixture.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <set>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class EngineLifecycle : public EngineFixture {};

// Start

TEST_F(EngineLifecycle, TouchesNoServiceWhenItIsMade) {
    host->recording = FakeMIDIHost::Recording::everything;
    host->calls.clear();
    const auto other = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
    settle();
    for (const std::string& call : host->calls) {
        EXPECT_EQ(call, "setDiagnosticHandler()");
    }
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, SetsTheDiagnosticHandlerOnceAndBeforeAnyOtherCall) {
    addKeysAndSynth();
    (void)engine->endpoints();
    engine->start();
    settle();
    engine->reloadEndpoints();
    settle();
    ASSERT_FALSE(host->calls.empty());
    EXPECT_EQ(host->calls.front(), "setDiagnosticHandler()");
    EXPECT_THAT(callsTo({"setDiagnosticHandler"}), SizeIs(1));
}

TEST_F(EngineLifecycle, MakesClientThenPortsThenConnectsTheSources) {
    addKeysAndSynth();
    host->calls.clear();
    engine->start();
    settle();
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)", "createInputPort(client 1, Corvel Input)",
                                         "createOutputPort(client 1, Corvel Output)",
                                         "connectSource(port 2, source 11, connection 11)"));
}

TEST_F(EngineLifecycle, MakesTheClientInsideStartOnTheMainThreadAndThePortsOnTheQueue) {
    host->calls.clear();
    engine->start();
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)"));
    mainQueue->runAll();
    EXPECT_THAT(host->calls, SizeIs(1));
    EXPECT_EQ(queue->pendingCount(), 1U);
    queue->runNext();
    EXPECT_THAT(host->calls, SizeIs(3));
}

TEST_F(EngineLifecycle, ReportsTheStartInTheOrderInWhichItHappened) {
    addKeysAndSynth();
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Starting CoreMIDI client on main run loop",
                            "logged: Endpoint reload (initial load): 1 sources, 1 destinations, 1 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
    EXPECT_EQ(delegate->reporter, engine.get());
}

TEST_F(EngineLifecycle, StartedOnAnotherThreadMakesTheClientOnTheMainThread) {
    host->calls.clear();
    std::thread([this] { engine->start(); }).join();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_EQ(queue->pendingCount(), 0U);
    mainQueue->runNext();
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)"));
    settle();
    EXPECT_THAT(host->calls, SizeIs(3));
}

TEST_F(EngineLifecycle, StartedOnAnotherThreadDoesNothingOnceItIsReleased) {
    host->calls.clear();
    std::thread([this] { engine->start(); }).join();
    engine.reset();
    settle();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, StartedTwiceMakesOneClientAndOnePairOfPorts) {
    host->calls.clear();
    engine->start();
    engine->start();
    settle();
    engine->start();
    settle();
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)", "createInputPort(client 1, Corvel Input)",
                                         "createOutputPort(client 1, Corvel Output)"));
    EXPECT_EQ(delegate->messages()[0], "Starting CoreMIDI client on main run loop");
    EXPECT_THAT(delegate->messages(), SizeIs(3));
    EXPECT_EQ(delegate->endpointChanges, 1U);
}

TEST_F(EngineLifecycle, CallsTheServiceOnlyOnItsQueueExceptForTheClientAndTheDisposals) {
    addKeysAndSynth();
    host->devices = {{.ref = 41, .entities = {{.ref = 51, .sources = {11}, .destinations = {21}}}}};
    std::multiset<std::string> offTheQueue;
    std::size_t onTheQueue = 0;
    host->onCall = [&](std::string_view operation) {
        if (queue->isCurrent()) {
            ++onTheQueue;
        } else {
            offTheQueue.insert(std::string(operation));
        }
    };
    engine->updateRoutes({makeRoute({.sourceID = 1011, .destinationID = 1021})});
    engine->start();
    settle();
    host->receive({{0x90, 60, 100}}, 11);
    host->notify({});
    engine->reloadEndpoints();
    (void)engine->endpoints();
    settle();
    queue->advance(milliseconds(350));
    EXPECT_EQ(host->sentCount, 1U);
    EXPECT_GT(onTheQueue, 30U);
    EXPECT_THAT(offTheQueue, ElementsAre("createClient"));
    host->onCall = nullptr;
}

// Failures of the start

TEST_F(EngineLifecycle, ReportsAClientThatCannotBeMadeOnceAndStaysUnstarted) {
    addKeysAndSynth();
    host->calls.clear();
    host->clientStatus = -10830;
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Starting CoreMIDI client on main run loop",
                                               "failed: MIDI client could not be created (-10830)"));
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)"));
}

TEST_F(EngineLifecycle, TriesAgainAfterTheClientCouldNotBeMade) {
    addKeysAndSynth();
    host->clientStatus = -10830;
    engine->start();
    settle();
    host->calls.clear();
    delegate->reports.clear();
    host->clientStatus = 0;
    engine->start();
    settle();
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)", "createInputPort(client 1, Corvel Input)",
                                         "createOutputPort(client 1, Corvel Output)",
                                         "connectSource(port 2, source 11, connection 11)"));
    EXPECT_EQ(delegate->reports.front(), "logged: Starting CoreMIDI client on main run loop");
    EXPECT_EQ(delegate->reports.back(), "endpoints changed");
}

TEST_F(EngineLifecycle, StaysUnstartedForGoodWhenTheInputPortCannotBeMade) {
    addKeysAndSynth();
    host->calls.clear();
    host->inputPortStatus = -10831;
    engine->start();
    settle();
    host->inputPortStatus = 0;
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Starting CoreMIDI client on main run loop",
                                               "failed: MIDI input port could not be created (-10831)"));
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)", "createInputPort(client 1, Corvel Input)"));
}

TEST_F(EngineLifecycle, StaysUnstartedForGoodWhenTheOutputPortCannotBeMade) {
    addKeysAndSynth();
    host->calls.clear();
    host->outputPortStatus = 12;
    engine->start();
    settle();
    host->outputPortStatus = 0;
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Starting CoreMIDI client on main run loop",
                                               "failed: MIDI output port could not be created (12)"));
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)", "createInputPort(client 1, Corvel Input)",
                                         "createOutputPort(client 1, Corvel Output)"));
}

TEST_F(EngineLifecycle, RefusesAReloadAfterAPortCouldNotBeMade) {
    addKeysAndSynth();
    host->outputPortStatus = -10832;
    startEngine();
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Skipped endpoint reload before engine start", "endpoints changed"));
    EXPECT_THAT(host->calls, IsEmpty());
}

// Reports

TEST_F(EngineLifecycle, ReportsNothingInsideItsOwnCallsAndWakesTheMainThreadOncePerBurst) {
    addKeysAndSynth();
    engine->start();
    queue->runAll();
    EXPECT_THAT(delegate->reports, IsEmpty());
    EXPECT_EQ(mainQueue->pendingCount(), 1U);
    mainQueue->runAll();
    EXPECT_THAT(delegate->reports, SizeIs(4));

    engine->reloadEndpoints();
    EXPECT_EQ(mainQueue->pendingCount(), 0U);
    queue->runAll();
    EXPECT_EQ(mainQueue->pendingCount(), 1U);
    mainQueue->runAll();
    EXPECT_THAT(delegate->reports, SizeIs(7));
}

TEST_F(EngineLifecycle, StampsDiagnosticsWithTheClockAndANewIdentityEach) {
    engine->start();
    clock->advance(milliseconds(1500));
    queue->runAll();
    clock->advance(milliseconds(1500));
    mainQueue->runAll();
    ASSERT_THAT(delegate->diagnostics, SizeIs(3));
    EXPECT_EQ(delegate->diagnostics[0].timestamp, ManualClock::kStart);
    EXPECT_EQ(delegate->diagnostics[1].timestamp, ManualClock::kStart + milliseconds(1500));
    EXPECT_EQ(delegate->diagnostics[2].timestamp, ManualClock::kStart + milliseconds(1500));
    EXPECT_NE(delegate->diagnostics[0].id, delegate->diagnostics[1].id);
    EXPECT_NE(delegate->diagnostics[1].id, delegate->diagnostics[2].id);
    EXPECT_NE(delegate->diagnostics[0].id, UUID{});
}

TEST_F(EngineLifecycle, DeliversReportsMadeDuringADeliveryToo) {
    std::size_t starts = 0;
    host->clientStatus = -1;
    delegate->onReport = [&] {
        if (++starts == 2) {
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

TEST_F(EngineLifecycle, DeliversTheOtherReportsWhenTheDelegateThrowsInOne) {
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
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Starting CoreMIDI client on main run loop",
                            "logged: Endpoint reload (initial load): 0 sources, 0 destinations, 0 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
    host->diagnose("Overrun 1");
    settle();
    EXPECT_EQ(delegate->reports.back(), "logged: Overrun 1");
    delegate->onReport = nullptr;
}

TEST_F(EngineLifecycle, HoldsItsDelegateWeakly) {
    EXPECT_EQ(delegate.use_count(), 1);
    EXPECT_EQ(engine->delegate(), delegate);
    delegate.reset();
    EXPECT_EQ(engine->delegate(), nullptr);
}

TEST_F(EngineLifecycle, DropsReportsWhenTheDelegateIsGoneAndDoesNotKeepThemForTheNext) {
    addKeysAndSynth();
    engine->start();
    queue->runAll();
    delegate.reset();
    mainQueue->runAll();
    delegate = std::make_shared<RecordingDelegate>();
    engine->setDelegate(delegate);
    settle();
    EXPECT_THAT(delegate->reports, IsEmpty());
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(delegate->reports, SizeIs(3));
}

TEST_F(EngineLifecycle, ReportsToWhoeverIsTheDelegateWhenTheMainThreadRuns) {
    host->clientStatus = -2;
    engine->start();
    const auto later = std::make_shared<RecordingDelegate>();
    engine->setDelegate(later);
    settle();
    EXPECT_THAT(delegate->reports, IsEmpty());
    EXPECT_THAT(later->reports, SizeIs(2));
}

// Diagnostics of the service

TEST_F(EngineLifecycle, HoldsTheServicesDiagnosticsBackUntilItHasStarted) {
    addKeysAndSynth();
    host->diagnose("No real-time priority");
    host->diagnose("No sequencer");
    settle();
    EXPECT_THAT(delegate->reports, IsEmpty());

    engine->start();
    host->diagnose("Old driver");
    mainQueue->runAll();
    EXPECT_THAT(delegate->takeReports(), ElementsAre("logged: Starting CoreMIDI client on main run loop"));
    settle();
    Calls lines = delegate->takeReports();
    std::erase_if(lines, [](const std::string& line) {
        return line == "endpoints changed" || line.starts_with("logged: Endpoint reload (") ||
               line.starts_with("logged: Device tree: ");
    });
    EXPECT_THAT(lines, ElementsAre("logged: No real-time priority", "logged: No sequencer", "logged: Old driver"));

    host->diagnose("Overrun 1");
    settle();
    EXPECT_THAT(delegate->takeReports(), ElementsAre("logged: Overrun 1"));
}

TEST_F(EngineLifecycle, StampsAHeldBackDiagnosticWithANewIdentityAndATime) {
    host->diagnose("No real-time priority");
    startEngine();
    ASSERT_THAT(delegate->diagnostics, SizeIs(4));
    std::set<UUID> ids;
    for (const MIDIDiagnosticEvent& event : delegate->diagnostics) {
        ids.insert(event.id);
        EXPECT_EQ(event.timestamp, ManualClock::kStart);
    }
    EXPECT_THAT(ids, SizeIs(4));
}

TEST_F(EngineLifecycle, KeepsTheServicesDiagnosticsToItselfWhenTheStartFails) {
    host->outputPortStatus = -10832;
    host->diagnose("No real-time priority");
    engine->start();
    settle();
    host->diagnose("Old driver");
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Starting CoreMIDI client on main run loop",
                                               "failed: MIDI output port could not be created (-10832)"));
}

TEST_F(EngineLifecycle, TakesTheServicesDiagnosticsFromAnyThread) {
    startEngine();
    std::thread([this] { host->diagnose("Overrun 1"); }).join();
    EXPECT_THAT(delegate->reports, IsEmpty());
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Overrun 1"));
}

// Teardown

TEST_F(EngineLifecycle, DisposesInputPortThenOutputPortThenClient) {
    addKeysAndSynth();
    startEngine();
    engine.reset();
    EXPECT_THAT(host->calls, ElementsAre("disposePort(port 2)", "disposePort(port 3)", "disposeClient(client 1)"));
}

TEST_F(EngineLifecycle, DisposesNothingThatWasNotMade) {
    host->calls.clear();
    engine.reset();
    EXPECT_THAT(host->calls, IsEmpty());
}

TEST_F(EngineLifecycle, DisposesOnlyTheClientWhenTheInputPortCouldNotBeMade) {
    host->inputPortStatus = -10831;
    startEngine();
    engine.reset();
    EXPECT_THAT(host->calls, ElementsAre("disposeClient(client 1)"));
}

TEST_F(EngineLifecycle, DisposesInputPortAndClientWhenTheOutputPortCouldNotBeMade) {
    host->outputPortStatus = -10832;
    startEngine();
    engine.reset();
    EXPECT_THAT(host->calls, ElementsAre("disposePort(port 2)", "disposeClient(client 1)"));
}

TEST_F(EngineLifecycle, DisposesNothingWhenTheClientCouldNotBeMade) {
    host->clientStatus = -10830;
    startEngine();
    engine.reset();
    EXPECT_THAT(host->calls, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedRightAfterStartMakesNoPortsAndReportsNothing) {
    host->calls.clear();
    engine->start();
    engine.reset();
    settle();
    EXPECT_THAT(host->calls, ElementsAre("createClient(Corvel)", "disposeClient(client 1)"));
    EXPECT_THAT(delegate->reports, IsEmpty());
    host->notify({});
    settle();
    EXPECT_THAT(host->calls, SizeIs(2));
}

TEST_F(EngineLifecycle, ReleasedWithQueuedWorkOfEveryKindDoesNoneOfIt) {
    addKeysAndSynth();
    engine->updateRoutes({makeRoute({.sourceID = 1011, .destinationID = 1021})});
    startEngine();
    host->receive({{0x90, 60, 100}}, 11);
    host->notify({});
    host->diagnose("Overrun 1");
    engine->reloadEndpoints();
    engine->updateRoutes({});
    ASSERT_GE(queue->pendingCount(), 4U);
    engine.reset();
    host->calls.clear();
    host->recording = FakeMIDIHost::Recording::everything;
    settle();
    queue->advance(milliseconds(1000));
    settle();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedWithReportsUnderwayDeliversNone) {
    addKeysAndSynth();
    engine->start();
    queue->runAll();
    engine.reset();
    mainQueue->runAll();
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedBeforeTheSettledRefreshDoesNotRefresh) {
    addKeysAndSynth();
    startEngine();
    host->notify({});
    settle();
    EXPECT_EQ(queue->scheduledCount(), 1U);
    engine.reset();
    host->calls.clear();
    delegate->reports.clear();
    queue->advance(milliseconds(1000));
    settle();
    EXPECT_THAT(host->calls, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, IgnoresCallbacksThatTheServiceHadBegunBeforeTheRelease) {
    addKeysAndSynth();
    startEngine();
    engine.reset();
    host->calls.clear();
    host->receive({{0x90, 60, 100}}, 11);
    host->notify({});
    host->diagnose("Overrun 1");
    EXPECT_EQ(queue->pendingCount(), 0U);
    EXPECT_EQ(mainQueue->pendingCount(), 0U);
    EXPECT_THAT(host->calls, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedInsideADeliveryEndsOnItsQueueAfterTheDelivery) {
    addKeysAndSynth();
    engine->updateRoutes({makeRoute({.sourceID = 1011, .destinationID = 1021}),
                          makeRoute({.sourceID = 1011, .destinationID = 1021, .channelMode = ChannelMode::force(2)})});
    startEngine();
    bool endedOnTheQueue = false;
    host->onCall = [&](std::string_view operation) {
        if (operation == "send") {
            engine.reset();
        }
        if (operation == "disposeClient") {
            endedOnTheQueue = queue->isCurrent();
        }
    };
    host->receive({{0x90, 60, 100}}, 11);
    settle();
    EXPECT_THAT(host->calls, ElementsAre("makePacket([90 3C 64])", "send(port 3, destination 21, [90 3C 64])",
                                         "makePacket([91 3C 64])", "send(port 3, destination 21, [91 3C 64])",
                                         "disposePort(port 2)", "disposePort(port 3)", "disposeClient(client 1)"));
    EXPECT_TRUE(endedOnTheQueue);
    EXPECT_THAT(delegate->reports, IsEmpty());
    host->onCall = nullptr;
}

TEST_F(EngineLifecycle, ReleasedInsideAReloadEndsOnItsQueueAfterTheReload) {
    addKeysAndSynth();
    startEngine();
    bool endedOnTheQueue = false;
    host->onCall = [&](std::string_view operation) {
        if (operation == "disconnectSource") {
            engine.reset();
        }
        if (operation == "disposeClient") {
            endedOnTheQueue = queue->isCurrent();
        }
    };
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(host->calls,
                ElementsAre("disconnectSource(port 2, source 11)", "connectSource(port 2, source 11, connection 11)",
                            "disposePort(port 2)", "disposePort(port 3)", "disposeClient(client 1)"));
    EXPECT_TRUE(endedOnTheQueue);
    EXPECT_THAT(delegate->reports, IsEmpty());
    host->onCall = nullptr;
}

TEST_F(EngineLifecycle, ReleasedInsideAReportDeliversNoFurtherReports) {
    addKeysAndSynth();
    delegate->onReport = [this] { engine.reset(); };
    engine->start();
    queue->runAll();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: Starting CoreMIDI client on main run loop"));
    EXPECT_THAT(callsTo({"disposePort", "disposeClient"}),
                ElementsAre("disposePort(port 2)", "disposePort(port 3)", "disposeClient(client 1)"));
    delegate->onReport = nullptr;
}

/// A queue at whose next post something happens on the posting thread.
class TrappedQueue : public ManualQueue {
public:
    std::function<void()> onNextAsync;

    void async(Task task) override {
        if (onNextAsync) {
            std::exchange(onNextAsync, nullptr)();
        }
        ManualQueue::async(std::move(task));
    }
};

TEST_F(EngineLifecycle, ReleasedInsideTheReceiveCallbackEndsOnTheReceiveThreadAndSendsNothing) {
    addKeysAndSynth();
    const auto trapped = std::make_shared<TrappedQueue>();
    engine = CoreMIDIRouterEngine::create(host, trapped, mainQueue, clock);
    engine->updateRoutes({makeRoute({.sourceID = 1011, .destinationID = 1021})});
    engine->start();
    trapped->runAll();
    host->calls.clear();
    trapped->onNextAsync = [this] { engine.reset(); };
    std::thread([this] { host->receive({{0x90, 60, 100}}, 11); }).join();
    trapped->runAll();
    EXPECT_THAT(host->calls, ElementsAre("disposePort(port 2)", "disposePort(port 3)", "disposeClient(client 1)"));
    EXPECT_EQ(host->sentCount, 0U);
}

TEST_F(EngineLifecycle, ReleasedInsideTheNotificationCallbackReloadsNothing) {
    addKeysAndSynth();
    const auto trapped = std::make_shared<TrappedQueue>();
    engine = CoreMIDIRouterEngine::create(host, trapped, mainQueue, clock);
    engine->start();
    trapped->runAll();
    host->calls.clear();
    trapped->onNextAsync = [this] { engine.reset(); };
    host->notify({});
    trapped->runAll();
    EXPECT_THAT(host->calls, ElementsAre("disposePort(port 2)", "disposePort(port 3)", "disposeClient(client 1)"));
}

}  // namespace
}  // namespace corvel::tests
