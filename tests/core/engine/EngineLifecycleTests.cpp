#include "tests/core/engine/EngineFixture.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <set>
#include <string_view>
#include <thread>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

constexpr const char* kStarting = "logged: Starting CoreMIDI client on main run loop";

class EngineLifecycle : public EngineFixture {
protected:
    /// Leaves work of every kind waiting for the engine's end.
    void leaveWorkOfEveryKind() {
        host->receive({{0x90, 60, 100}}, 11);
        host->notify({});
        host->diagnose("Overrun 1");
        host->diagnose("Overrun 2", -5);
    }
};

// Start

TEST_F(EngineLifecycle, TouchesNoServiceWhenItIsMadeButForItsDiagnostics) {
    std::vector<std::string> calls;
    host->onCall = [&](std::string_view operation) { calls.emplace_back(operation); };
    const auto other = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
    settle();
    host->onCall = nullptr;
    EXPECT_THAT(calls, ElementsAre("setDiagnosticHandler"));
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, MakesClientAndPortsConnectsTheSourcesAndReportsItInOrder) {
    addKeysAndSynth();
    engine->start();
    settle();
    EXPECT_THAT(host->requested, ElementsAre("Corvel", "Corvel Input", "Corvel Output"));
    EXPECT_THAT(host->listings, ElementsAre(MIDIListing::afresh));
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11)));
    EXPECT_THAT(delegate->reports,
                ElementsAre(kStarting,
                            "logged: Endpoint reload (initial load): 1 sources, 1 destinations, 1 source connections",
                            "logged: Device tree: 0 devices, 0 external devices", "endpoints changed"));
    EXPECT_EQ(delegate->reporter, engine.get());
    EXPECT_TRUE(engine->isStarted());
}

TEST_F(EngineLifecycle, MakesTheClientInsideStartOnTheMainThreadAndThePortsOnTheQueue) {
    engine->start();
    EXPECT_THAT(host->requested, ElementsAre("Corvel"));
    mainQueue->runAll();
    EXPECT_THAT(host->requested, SizeIs(1));
    queue->runAll();
    EXPECT_THAT(host->requested, SizeIs(3));
}

TEST_F(EngineLifecycle, StartedOnAnotherThreadMakesTheClientOnTheMainThread) {
    std::thread([this] { engine->start(); }).join();
    queue->runAll();
    EXPECT_THAT(host->requested, IsEmpty());
    mainQueue->runNext();
    EXPECT_THAT(host->requested, ElementsAre("Corvel"));
    settle();
    EXPECT_THAT(host->requested, SizeIs(3));
}

TEST_F(EngineLifecycle, StartedOnAnotherThreadDoesNothingOnceItIsReleased) {
    std::thread([this] { engine->start(); }).join();
    engine.reset();
    settle();
    EXPECT_THAT(host->requested, IsEmpty());
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, StartedTwiceMakesOneClientAndOnePairOfPorts) {
    engine->start();
    engine->start();
    settle();
    engine->start();
    settle();
    EXPECT_THAT(host->requested, ElementsAre("Corvel", "Corvel Input", "Corvel Output"));
    EXPECT_THAT(delegate->messages(), SizeIs(3));
    EXPECT_EQ(delegate->endpointChanges, 1U);
}

TEST_F(EngineLifecycle, CallsTheServiceOnlyOnItsQueueExceptForTheClientAndTheDisposals) {
    addKeysAndSynth();
    std::multiset<std::string> offTheQueue;
    std::size_t onTheQueue = 0;
    host->onCall = [&](std::string_view operation) {
        if (queue->isCurrent()) {
            ++onTheQueue;
        } else {
            offTheQueue.insert(std::string(operation));
        }
    };
    startWith({keysToSynth()});
    host->receive({{0x90, 60, 100}}, 11);
    host->notify({});
    engine->reloadEndpoints();
    (void)engine->endpoints();
    settle();
    queue->advance(milliseconds(350));
    EXPECT_EQ(host->sentCount, 1U);
    // Two ports; a listing, a connection and the used destinations at the start; three reloads with four calls each; a
    // send and a listing.
    EXPECT_EQ(onTheQueue, 19U);
    EXPECT_THAT(offTheQueue, ElementsAre("createClient"));
    host->onCall = nullptr;
}

// Failures of the start

