#include "tests/hosts/jack/JackServiceFixture.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace corvel::hosts {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(JackServiceTest, DeliversWhatASourcePlaysWithTheEnginesConstant) {
    server_->addSource("seq:out");
    start();
    connect("seq:out", 77);
    use("seq:out");
    play({{"seq:out", {{3, {0x90, 60, 100}}}}});
    EXPECT_THAT(received_, ElementsAre(std::pair<MIDIObjectRef, Bytes>(77, {0x90, 60, 100})));
}

TEST_F(JackServiceTest, SendsWhatArrivesAtAFrameExactlyOnePeriodLater) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    connect("seq:out");
    use("dump:in");
    onArrival_ = [this](const MIDIArrival& arrival) {
        EXPECT_EQ(send(destinationRef("dump:in"), Bytes(arrival.bytes.begin(), arrival.bytes.end())), kMIDISuccess);
    };
    const std::uint32_t start = server_->frame;
    play({{"seq:out", {{3, {0x90, 60, 100}}, {3, {0x90, 64, 100}}, {127, {0x80, 60, 0}}}}});
    EXPECT_THAT(deliveries_, ElementsAre(2U, 1U)) << "those of one frame together";
    server_->runPeriod();
    EXPECT_THAT(server_->sent["dump:in"],
                ElementsAre(FakeJackEvent{start + 131, {0x90, 60, 100}}, FakeJackEvent{start + 131, {0x90, 64, 100}},
                            FakeJackEvent{start + 255, {0x80, 60, 0}}));
}

TEST_F(JackServiceTest, SendsWhatComesFromElsewhereAtOnce) {
    server_->addDestination("dump:in");
    start();
    use("dump:in");
    const std::uint32_t start = server_->frame;
    onQueue([this] { EXPECT_EQ(send(destinationRef("dump:in"), {0x90, 60, 100}), kMIDISuccess); });
    server_->runPeriod();
    EXPECT_THAT(server_->sent["dump:in"], ElementsAre(FakeJackEvent{start, {0x90, 60, 100}}));
}

TEST_F(JackServiceTest, DeliversTheLastNotesOfAClientThatEnds) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    server_->runPeriod({{"seq:out", {{3, {0x80, 60, 0}}}}});
    server_->remove("seq:out");
    workerQueue_->advance(1s);
    queue_->runAll();
    EXPECT_THAT(received_, SizeIs(1));
    EXPECT_EQ(sourceRef("seq:out"), 0U);
}

TEST_F(JackServiceTest, TellsOfAPortThatComesAndOfManyInOne) {
    start();
    server_->addSource("seq:out");
    settle();
    EXPECT_THAT(notifications_, ElementsAre(MIDINotification::kObjectAdded));
    for (int count = 0; count < 500; ++count) {
        server_->addSource("c:" + std::to_string(count));
    }
    settle();
    EXPECT_THAT(notifications_, ElementsAre(MIDINotification::kObjectAdded, MIDINotification::kSetupChanged));
    server_->remove("seq:out");
    settle();
    EXPECT_EQ(notifications_.back(), MIDINotification::kObjectRemoved);
}

TEST_F(JackServiceTest, TellsTheMainThreadOfOneChangeAtATime) {
    start();
    for (int count = 0; count < 50; ++count) {
        server_->addSource("c:" + std::to_string(count));
        workerQueue_->advance(100ms);
        queue_->runAll();
    }
    EXPECT_THAT(notifications_, IsEmpty()) << "the main thread is busy";
    settle();
    EXPECT_THAT(notifications_, SizeIs(2));
}

TEST_F(JackServiceTest, TakesTheEndpointsOfAServerThatGoesAndGivesThemTheSameIDsWhenItIsBack) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    const auto before = service_->setup(MIDIListing::known);
    server_->shutDown();
    settle();
    EXPECT_THAT(service_->setup(MIDIListing::known)->sources, IsEmpty());
    server_->isRunning = true;
    workerQueue_->advance(2s);
    settle();
    const auto after = service_->setup(MIDIListing::known);
    ASSERT_THAT(after->sources, SizeIs(1));
    EXPECT_EQ(after->sources[0].uniqueID, before->sources[0].uniqueID);
    EXPECT_EQ(after->destinations[0].uniqueID, before->destinations[0].uniqueID);
    EXPECT_NE(after->sources[0].ref, before->sources[0].ref);
}

