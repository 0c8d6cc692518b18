#include "hosts/jack/JackWorker.hpp"

#include "tests/hosts/jack/FakeJackServer.hpp"
#include "tests/support/ManualQueue.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace corvel::hosts {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using tests::FakeJackServer;
using tests::ManualQueue;

class JackWorkerTest : public testing::Test {
protected:
    void start() {
        queue_->async([this] { worker_->start(); });
        queue_->runAll();
    }
    void wish(JackWish wish) {
        queue_->async([this, wish = std::move(wish)]() mutable { worker_->setWish(std::move(wish)); });
        queue_->runAll();
    }
    /// Runs periods, and lets time pass.
    void pass(int periods) {
        for (int count = 0; count < periods; ++count) {
            server_->runPeriod();
            queue_->advance(5ms);
        }
    }

    const std::shared_ptr<FakeJackServer> server_ = std::make_shared<FakeJackServer>();
    const std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>();
    const std::shared_ptr<JackProcess> process_ = std::make_shared<JackProcess>([](void*) {}, nullptr);
    std::vector<JackSnapshot> snapshots_;
    std::vector<std::string> diagnostics_;
    std::shared_ptr<JackWorker> worker_ = std::make_shared<JackWorker>(
        queue_, tests::makeFakeJackLibrary(server_), process_,
        JackWorker::Handlers{
            .onSnapshot = [this](JackSnapshot snapshot) { snapshots_.push_back(std::move(snapshot)); },
            .onDiagnostic = [this](std::string message) { diagnostics_.push_back(std::move(message)); }});
};

TEST_F(JackWorkerTest, GivesTheServersPortsAtTheStart) {
    server_->addSource("seq:out");
    start();
    ASSERT_THAT(snapshots_, SizeIs(1));
    EXPECT_EQ(snapshots_[0].serverName, "JACK");
    ASSERT_THAT(snapshots_[0].ports, SizeIs(1));
    EXPECT_EQ(snapshots_[0].ports[0].name, "seq:out");
    EXPECT_THAT(diagnostics_, ElementsAre("Connected to JACK, 128 frames a period"));
}

TEST_F(JackWorkerTest, LooksForAServerThatComesLaterAndSaysOnceThatThereIsNone) {
    server_->isRunning = false;
    start();
    EXPECT_THAT(snapshots_, IsEmpty());
    queue_->advance(10s);
    EXPECT_EQ(server_->openCount, 6U) << "one at the start and one every two seconds";
    EXPECT_THAT(diagnostics_, ElementsAre("No JACK or PipeWire server runs; Corvel looks for one every 2 seconds"));
    server_->isRunning = true;
    queue_->advance(2s);
    EXPECT_THAT(snapshots_, SizeIs(1));
}

TEST_F(JackWorkerTest, LooksForAServerAtOnceWhenAsked) {
    server_->isRunning = false;
    start();
    server_->isRunning = true;
    for (int count = 0; count < 5; ++count) {
        queue_->async([this] { worker_->refresh(); });
    }
    queue_->runAll();
    EXPECT_EQ(server_->openCount, 2U);
    EXPECT_GE(snapshots_.size(), 1U);
    queue_->advance(10ms);
    EXPECT_EQ(server_->openCount, 2U);
}

TEST_F(JackWorkerTest, AsksNoMoreOftenForAServerBecauseItWasAskedTo) {
    server_->isRunning = false;
    start();
    for (int count = 0; count < 100; ++count) {
        queue_->async([this] { worker_->refresh(); });
    }
    queue_->runAll();
    const std::size_t before = server_->openCount;
    queue_->advance(10s);
    EXPECT_LE(server_->openCount - before, 5U);
}

TEST_F(JackWorkerTest, ListsOnceForManyChanges) {
    start();
    for (int count = 0; count < 500; ++count) {
        server_->addSource("c:" + std::to_string(count));
    }
    queue_->advance(1s);
    EXPECT_LE(server_->listCount, 3U);
    EXPECT_THAT(snapshots_.back().ports, SizeIs(500));
}

TEST_F(JackWorkerTest, MakesAPortForEachSourceAndConnectsIt) {
    server_->addSource("seq:out");
    server_->addSource("keys:out");
    start();
    wish({.inputs = {{1, "seq:out"}, {2, "keys:out"}}, .outputs = {}});
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out", "keys out"));
    ASSERT_NE(server_->connectedTo("keys:out"), nullptr);
    EXPECT_EQ(server_->connectedTo("keys:out")->otherSide, MIDIEndpointDirection::source);
}