TEST_F(EngineLifecycle, ReportsAClientThatCannotBeMadeAndTriesAgainAtTheNextStart) {
    addKeysAndSynth();
    host->clientStatus = -10830;
    engine->start();
    settle();
    EXPECT_THAT(delegate->takeReports(), ElementsAre(kStarting, "failed: MIDI client could not be created (-10830)"));
    EXPECT_THAT(host->requested, ElementsAre("Corvel"));
    host->clientStatus = 0;
    engine->start();
    settle();
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11)));
    EXPECT_EQ(delegate->reports.front(), kStarting);
    EXPECT_EQ(delegate->reports.back(), "endpoints changed");
}

TEST_F(EngineLifecycle, StaysUnstartedForGoodWhenTheInputPortCannotBeMade) {
    addKeysAndSynth();
    host->inputPortStatus = -10831;
    engine->start();
    settle();
    host->inputPortStatus = 0;
    engine->start();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre(kStarting, "failed: MIDI input port could not be created (-10831)"));
    EXPECT_THAT(host->requested, ElementsAre("Corvel", "Corvel Input"));
    EXPECT_THAT(host->connections, IsEmpty());
    EXPECT_FALSE(engine->isStarted());
}

TEST_F(EngineLifecycle, StaysUnstartedForGoodWhenTheOutputPortCannotBeMade) {
    addKeysAndSynth();
    host->outputPortStatus = 12;
    engine->start();
    settle();
    host->outputPortStatus = 0;
    engine->start();
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre(kStarting, "failed: MIDI output port could not be created (12)",
                            "logged: Skipped endpoint reload before engine start", "endpoints changed"));
    EXPECT_THAT(host->requested, ElementsAre("Corvel", "Corvel Input", "Corvel Output"));
    EXPECT_THAT(host->connections, IsEmpty());
}

// Diagnostics of the service

TEST_F(EngineLifecycle, HoldsTheServicesDiagnosticsBackUntilItHasStarted) {
    host->diagnose("No real-time priority");
    host->diagnose("No sequencer", -2);
    settle();
    EXPECT_THAT(delegate->reports, IsEmpty());

    engine->start();
    host->diagnose("Old driver");
    settle();
    ASSERT_THAT(delegate->reports, SizeIs(7));
    EXPECT_EQ(delegate->reports[3], "endpoints changed");
    EXPECT_THAT(Reports(delegate->reports.begin() + 4, delegate->reports.end()),
                ElementsAre("logged: No real-time priority", "failed: No sequencer (-2)", "logged: Old driver"));
}

TEST_F(EngineLifecycle, TellsOfLostMessagesInTheWordsOfTheService) {
    startEngine();
    host->diagnose("Notes were lost", kMIDIMessagesLost);
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("failed: Notes were lost"));
}

TEST_F(EngineLifecycle, LogsTheServicesDiagnosticsAndReportsThoseOfAFailureWithItsStatus) {
    startEngine();
    host->diagnose("Overrun 1");
    host->diagnose("Reading failed", -19);
    host->diagnose("Reading failed", -19);
    settle();
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: Overrun 1", "failed: Reading failed (-19)", "failed: Reading failed (-19)"));
}

TEST_F(EngineLifecycle, KeepsTheServicesDiagnosticsToItselfWhenTheStartFails) {
    host->outputPortStatus = -10832;
    host->diagnose("No real-time priority");
    host->diagnose("No sequencer", -2);
    engine->start();
    settle();
    host->diagnose("Old driver");
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre(kStarting, "failed: MIDI output port could not be created (-10832)"));
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
    startEngine();
    engine.reset();
    EXPECT_THAT(host->disposed, ElementsAre(2, 3, 1));
}

TEST_F(EngineLifecycle, DisposesOnlyOfWhatWasMade) {
    engine.reset();
    EXPECT_THAT(host->disposed, IsEmpty());
    const auto disposedAfterStart = [this] {
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        engine->start();
        settle();
        host->disposed.clear();
        engine.reset();
        return host->disposed;
    };
    host->clientStatus = -10830;
    EXPECT_THAT(disposedAfterStart(), IsEmpty());
    host->clientStatus = 0;
    host->inputPortStatus = -10831;
    EXPECT_THAT(disposedAfterStart(), ElementsAre(1));
    host->inputPortStatus = 0;
    host->outputPortStatus = -10832;
    EXPECT_THAT(disposedAfterStart(), ElementsAre(3, 2)) << "the input port and the second client";
}

