#include "hosts/jack/JackService.hpp"

#include "tests/hosts/jack/FakeJackServer.hpp"
#include "tests/support/ManualEventLoop.hpp"
#include "tests/support/ManualQueue.hpp"

#include <gmock/gmock.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvel::hosts {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using tests::FakeJackEvent;
using tests::FakeJackServer;
using tests::ManualEventLoop;
using tests::ManualQueue;

using Bytes = std::vector<std::uint8_t>;

/// The service with its worker over a fake server, with queues driven by hand: the test acts as engine and performer.
class JackServiceTest : public testing::Test {
protected:
    JackServiceTest() {
        service_->setDiagnosticHandler(
            [this](std::string message, MIDIStatus) { diagnostics_.push_back(std::move(message)); });
    }
    ~JackServiceTest() override { ::close(bell_); }

    void start() {
        onQueue([this] {
            service_->open(bell_, [this](const MIDINotification& notification) {
                notifications_.push_back(notification.messageID);
            });
            service_->setReceiveHandler([this](std::span<const MIDIArrival> arrivals) {
                deliveries_.push_back(arrivals.size());
                for (const MIDIArrival& arrival : arrivals) {
                    received_.emplace_back(arrival.connection, Bytes(arrival.bytes.begin(), arrival.bytes.end()));
                    if (onArrival_) {
                        onArrival_(arrival);
                    }
                }
            });
        });
        workerQueue_->async([this] { worker_->start(); });
        settle();
    }

    void onQueue(std::function<void()> operation) {
        queue_->async(std::move(operation));
        queue_->runAll();
    }

    /// Runs everything that was posted, and some periods, so that ports are added and removed.
    void settle() {
        for (int count = 0; count < 10; ++count) {
            workerQueue_->advance(25ms);
            queue_->runAll();
            mainQueue_->runAll();
            queue_->runAll();
            server_->runPeriod();
        }
    }

    /// Runs a period in which these events arrive, and the engine's part of it.
    void play(std::map<std::string, std::vector<FakeJackEvent>> arriving) {
        server_->runPeriod(std::move(arriving));
        queue_->runRound(bell_);
    }

    MIDIObjectRef sourceRef(const std::string& portName) {
        return refOf(service_->setup(MIDIListing::known)->sources, portName);
    }
    MIDIObjectRef destinationRef(const std::string& portName) {
        return refOf(service_->setup(MIDIListing::known)->destinations, portName);
    }
    static MIDIObjectRef refOf(const std::vector<MIDIEndpointRecord>& records, const std::string& portName) {
        for (const MIDIEndpointRecord& record : records) {
            if (record.name == portName) {
                return record.ref;
            }
        }
        return 0;
    }

    /// Connects the source, and uses it.
    void connect(const std::string& portName) {
        connect(portName, sourceRef(portName));
        use(portName);
    }
    /// Connects the source without using it.
    void connect(const std::string& portName, MIDIObjectRef connection) {
        onQueue([&] { EXPECT_EQ(service_->connectSource(sourceRef(portName), connection), kMIDISuccess); });
        settle();
    }
    /// Uses these ports, in addition to those before.
    void use(const std::string& portName) {
        const MIDIObjectRef source = sourceRef(portName);
        (source != 0 ? usedSources_ : usedDestinations_).push_back(source != 0 ? source : destinationRef(portName));
        onQueue([&] { service_->setUsedEndpoints(usedSources_, usedDestinations_); });
        settle();
    }

    MIDIStatus send(MIDIObjectRef destination, const Bytes& bytes) {
        std::array<MIDISend, 1> sends{{{.destination = destination, .bytes = bytes, .status = 99}}};
        service_->send(sends);
        return sends[0].status;
    }

