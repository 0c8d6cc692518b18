#include "hosts/jack/JackProcess.hpp"

#include "tests/hosts/jack/FakeJackServer.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace corvel::hosts {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::FakeJackEvent;
using tests::FakeJackServer;

/// An event as the engine's side finds it in the ring.
struct Arrived {
    std::uint32_t tag = 0;
    std::uint32_t frame = 0;
    std::vector<std::uint8_t> bytes;

    bool operator==(const Arrived&) const = default;
};

class JackProcessTest : public testing::Test {
protected:
    void SetUp() override {
        JackEvents events;
        events.process = [this](JackBuffers& buffers, std::uint32_t frames) { process_->process(buffers, frames); };
        client_ = tests::makeFakeJackLibrary(server_)->open("Corvel", std::move(events));
        ASSERT_NE(client_, nullptr);
        server_->frame = 1'000;
        server_->frames = 128;
    }

    void* own(const std::string& otherPort, MIDIEndpointDirection otherSide) {
        server_->ports.push_back({otherPort, otherSide, {}, {}});
        void* const port = client_->registerPort(otherPort, otherSide);
        EXPECT_EQ(client_->connect(port, otherSide, otherPort), kMIDISuccess);
        return port;
    }
    JackInput input(const std::string& source, std::uint32_t tag) {
        return {.port = own(source, MIDIEndpointDirection::source), .tag = tag};
    }
    JackOutput output(const std::string& destination, std::shared_ptr<JackLane> lane) {
        return {.port = own(destination, MIDIEndpointDirection::destination), .lane = std::move(lane)};
    }

    std::vector<Arrived> arrived() {
        std::vector<Arrived> all;
        JackInputHeader header;
        while (process_->input().popHeader(header)) {
            Arrived next{.tag = header.tag, .frame = header.frame, .bytes = std::vector<std::uint8_t>(header.size)};
            process_->input().popBytes(next.bytes);
            all.push_back(std::move(next));
        }
        return all;
    }