TEST_F(EngineLifecycle, ReleasedRightAfterStartMakesNoPortsAndReportsNothing) {
    engine->start();
    engine.reset();
    settle();
    host->notify({});
    settle();
    EXPECT_THAT(host->requested, ElementsAre("Corvel"));
    EXPECT_THAT(host->disposed, ElementsAre(1));
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedWithQueuedWorkOfEveryKindDoesNoneOfIt) {
    addKeysAndSynth();
    host->sendStatuses[21] = -11;
    startWith({keysToSynth()});
    // A settled reload and a summary of failures are due later.
    play({{0x90, 60, 100}, {0x80, 60, 0}});
    host->notify({});
    settle();
    leaveWorkOfEveryKind();
    engine->reloadEndpoints();
    engine->updateRoutes({});
    engine.reset();
    host->listings.clear();
    host->sendSizes.clear();
    EXPECT_THAT(reportsDuring(milliseconds(2000)), IsEmpty());
    EXPECT_THAT(host->listings, IsEmpty());
    EXPECT_THAT(host->sendSizes, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedWithReportsUnderwayDeliversNone) {
    engine->start();
    queue->runAll();
    engine.reset();
    mainQueue->runAll();
    EXPECT_THAT(delegate->reports, IsEmpty());
}

TEST_F(EngineLifecycle, IgnoresCallbacksThatTheServiceHadBegunBeforeTheRelease) {
    addKeysAndSynth();
    startWith({keysToSynth()});
    engine.reset();
    leaveWorkOfEveryKind();
    EXPECT_EQ(queue->runAll(), 0U);
    EXPECT_EQ(mainQueue->runAll(), 0U);
    EXPECT_THAT(host->sendSizes, IsEmpty());
}

TEST_F(EngineLifecycle, ReleasedInsideACallOnItsQueueEndsThereAfterWhatItWasDoing) {
    for (const std::string_view releasing : {"send", "disconnectSource"}) {
        SCOPED_TRACE(releasing);
        host = std::make_shared<FakeMIDIHost>();
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        engine->setDelegate(delegate);
        addKeysAndSynth();
        startWith({keysToSynth(), keysToSynth(ChannelMode::force(2))});
        bool endedOnTheQueue = false;
        host->onCall = [&](std::string_view operation) {
            if (operation == releasing) {
                engine.reset();
            }
            if (operation == "disposeClient") {
                endedOnTheQueue = queue->isCurrent();
            }
        };
        if (releasing == "send") {
            play({{0x90, 60, 100}});
            EXPECT_THAT(host->sent,
                        ElementsAre(FakeSentPacket{21, {0x90, 60, 100}}, FakeSentPacket{21, {0x91, 60, 100}}));
        } else {
            engine->reloadEndpoints();
            settle();
        }
        EXPECT_THAT(host->disposed, ElementsAre(2, 3, 1));
        EXPECT_TRUE(endedOnTheQueue);
        EXPECT_THAT(delegate->reports, IsEmpty());
    }
}

TEST_F(EngineLifecycle, ReleasedInsideAReportDeliversNoFurtherReports) {
    delegate->onReport = [this] { engine.reset(); };
    engine->start();
    queue->runAll();
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre(kStarting));
    EXPECT_THAT(host->disposed, ElementsAre(2, 3, 1));
    delegate->onReport = nullptr;
}

/// A queue that runs a function on the posting thread at its next post.
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

TEST_F(EngineLifecycle, ReleasedInsideACallbackOfTheServiceEndsOnThatThreadAndDoesNothing) {
    const std::function<void()> callbacks[] = {[this] {
                                                   host->receive({{0x90, 60, 100}}, 11);
                                               },
                                               [this] { host->notify({}); }};
    for (const std::function<void()>& callback : callbacks) {
        host = std::make_shared<FakeMIDIHost>();
        addKeysAndSynth();
        const auto trapped = std::make_shared<TrappedQueue>();
        engine = CoreMIDIRouterEngine::create(host, trapped, mainQueue, clock);
        engine->updateRoutes({keysToSynth()});
        engine->start();
        trapped->runAll();
        host->listings.clear();
        std::thread::id ended;
        host->onCall = [&](std::string_view operation) {
            if (operation == "disposeClient") {
                ended = std::this_thread::get_id();
            }
        };
        trapped->onNextAsync = [this] { engine.reset(); };
        std::thread thread(callback);
        const std::thread::id caller = thread.get_id();
        thread.join();
        trapped->runAll();
        EXPECT_EQ(ended, caller);
        EXPECT_THAT(host->disposed, ElementsAre(2, 3, 1));
        EXPECT_THAT(host->sendSizes, IsEmpty());
        EXPECT_THAT(host->listings, IsEmpty());
    }
}

}  // namespace
}  // namespace corvel::tests