    const int bell_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const std::shared_ptr<FakeJackServer> server_ = std::make_shared<FakeJackServer>();
    const std::shared_ptr<ManualEventLoop> queue_ = std::make_shared<ManualEventLoop>();
    const std::shared_ptr<ManualQueue> mainQueue_ = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> workerQueue_ = std::make_shared<ManualQueue>();
    const std::shared_ptr<JackProcess> process_ = std::make_shared<JackProcess>([](void*) {}, nullptr);
    std::vector<std::string> diagnostics_;
    std::vector<std::int32_t> notifications_;
    std::vector<std::pair<MIDIObjectRef, Bytes>> received_;
    std::vector<std::size_t> deliveries_;
    std::function<void(const MIDIArrival& arrival)> onArrival_;
    std::vector<MIDIObjectRef> usedSources_;
    std::vector<MIDIObjectRef> usedDestinations_;
    std::size_t wishCount_ = 0;
    std::shared_ptr<JackWorker> worker_ = std::make_shared<JackWorker>(
        workerQueue_, tests::makeFakeJackLibrary(server_), process_,
        JackWorker::Handlers{.onSnapshot =
                                 [this](JackSnapshot snapshot) {
                                     queue_->async([this, snapshot = std::move(snapshot)]() mutable {
                                         service_->takeSnapshot(std::move(snapshot));
                                     });
                                 },
                             .onDiagnostic = [](const std::string&) {}});
    std::shared_ptr<JackService> service_ = std::make_shared<JackService>(
        queue_, mainQueue_, process_, true,
        JackService::Worker{.setWish =
                                [this](JackWish wish) {
                                    ++wishCount_;
                                    workerQueue_->async([this, wish = std::move(wish)]() mutable {
                                        worker_->setWish(std::move(wish));
                                    });
                                },
                            .refresh = [this] { workerQueue_->async([this] { worker_->refresh(); }); }});
};

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

TEST_F(JackServiceTest, HasThePortOfADestinationReadyOnceAConnectionLeadsThere) {
    server_->addDestination("dump:in");
    start();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    use("dump:in");
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("dump in"));
}

TEST_F(JackServiceTest, ListensOnlyToSourcesOfConnections) {
    server_->addSource("seq:out");
    server_->addSource("other:out");
    start();
    connect("seq:out", 77);
    connect("other:out", 78);
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    use("seq:out");
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
    play({{"seq:out", {{3, {0x90, 60, 100}}}}, {"other:out", {{3, {0x90, 61, 100}}}}});
    EXPECT_THAT(received_, ElementsAre(std::pair<MIDIObjectRef, Bytes>(77, {0x90, 60, 100})));
}

TEST_F(JackServiceTest, ListensToASourceThatIsConnectedAfterItIsUsed) {
    server_->addSource("seq:out");
    start();
    use("seq:out");
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    connect("seq:out", 77);
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
}

TEST_F(JackServiceTest, KeepsThePortsForAWhileWhenNoConnectionUsesThemAnyMore) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    connect("seq:out");
    use("dump:in");
    onQueue([this] { service_->setUsedEndpoints({}, {}); });
    settle();
    EXPECT_THAT(server_->ownPortNames(), SizeIs(2));
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackServiceTest, GoesOnListeningIfASourceIsUsedAgainBeforeItsPortIsReleased) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    onQueue([this] { service_->setUsedEndpoints({}, {}); });
    queue_->advance(9s);
    onQueue([this] { service_->setUsedEndpoints(usedSources_, {}); });
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
    play({{"seq:out", {{3, {0x90, 60, 100}}}}});
    EXPECT_THAT(received_, SizeIs(1));
}

TEST_F(JackServiceTest, SendsToADestinationThatNoConnectionLeadsTo) {
    server_->addDestination("dump:in");
    start();
    onQueue([this] { EXPECT_EQ(send(destinationRef("dump:in"), {0xB0, 123, 0}), kMIDISuccess); });
    settle();
    EXPECT_THAT(server_->sent["dump:in"], SizeIs(1));
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackServiceTest, RefusesEndpointsThatAreNotThere) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    onQueue([this] {
        EXPECT_EQ(service_->connectSource(999, 1), -ENODEV);
        EXPECT_EQ(service_->connectSource(destinationRef("dump:in"), 1), -ENODEV);
        EXPECT_EQ(service_->disconnectSource(sourceRef("seq:out")), -ENODEV);
        EXPECT_EQ(send(999, {0x90, 60, 100}), -ENODEV);
        EXPECT_EQ(send(sourceRef("seq:out"), {0x90, 60, 100}), -ENODEV);
    });
}

TEST_F(JackServiceTest, LeavesThePortsAloneInAReload) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    const std::size_t wishesBefore = wishCount_;
    onQueue([this] {
        const MIDIObjectRef source = sourceRef("seq:out");
        EXPECT_EQ(service_->disconnectSource(source), kMIDISuccess);
        EXPECT_EQ(service_->connectSource(source, 5), kMIDISuccess);
    });
    EXPECT_EQ(wishCount_, wishesBefore);
    play({{"seq:out", {{3, {0x90, 60, 100}}}}});
    EXPECT_EQ(received_.at(0).first, 5U);
}

TEST_F(JackServiceTest, LetsGoOfASourceThatIsDisconnected) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    onQueue([this] { EXPECT_EQ(service_->disconnectSource(sourceRef("seq:out")), kMIDISuccess); });
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
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

}  // namespace
}  // namespace corvel::hosts