TEST_F(JackWorkerTest, UsesAnOutputOnlyOnceItsConnectionHasTakenEffect) {
    server_->addDestination("dump:in");
    start();
    const auto lane = std::make_shared<JackLane>();
    ASSERT_EQ(lane->write(std::vector<std::uint8_t>{0x90, 60, 100}, std::nullopt, 1'000), kMIDISuccess);
    wish({.inputs = {}, .outputs = {{5, {"dump:in", lane}}}});
    server_->runPeriod();
    queue_->advance(5ms);
    pass(1);
    EXPECT_THAT(server_->sent["dump:in"], IsEmpty());
    pass(1);
    EXPECT_THAT(server_->sent["dump:in"], SizeIs(1)) << "what was sent in the meantime waits";
}

TEST_F(JackWorkerTest, LetsGoOfAPortOnlyOnceNoPeriodUsesIt) {
    server_->addSource("seq:out");
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {}});
    pass(1);
    wish({});
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
    queue_->advance(100ms);
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out")) << "no period has ended since";
    pass(2);
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackWorkerTest, LeavesPortsAloneThatAreStillWishedFor) {
    server_->addSource("seq:out");
    server_->addSource("keys:out");
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {}});
    const void* const port = server_->connectedTo("seq:out");
    wish({.inputs = {{1, "seq:out"}, {2, "keys:out"}}, .outputs = {}});
    pass(3);
    EXPECT_EQ(server_->connectedTo("seq:out"), port);
}

TEST_F(JackWorkerTest, MakesAPortAnewThatIsWishedForAnotherPort) {
    server_->addSource("seq:left");
    server_->addSource("seq:right");
    start();
    wish({.inputs = {{1, "seq:left"}}, .outputs = {}});
    wish({.inputs = {{1, "seq:right"}}, .outputs = {}});
    pass(3);
    EXPECT_EQ(server_->connectedTo("seq:left"), nullptr);
    EXPECT_NE(server_->connectedTo("seq:right"), nullptr);
}

TEST_F(JackWorkerTest, KeepsThePortOfAPortThatIsRenamed) {
    server_->addSource("seq:out");
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {}});
    server_->ports[0].name = "seq:left";
    server_->ownPorts[0]->connectedTo = "seq:left";
    server_->events.portRenamed("seq:out", "seq:left");
    queue_->advance(20ms);
    ASSERT_THAT(snapshots_.back().renames, SizeIs(1));
    EXPECT_EQ(snapshots_.back().renames[0].second, "seq:left");
    wish({.inputs = {{1, "seq:left"}}, .outputs = {}});
    pass(3);
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
}

TEST_F(JackWorkerTest, ConnectsAgainWhatAnotherProgramHasDisconnectedWhenAsked) {
    server_->addSource("seq:out");
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {}});
    server_->ownPorts[0]->connectedTo.clear();
    queue_->async([this] { worker_->refresh(); });
    queue_->runAll();
    EXPECT_NE(server_->connectedTo("seq:out"), nullptr);
}

TEST_F(JackWorkerTest, GivesAnEmptyListWhenTheServerGoesAndMakesThePortsAgainWhenItIsBack) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {{2, {"dump:in", std::make_shared<JackLane>()}}}});
    server_->shutDown();
    queue_->runAll();
    EXPECT_FALSE(server_->hasClient);
    EXPECT_EQ(snapshots_.back().serverName, "");
    EXPECT_THAT(snapshots_.back().ports, IsEmpty());
    EXPECT_THAT(diagnostics_, Contains("The JACK or PipeWire server has gone: it was stopped"));
    queue_->advance(3s);
    server_->isRunning = true;
    queue_->advance(2s);
    EXPECT_THAT(snapshots_.back().ports, SizeIs(2));
    EXPECT_NE(server_->connectedTo("seq:out"), nullptr) << "what was wished for is wished for still";
    EXPECT_NE(server_->connectedTo("dump:in"), nullptr);
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out", "dump in"));
    EXPECT_THAT(diagnostics_, Not(Contains(HasSubstr("No JACK")))) << "the end was said already";
}