    static void write(JackLane& lane, const std::vector<std::uint8_t>& bytes,
                      std::optional<std::uint32_t> frame = std::nullopt) {
        EXPECT_EQ(lane.write(bytes, frame, 32'720), kMIDISuccess);
    }

    int rings_ = 0;
    const std::shared_ptr<FakeJackServer> server_ = std::make_shared<FakeJackServer>();
    std::unique_ptr<JackProcess> process_ =
        std::make_unique<JackProcess>([](void* rings) { ++*static_cast<int*>(rings); }, &rings_);
    std::unique_ptr<JackClient> client_;
};

TEST_F(JackProcessTest, GivesEachEventTheFrameOnePeriodLater) {
    process_->setPorts({input("a:out", 1)}, {});
    server_->runPeriod({{"a:out", {{0, {0xF8}}, {5, {0x90, 60, 100}}, {127, {0x80, 60, 0}}}}});
    EXPECT_THAT(arrived(), ElementsAre(Arrived{1, 1'128, {0xF8}}, Arrived{1, 1'133, {0x90, 60, 100}},
                                       Arrived{1, 1'255, {0x80, 60, 0}}));
    EXPECT_EQ(rings_, 1) << "once a period";
}

TEST_F(JackProcessTest, WakesNobodyWhereNothingArrives) {
    process_->setPorts({input("a:out", 1)}, {});
    server_->runPeriod();
    EXPECT_EQ(rings_, 0);
}

TEST_F(JackProcessTest, MergesThePortsByFrameAndKeepsThePortsOrderWithinAFrame) {
    process_->setPorts({input("a:out", 1), input("b:out", 2), input("c:out", 3)}, {});
    server_->runPeriod({{"a:out", {{9, {0x90, 1, 1}}, {20, {0x90, 2, 1}}}},
                        {"b:out", {{3, {0x91, 1, 1}}, {9, {0x91, 2, 1}}, {9, {0x91, 3, 1}}}},
                        {"c:out", {{9, {0x92, 1, 1}}}}});
    const auto all = arrived();
    std::vector<std::vector<std::uint8_t>> bytes;
    for (const Arrived& one : all) {
        bytes.push_back(one.bytes);
    }
    EXPECT_THAT(bytes, ElementsAre(std::vector<std::uint8_t>{0x91, 1, 1}, std::vector<std::uint8_t>{0x90, 1, 1},
                                   std::vector<std::uint8_t>{0x91, 2, 1}, std::vector<std::uint8_t>{0x91, 3, 1},
                                   std::vector<std::uint8_t>{0x92, 1, 1}, std::vector<std::uint8_t>{0x90, 2, 1}));
}

TEST_F(JackProcessTest, KeepsTheOrderOfEventsWhoseTimesAreOutOfOrderOrBeyondThePeriod) {
    process_->setPorts({input("a:out", 1)}, {});
    server_->runPeriod({{"a:out", {{50, {0x90, 1, 1}}, {7, {0x90, 2, 1}}, {5'000, {0x90, 3, 1}}}}});
    EXPECT_THAT(arrived(), ElementsAre(Arrived{1, 1'178, {0x90, 1, 1}}, Arrived{1, 1'178, {0x90, 2, 1}},
                                       Arrived{1, 1'255, {0x90, 3, 1}}));
}

TEST_F(JackProcessTest, LeavesOutEventsWithoutBytes) {
    process_->setPorts({input("a:out", 1)}, {});
    server_->runPeriod({{"a:out", {{5, {}}, {6, {0x90, 1, 1}}, {7, {}}}}});
    EXPECT_THAT(arrived(), ElementsAre(Arrived{1, 1'134, {0x90, 1, 1}}));
    server_->runPeriod({{"a:out", {{5, {}}}}});
    EXPECT_EQ(rings_, 1);
}

TEST_F(JackProcessTest, CountsWhatNobodyHasReadInTime) {
    process_->setPorts({input("a:out", 1)}, {});
    const std::vector<FakeJackEvent> burst(1'000, {0, {0x90, 1, 1}});
    std::size_t sent = 0;
    while (process_->lostInputCount() == 0) {
        server_->runPeriod({{"a:out", burst}});
        sent += burst.size();
        ASSERT_LT(sent, 200'000U);
    }
    EXPECT_EQ(process_->lostInputCount(), sent - 69'905U) << "of 15 bytes each with their headers, in a megabyte";
    EXPECT_EQ(arrived().size(), 69'905U);
    server_->runPeriod({{"a:out", {{0, {0x80, 1, 1}}}}});
    EXPECT_EQ(arrived().size(), 1U) << "it goes on";
}

TEST_F(JackProcessTest, TakesEventsOfUpTo64Kilobytes) {
    process_->setPorts({input("a:out", 1)}, {});
    const FakeJackEvent longest{0, std::vector<std::uint8_t>(65'536, 1)};
    const FakeJackEvent tooLong{0, std::vector<std::uint8_t>(65'537, 1)};
    server_->runPeriod({{"a:out", {longest, tooLong}}});
    const auto all = arrived();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].bytes, longest.bytes);
    EXPECT_EQ(process_->lostInputCount(), 1U);
}

TEST_F(JackProcessTest, SendsAnEventAtItsFrameInThePeriodThatHasIt) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    write(*lane, {0x90, 60, 100}, 1'133);
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], IsEmpty()) << "its period has not come";
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], ElementsAre(FakeJackEvent{1'133, {0x90, 60, 100}}));
}

TEST_F(JackProcessTest, SendsEventsInThePeriodThatHasTheirFrameToItsFirstAndLastFrame) {
    const auto lane = std::make_shared<JackLane>();
    const auto later = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane), output("t:in", later)});
    write(*lane, {0x90, 1, 1}, 1'001);
    write(*lane, {0x90, 2, 1}, 1'127);
    write(*later, {0x90, 3, 1}, 1'128);
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"],
                ElementsAre(FakeJackEvent{1'001, {0x90, 1, 1}}, FakeJackEvent{1'127, {0x90, 2, 1}}));
    EXPECT_THAT(server_->sent["t:in"], IsEmpty());
    server_->runPeriod();
    EXPECT_THAT(server_->sent["t:in"], ElementsAre(FakeJackEvent{1'128, {0x90, 3, 1}}));
}

TEST_F(JackProcessTest, KeepsWhatWaitsThroughAPeriodWithoutFrames) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    write(*lane, {0x90, 60, 100});
    server_->frames = 0;
    server_->runPeriod();
    EXPECT_FALSE(process_->isUsingLatest());
    server_->frames = 1;
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], ElementsAre(FakeJackEvent{1'000, {0x90, 60, 100}}));
}

TEST_F(JackProcessTest, SendsWhatHasNoFrameOrIsLateAtOnce) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    write(*lane, {0x90, 60, 100});
    write(*lane, {0x80, 60, 0}, 900);
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"],
                ElementsAre(FakeJackEvent{1'000, {0x90, 60, 100}}, FakeJackEvent{1'000, {0x80, 60, 0}}));
}

TEST_F(JackProcessTest, LetsNothingOvertake) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    write(*lane, {0x90, 60, 100}, 1'140);
    write(*lane, {0x80, 60, 0});
    write(*lane, {0x90, 61, 100}, 1'135);
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], IsEmpty());
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"],
                ElementsAre(FakeJackEvent{1'140, {0x90, 60, 100}}, FakeJackEvent{1'140, {0x80, 60, 0}},
                            FakeJackEvent{1'140, {0x90, 61, 100}}));
}

TEST_F(JackProcessTest, SendsWhatDoesNotFitInTheNextPeriodAndHoldsUpNoOtherPort) {
    const auto lane = std::make_shared<JackLane>();
    const auto other = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane), output("t:in", other)});
    server_->bufferEvents = 2;
    for (std::uint8_t note = 1; note <= 5; ++note) {
        write(*lane, {0x90, note, 100});
    }
    write(*other, {0x90, 9, 100});
    server_->runPeriod();
    EXPECT_EQ(server_->sent["s:in"].size(), 2U);
    EXPECT_EQ(server_->sent["t:in"].size(), 1U);
    server_->runPeriod();
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"],
                ElementsAre(FakeJackEvent{1'000, {0x90, 1, 100}}, FakeJackEvent{1'000, {0x90, 2, 100}},
                            FakeJackEvent{1'128, {0x90, 3, 100}}, FakeJackEvent{1'128, {0x90, 4, 100}},
                            FakeJackEvent{1'256, {0x90, 5, 100}}));
}

TEST_F(JackProcessTest, DropsAnEventThatNoBufferTakesAndGoesOn) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    EXPECT_EQ(process_->maxEventSize(), 32'000U) << "before the first period";
    server_->maxEvent = 100;
    std::vector<std::uint8_t> sysEx(200, 1);
    sysEx.front() = 0xF0;
    sysEx.back() = 0xF7;
    write(*lane, sysEx);
    write(*lane, {0x90, 60, 100});
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], ElementsAre(FakeJackEvent{1'000, {0x90, 60, 100}}));
    EXPECT_EQ(process_->lostOutputCount(), 1U);
    EXPECT_EQ(process_->maxEventSize(), 100U) << "from now on such a message is refused when it is sent";
}

TEST_F(JackProcessTest, KeepsTheFramesWhereTheirClockWraps) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({input("a:out", 1)}, {output("s:in", lane)});
    server_->frame = 0xFFFF'FFC0U;
    server_->runPeriod({{"a:out", {{100, {0x90, 60, 100}}}}});
    const auto all = arrived();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].frame, 164U);
    write(*lane, all[0].bytes, all[0].frame);
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], ElementsAre(FakeJackEvent{164, {0x90, 60, 100}}));
}

TEST_F(JackProcessTest, SendsAtOnceWhatWasPlannedOnAClockThatHasBeenSetSince) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    write(*lane, {0x90, 60, 100}, 1'000 + 32'768);
    write(*lane, {0x80, 60, 0}, 1'000 + 32'767);
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], ElementsAre(FakeJackEvent{1'000, {0x90, 60, 100}}));
    EXPECT_FALSE(lane->isDrained());
}

TEST_F(JackProcessTest, GoesOnWithPeriodsOfAnotherLength) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    server_->frames = 1'024;
    write(*lane, {0x90, 60, 100}, 1'000 + 1'024 + 7);
    server_->runPeriod();
    server_->frames = 32;
    server_->runPeriod();
    EXPECT_THAT(server_->sent["s:in"], ElementsAre(FakeJackEvent{2'031, {0x90, 60, 100}}));
}

TEST_F(JackProcessTest, KeepsThePortsOfBeforeUntilAPeriodHasUsedTheNextOnes) {
    EXPECT_TRUE(process_->isUsingLatest());
    const JackInput a = input("a:out", 1);
    process_->setPorts({a}, {});
    EXPECT_FALSE(process_->isUsingLatest());
    server_->runPeriod();
    EXPECT_TRUE(process_->isUsingLatest());
    process_->setPorts({}, {});
    EXPECT_FALSE(process_->isUsingLatest());
    server_->runPeriod({{"a:out", {{0, {0x90, 1, 1}}}}});
    EXPECT_TRUE(process_->isUsingLatest());
    EXPECT_THAT(arrived(), IsEmpty());
    EXPECT_EQ(process_->periodCount(), 2U);
}

TEST_F(JackProcessTest, FreesThePortsOfBeforeOnceAPeriodHasUsedTheNextOnes) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({}, {output("s:in", lane)});
    server_->runPeriod();
    process_->setPorts({}, {});
    EXPECT_FALSE(process_->isUsingLatest());
    EXPECT_EQ(lane.use_count(), 2);
    server_->runPeriod();
    EXPECT_TRUE(process_->isUsingLatest());
    EXPECT_EQ(lane.use_count(), 1);
}

TEST_F(JackProcessTest, HasNoPortsAfterTheyAreCleared) {
    const auto lane = std::make_shared<JackLane>();
    process_->setPorts({input("a:out", 1)}, {output("s:in", lane)});
    process_->clearPorts();
    EXPECT_EQ(lane.use_count(), 1);
    EXPECT_TRUE(process_->isUsingLatest());
    write(*lane, {0x90, 60, 100});
    server_->runPeriod({{"a:out", {{0, {0x90, 1, 1}}}}});
    EXPECT_THAT(arrived(), IsEmpty());
    EXPECT_THAT(server_->sent["s:in"], IsEmpty());
}

TEST_F(JackProcessTest, SkipsAPortThatIsGone) {
    const auto lane = std::make_shared<JackLane>();
    const JackInput gone = input("a:out", 1);
    const JackOutput goneOutput = output("s:in", lane);
    process_->setPorts({gone, input("b:out", 2)}, {goneOutput});
    client_->unregisterPort(gone.port);
    client_->unregisterPort(goneOutput.port);
    write(*lane, {0x90, 60, 100});
    server_->runPeriod({{"b:out", {{0, {0x90, 1, 1}}}}});
    EXPECT_EQ(arrived().size(), 1U);
    EXPECT_FALSE(lane->isDrained());
}

/// Mainly for the thread sanitizer: three threads work at once while ports are added and removed.
TEST_F(JackProcessTest, LosesNothingWhilePortsAndEventsChangeOnOtherThreads) {
    constexpr std::size_t kCount = 50'000;
    const JackInput a = input("a:out", 1);
    const auto lane = std::make_shared<JackLane>();
    const JackOutput s = output("s:in", lane);
    process_->setPorts({a}, {s});
    std::atomic<bool> isRead = false;
    std::atomic<bool> isDone = false;
    std::thread realTime([&] {
        for (std::size_t sent = 0; sent < kCount; ++sent) {
            const auto number = static_cast<std::uint8_t>(sent % 128);
            server_->runPeriod({{"a:out", {{0, {0x90, number, 1}}}}});
        }
        while (!isRead || !lane->isDrained()) {
            server_->runPeriod();
        }
        isDone = true;
    });
    std::thread worker([&] {
        while (!isDone) {
            if (process_->isUsingLatest()) {
                process_->setPorts({a}, {s});
            }
            std::this_thread::yield();
        }
    });
    std::size_t seen = 0;
    bool isInOrder = true;
    while (seen < kCount && process_->lostInputCount() == 0) {
        for (const Arrived& one : arrived()) {
            isInOrder = isInOrder && one.bytes[1] == seen % 128;
            ++seen;
            while (lane->write(one.bytes, std::nullopt, 32'720) == -EAGAIN) {
                std::this_thread::yield();
            }
        }
    }
    isRead = true;
    realTime.join();
    worker.join();
    EXPECT_TRUE(isInOrder);
    EXPECT_EQ(process_->lostInputCount(), 0U);
    EXPECT_EQ(server_->sent["s:in"].size(), kCount);
}

}  // namespace
}  // namespace corvel::hosts