TEST_F(JackServiceTest, SplitsAndRepairsWhatOtherProgramsPutIntoAnEvent) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    const MIDIObjectRef source = sourceRef("seq:out");
    play({{"seq:out", {{3, {0x90, 60, 100, 60, 0}}, {4, {62, 100}}, {5, {0xC0}}, {6, {}}, {7, {0xF0, 1, 0xF7}}}}});
    EXPECT_THAT(received_, ElementsAre(std::pair<MIDIObjectRef, Bytes>(source, {0x90, 60, 100}),
                                       std::pair<MIDIObjectRef, Bytes>(source, {0x90, 60, 0}),
                                       std::pair<MIDIObjectRef, Bytes>(source, {0x90, 62, 100}),
                                       std::pair<MIDIObjectRef, Bytes>(source, {0xF0, 1, 0xF7})));
    queue_->advance(1s);
    EXPECT_THAT(diagnostics_, ElementsAre("JACK: 1 pieces of what arrived are no MIDI, and were left out"));
}

TEST_F(JackServiceTest, DeliversABurstWholeAndInOrderOverSeveralTurns) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    std::vector<FakeJackEvent> burst;
    for (std::uint32_t number = 0; number < 10'000; ++number) {
        burst.push_back({0, {0xE0, static_cast<std::uint8_t>(number % 128), static_cast<std::uint8_t>(number / 128)}});
    }
    play({{"seq:out", burst}});
    ASSERT_THAT(received_, SizeIs(10'000));
    bool isInOrder = true;
    for (std::size_t number = 0; number < received_.size(); ++number) {
        isInOrder = isInOrder && received_[number].second == burst[number].bytes;
    }
    EXPECT_TRUE(isInOrder);
}

TEST_F(JackServiceTest, LosesNothingThroughReloadsInTheMiddleOfTraffic) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    for (std::uint8_t number = 0; number < 100; ++number) {
        server_->runPeriod({{"seq:out", {{3, {0x90, number, 100}}}}});
        onQueue([this] {
            const MIDIObjectRef source = sourceRef("seq:out");
            EXPECT_EQ(service_->disconnectSource(source), kMIDISuccess);
            EXPECT_NE(service_->setup(MIDIListing::afresh), nullptr);
            EXPECT_EQ(service_->connectSource(source, source), kMIDISuccess);
        });
        workerQueue_->advance(3ms);
        queue_->runRound(bell_);
    }
    ASSERT_THAT(received_, SizeIs(100));
    EXPECT_EQ(received_.back().second, Bytes({0x90, 99, 100}));
}

TEST_F(JackServiceTest, SettlesWhileAClientMakesAndRemovesAPortAllTheTime) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    for (int count = 0; count < 10'000; ++count) {
        if (count % 2 == 0) {
            server_->addSource("mad:out");
        } else {
            server_->remove("mad:out");
        }
        if (count % 10 == 0) {
            workerQueue_->advance(5ms);
            queue_->runAll();
            mainQueue_->runAll();
            queue_->runAll();
            server_->runPeriod();
        }
    }
    settle();
    EXPECT_LE(server_->listCount, 500U) << "five seconds, a listing every 20 ms at most, and those of its own ports";
    EXPECT_THAT(service_->setup(MIDIListing::known)->sources, SizeIs(1));
    play({{"seq:out", {{3, {0x90, 60, 100}}}}});
    EXPECT_EQ(received_.back().second, Bytes({0x90, 60, 100}));
}