TEST_F(JackWorkerTest, RemovesNoPortsThatHaveGoneWithTheServer) {
    server_->addSource("seq:out");
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {}});
    pass(1);
    wish({});
    server_->shutDown();
    queue_->runAll();
    server_->isRunning = true;
    queue_->advance(2s);
    pass(3);
    EXPECT_TRUE(server_->hasClient);
    EXPECT_EQ(server_->strayRemovalCount, 0U);
}

TEST_F(JackWorkerTest, IgnoresALateEventOfAnEarlierClient) {
    start();
    const JackEvents earlier = server_->events;
    server_->shutDown();
    queue_->runAll();
    server_->isRunning = true;
    queue_->advance(2s);
    ASSERT_TRUE(server_->hasClient);
    earlier.shutdown("late");
    queue_->runAll();
    EXPECT_TRUE(server_->hasClient);
}

TEST_F(JackWorkerTest, NoticesASilentEndAlsoOfTheNextServer) {
    start();
    server_->shutDown();
    queue_->advance(5s);
    server_->isRunning = true;
    queue_->advance(2s);
    ASSERT_TRUE(server_->hasClient);
    server_->isRunning = false;
    queue_->advance(5s);
    EXPECT_FALSE(server_->hasClient);
}

TEST_F(JackWorkerTest, ConnectsAgainAtOnceWhenTheServerHasOnlyThrownItOut) {
    start();
    server_->events.shutdown("client zombified");
    queue_->advance(10ms);
    EXPECT_TRUE(server_->hasClient);
    EXPECT_EQ(server_->openCount, 2U);
}

TEST_F(JackWorkerTest, TakesAServerThatDoesNothingAnyMoreForGone) {
    start();
    server_->runPeriod();
    queue_->advance(1s);
    server_->isRunning = false;
    queue_->advance(2s);
    EXPECT_TRUE(server_->hasClient);
    queue_->advance(1s);
    EXPECT_FALSE(server_->hasClient);
    EXPECT_THAT(diagnostics_, Contains(HasSubstr("it has not done anything for 3 seconds")));
}

TEST_F(JackWorkerTest, CountsXrunsInOneLineASecond) {
    start();
    for (int count = 0; count < 7; ++count) {
        server_->events.xrun();
    }
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_THAT(diagnostics_, Contains("JACK: 7 xruns (7 so far)"));
    server_->events.xrun();
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_EQ(diagnostics_.back(), "JACK: 1 xruns (8 so far)");
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_EQ(diagnostics_.back(), "JACK: 1 xruns (8 so far)");
}

TEST_F(JackWorkerTest, CountsPeriodsThatTheServerLeavesOut) {
    start();
    server_->runPeriod();
    server_->runPeriod();
    server_->frame += server_->frames;
    server_->runPeriod();
    server_->frames = 64;
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_EQ(diagnostics_.back(), "JACK: 1 gaps between periods, in which messages were lost (1 so far)");
}

TEST_F(JackWorkerTest, CountsNoGapWhenAnotherServerBeginsAtAnotherFrame) {
    start();
    server_->runPeriod();
    server_->shutDown();
    queue_->advance(10ms);
    server_->isRunning = true;
    server_->frame = 0;
    queue_->advance(2s);
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_THAT(diagnostics_, Not(Contains(HasSubstr("gaps"))));
}

TEST_F(JackWorkerTest, SaysHowManyPortsCouldNotBeConnected) {
    server_->addSource("seq:out");
    server_->addSource("keys:out");
    server_->refusing = {"seq:out", "keys:out"};
    start();
    wish({.inputs = {{1, "seq:out"}, {2, "keys:out"}}, .outputs = {}});
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_EQ(diagnostics_.back(), "JACK: 2 ports could not be connected");
    diagnostics_.clear();
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_THAT(diagnostics_, IsEmpty());
}

TEST_F(JackWorkerTest, TriesAgainWhenAskedToMakeAPortThatTheServerHasRefused) {
    server_->addSource("seq:out");
    server_->refusesNewPorts = true;
    start();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {}});
    server_->runPeriod();
    queue_->advance(1s);
    EXPECT_EQ(diagnostics_.back(), "JACK: 1 ports could not be connected");
    server_->refusesNewPorts = false;
    queue_->async([this] { worker_->refresh(); });
    queue_->runAll();
    EXPECT_NE(server_->connectedTo("seq:out"), nullptr);
}

TEST_F(JackWorkerTest, GivesEachPortANameOfItsOwn) {
    server_->addSource("a:b c");
    server_->addSource("a b:c");
    start();
    wish({.inputs = {{1, "a:b c"}, {2, "a b:c"}}, .outputs = {}});
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("a b c", "a b c 2"));
}

TEST_F(JackWorkerTest, SaysWhatWasLostOnTheWay) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    server_->maxEvent = 100;
    start();
    const auto lane = std::make_shared<JackLane>();
    wish({.inputs = {{1, "seq:out"}}, .outputs = {{5, {"dump:in", lane}}}});
    std::vector<std::uint8_t> sysEx(200, 1);
    sysEx.front() = 0xF0;
    sysEx.back() = 0xF7;
    ASSERT_EQ(lane->write(sysEx, std::nullopt, 1'000), kMIDISuccess);
    pass(3);
    server_->runPeriod({{"seq:out", std::vector<tests::FakeJackEvent>(69'907, {0, {0x90, 60, 100}})}});
    queue_->advance(1s);
    EXPECT_THAT(diagnostics_, Contains("JACK: 2 messages that arrived were lost, too many at once (2 so far)"));
    EXPECT_THAT(diagnostics_, Contains("JACK: 1 messages were too long for a port (1 so far)"));
}

TEST_F(JackWorkerTest, SaysAtTheServersEndWhatWentWrongBefore) {
    start();
    server_->events.xrun();
    server_->shutDown();
    queue_->runAll();
    EXPECT_THAT(diagnostics_, Contains("JACK: 1 xruns (1 so far)"));
}

TEST_F(JackWorkerTest, EndsOnlyWhenWhatWaitsHasGoneOut) {
    server_->addDestination("dump:in");
    start();
    const auto lane = std::make_shared<JackLane>();
    wish({.inputs = {}, .outputs = {{5, {"dump:in", lane}}}});
    ASSERT_EQ(lane->write(std::vector<std::uint8_t>{0x80, 60, 0}, std::nullopt, 1'000), kMIDISuccess);
    bool isStopped = false;
    queue_->async([&] { worker_->stop([&] { isStopped = true; }); });
    queue_->runAll();
    EXPECT_FALSE(isStopped);
    pass(8);
    EXPECT_TRUE(isStopped);
    EXPECT_THAT(server_->sent["dump:in"], SizeIs(1));
    EXPECT_FALSE(server_->hasClient);
    queue_->advance(10s);
    EXPECT_EQ(server_->openCount, 1U) << "it does not begin again";
}

TEST_F(JackWorkerTest, EndsOnlyWhenThePeriodThatSentTheLastMessageIsOver) {
    server_->addDestination("dump:in");
    start();
    const auto lane = std::make_shared<JackLane>();
    wish({.inputs = {}, .outputs = {{5, {"dump:in", lane}}}});
    pass(3);
    ASSERT_EQ(lane->write(std::vector<std::uint8_t>{0x80, 60, 0}, std::nullopt, 1'000), kMIDISuccess);
    bool isStopped = false;
    queue_->async([&] { worker_->stop([&] { isStopped = true; }); });
    queue_->runAll();
    pass(1);
    ASSERT_THAT(server_->sent["dump:in"], SizeIs(1));
    EXPECT_FALSE(isStopped);
    pass(1);
    EXPECT_FALSE(isStopped);
    pass(1);
    EXPECT_TRUE(isStopped);
}

TEST_F(JackWorkerTest, EndsAtOnceWithoutAServer) {
    server_->isRunning = false;
    start();
    bool isStopped = false;
    queue_->async([&] { worker_->stop([&] { isStopped = true; }); });
    queue_->runAll();
    EXPECT_TRUE(isStopped);
    queue_->advance(10s);
    EXPECT_EQ(server_->openCount, 1U);
}

TEST_F(JackWorkerTest, ListsThePortsWithoutAClientThatStays) {
    server_->addSource("seq:out");
    JackSnapshot snapshot;
    queue_->async([&] { snapshot = worker_->visit(); });
    queue_->runAll();
    EXPECT_EQ(snapshot.serverName, "JACK");
    EXPECT_THAT(snapshot.ports, SizeIs(1));
    EXPECT_FALSE(server_->hasClient);
}

}  // namespace
}  // namespace corvel::hosts