TEST_F(JackServiceTest, ReadsNothingAndTellsNothingAfterItsEnd) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    onQueue([this] {
        service_->setReceiveHandler(nullptr);
        service_->close();
    });
    EXPECT_FALSE(queue_->isWatching(bell_));
    notifications_.clear();
    server_->addSource("late:out");
    settle();
    EXPECT_THAT(notifications_, IsEmpty());
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}
TEST_F(JackServiceTest, SendsAtOnceAlsoAfterArrivalsThatAreSentLater) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    connect("seq:out");
    use("dump:in");
    play({{"seq:out", {{127, {0x90, 60, 100}}}}});
    const std::uint32_t start = server_->frame;
    onQueue([this] { EXPECT_EQ(send(destinationRef("dump:in"), {0x80, 60, 0}), kMIDISuccess); });
    server_->runPeriod();
    EXPECT_THAT(server_->sent["dump:in"], ElementsAre(FakeJackEvent{start, {0x80, 60, 0}}));
}

TEST_F(JackServiceTest, GivesOtherWorkItsTurnAfter256Arrivals) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    std::size_t receivedBefore = 0;
    onArrival_ = [&](const MIDIArrival&) {
        if (received_.size() == 1) {
            queue_->async([&] { receivedBefore = received_.size(); });
        }
    };
    play({{"seq:out", std::vector<FakeJackEvent>(600, {0, {0x90, 60, 100}})}});
    EXPECT_EQ(receivedBefore, 256U);
    EXPECT_THAT(received_, SizeIs(600));
    EXPECT_EQ(deliveries_.front(), 64U) << "at most, in one call";
}

TEST_F(JackServiceTest, DeliversAllThatAClientHasSentBeforeItsEnd) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    server_->runPeriod({{"seq:out", std::vector<FakeJackEvent>(10'000, {0, {0x90, 60, 100}})}});
    server_->remove("seq:out");
    workerQueue_->advance(1s);
    queue_->runAll();
    EXPECT_THAT(received_, SizeIs(10'000));
}

TEST_F(JackServiceTest, CountsWhatIsNoMIDIInOneLineASecond) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    play({{"seq:out", {{3, {0xC0}}, {4, {0x90, 60}}}}});
    queue_->advance(2s);
    EXPECT_THAT(diagnostics_, ElementsAre("JACK: 2 pieces of what arrived are no MIDI, and were left out"));
    play({{"seq:out", {{3, {0xC0}}}}});
    queue_->advance(1s);
    ASSERT_THAT(diagnostics_, SizeIs(2));
    EXPECT_EQ(diagnostics_.back(), "JACK: 1 pieces of what arrived are no MIDI, and were left out");
}

TEST_F(JackServiceTest, TellsNothingAfterItsEndOfAChangeThatWaits) {
    start();
    for (const char* const name : {"a:out", "b:out"}) {
        server_->addSource(name);
        workerQueue_->advance(100ms);
        queue_->runAll();
    }
    onQueue([this] {
        service_->setReceiveHandler(nullptr);
        service_->close();
    });
    settle();
    EXPECT_THAT(notifications_, SizeIs(1)) << "the one on its way to the main thread";
}

TEST_F(JackServiceTest, DescribesThePortThatComesOrGoes) {
    start();
    server_->addDestination("dump:in");
    settle();
    const MIDIObjectRef dump = destinationRef("dump:in");
    EXPECT_EQ(lastNotification_.messageID, MIDINotification::kObjectAdded);
    EXPECT_EQ(lastNotification_.parent, 0U);
    EXPECT_EQ(lastNotification_.child, dump);
    EXPECT_EQ(lastNotification_.childType, MIDINotification::kDestination);
    server_->addSource("seq:out");
    settle();
    EXPECT_EQ(lastNotification_.child, sourceRef("seq:out"));
    EXPECT_EQ(lastNotification_.childType, MIDINotification::kSource);
    server_->ports[1].prettyName = "Drums";
    server_->events.portsChanged();
    settle();
    EXPECT_EQ(lastNotification_.messageID, MIDINotification::kPropertyChanged);
    server_->remove("dump:in");
    settle();
    EXPECT_EQ(lastNotification_.messageID, MIDINotification::kObjectRemoved);
    EXPECT_EQ(lastNotification_.child, dump);
}

}  // namespace
}  // namespace corvel::hosts
