// Receivers of every speed: nothing is lost, no receiver delays another, and what cannot be queued is a failure. On the
// real sequencer.

#include "tests/hosts/alsa/HostUnderTest.hpp"
#include "tests/support/ChildProcess.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;

constexpr MIDIStatus kTooMuchWaits = -11;
constexpr std::size_t kMaximumWaitingEvents = 65'536;
constexpr std::size_t kMaximumWaitingBytes = 4'194'304;
constexpr std::size_t kMaxPool = 2'000;

/// Expects note numbers that count up from 0 without a gap.
void expectNotesInOrder(const SequencerPeer& peer, std::size_t count) {
    ASSERT_EQ(peer.received().size(), count);
    for (std::size_t number = 0; number < count; ++number) {
        ASSERT_EQ(peer.received()[number].bytes, SequencerPeer::numberedNote(static_cast<unsigned>(number)))
            << "note " << number;
    }
}

class ALSAFlow : public testing::Test {
protected:
    ALSAFlow() { corvel_.start(); }

    /// Sends numbered notes in one task. Returns the first failure, and how many were accepted.
    std::pair<MIDIStatus, unsigned> sendNotes(MIDIObjectRef destination, unsigned count) {
        return corvel_.onQueue([&] {
            unsigned sent = 0;
            for (; sent < count; ++sent) {
                const MIDIStatus status = corvel_.send(destination, SequencerPeer::numberedNote(sent));
                if (status != kMIDISuccess) {
                    return std::pair(status, sent);
                }
            }
            return std::pair(kMIDISuccess, sent);
        });
    }

    HostUnderTest corvel_;
};

struct Pace {
    const char* name;
    milliseconds beforeEachRead;
    std::size_t pool;
};

class ALSAFlowOfBursts : public ALSAFlow, public testing::WithParamInterface<std::tuple<unsigned, Pace>> {};

TEST_P(ALSAFlowOfBursts, LoseNothing) {
    const auto& [count, pace] = GetParam();
    SequencerPeer peer("Receiver");
    peer.addPort("In", SequencerPeer::kDestination);
    peer.setInputPool(pace.pool);
    peer.setReadingPace(pace.beforeEachRead);
    EXPECT_EQ(sendNotes(corvel_.destination("Receiver In").ref, count), std::pair(kMIDISuccess, count));
    EXPECT_TRUE(peer.readUntilCount(count, milliseconds(60'000)));
    EXPECT_EQ(peer.overruns(), 0U);
    expectNotesInOrder(peer, count);
}

INSTANTIATE_TEST_SUITE_P(OfEveryPace, ALSAFlowOfBursts,
                         testing::Combine(testing::Values(1'000U, 10'000U, 30'000U),
                                          testing::Values(Pace{"Fast", milliseconds(0), 200},
                                                          Pace{"Sleeping20ms", milliseconds(20), 2'000},
                                                          Pace{"Sleeping50ms", milliseconds(50), 2'000})),
                         [](const auto& parameters) {
                             return std::get<1>(parameters.param).name + std::string("Of") +
                                    std::to_string(std::get<0>(parameters.param));
                         });

TEST_F(ALSAFlow, ASlowReceiverWithTheSmallPoolOfMostProgramsLosesNothing) {
    SequencerPeer peer("Receiver");
    peer.addPort("In", SequencerPeer::kDestination);
    peer.setReadingPace(milliseconds(20));
    ASSERT_EQ(sendNotes(corvel_.destination("Receiver In").ref, 2'000).first, kMIDISuccess);
    EXPECT_TRUE(peer.readUntilCount(2'000));
    EXPECT_EQ(peer.overruns(), 0U);
    expectNotesInOrder(peer, 2'000);
}

TEST_F(ALSAFlow, AStoppedReceiverHoldsUpNobodyElse) {
    SequencerPeer stopped("Stopped");
    stopped.addPort("In", SequencerPeer::kDestination);
    SequencerPeer running("Running");
    running.addPort("In", SequencerPeer::kDestination);
    const MIDIObjectRef runningRef = corvel_.destination("Running In").ref;
    ASSERT_EQ(sendNotes(corvel_.destination("Stopped In").ref, 30'000).first, kMIDISuccess);
    ASSERT_EQ(sendNotes(runningRef, 10'000).first, kMIDISuccess);
    ASSERT_TRUE(running.readUntilCount(10'000));
    expectNotesInOrder(running, 10'000);
    EXPECT_TRUE(stopped.received().empty()) << "it has not read so far";
    ASSERT_TRUE(stopped.readUntilCount(30'000));
    EXPECT_EQ(stopped.overruns(), 0U);
    expectNotesInOrder(stopped, 30'000);
}

TEST_F(ALSAFlow, PortsOfOneProgramShareItsRoom) {
    SequencerPeer peer("Many Ports");
    constexpr unsigned kPorts = 8;
    constexpr unsigned kCount = 1'000;
    std::vector<SequencerAddress> ports;
    for (unsigned port = 0; port < kPorts; ++port) {
        ports.push_back(peer.addPort("In " + std::to_string(port), SequencerPeer::kDestination));
    }
    for (unsigned port = 0; port < kPorts; ++port) {
        ASSERT_EQ(sendNotes(corvel_.destination("Many Ports In " + std::to_string(port)).ref, kCount).first, 0);
    }
    ASSERT_TRUE(peer.readUntilCount(std::size_t{kPorts} * kCount));
    EXPECT_EQ(peer.overruns(), 0U);
    for (const SequencerAddress& port : ports) {
        const Bytes bytes = peer.receivedBytes(port);
        ASSERT_EQ(bytes.size(), std::size_t{3} * kCount);
        EXPECT_EQ(Bytes(bytes.end() - 3, bytes.end()), SequencerPeer::numberedNote(kCount - 1));
    }
}

TEST_F(ALSAFlow, PastTheBoundOfEventsASendFailsAndEverythingAcceptedArrives) {
    SequencerPeer stopped("Stopped");
    stopped.addPort("In", SequencerPeer::kDestination);
    const auto [status, accepted] = sendNotes(corvel_.destination("Stopped In").ref, 100'000);
    EXPECT_EQ(status, kTooMuchWaits);
    EXPECT_GE(accepted, kMaximumWaitingEvents);
    EXPECT_LE(accepted, kMaximumWaitingEvents + kMaxPool);
    ASSERT_TRUE(stopped.readUntilCount(accepted, milliseconds(60'000)));
    EXPECT_EQ(stopped.overruns(), 0U);
    expectNotesInOrder(stopped, accepted);
}

TEST_F(ALSAFlow, PastTheBoundOfBytesASendFails) {
    SequencerPeer stopped("Stopped");
    stopped.addPort("In", SequencerPeer::kDestination);
    const MIDIObjectRef destination = corvel_.destination("Stopped In").ref;
    Bytes message(1'024, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    const auto [status, accepted] = corvel_.onQueue([&] {
        std::size_t sent = 0;
        MIDIStatus last = 0;
        for (; last == 0 && sent < 10'000; ++sent) {
            last = corvel_.send(destination, message);
        }
        return std::pair(last, sent - 1);
    });
    EXPECT_EQ(status, kTooMuchWaits);
    EXPECT_GE(accepted, kMaximumWaitingBytes / 1'024);
    EXPECT_LE(accepted, kMaximumWaitingBytes / 1'024 + kMaxPool / 37);
    ASSERT_TRUE(stopped.readUntilBytes(accepted * 1'024, milliseconds(60'000)));
    EXPECT_EQ(stopped.receivedBytes().size(), accepted * 1'024);
}

TEST_F(ALSAFlow, AReceiverThatDiesWithABacklogHoldsUpNobodyAndItsSuccessorGetsNothingOfIt) {
    std::optional<ChildProcess> dump(std::in_place, std::vector<std::string>{"aseqdump"});
    std::vector<std::string> names;
    ASSERT_TRUE(corvel_.waitUntil([&] { return !(names = corvel_.destinationNames("aseqdump")).empty(); }));
    const MIDIObjectRef doomed = corvel_.destination(names.front()).ref;
    const SequencerAddress address = SequencerPeer("Observer").find("aseqdump", "aseqdump");
    dump->signal(SIGSTOP);
    ASSERT_EQ(sendNotes(doomed, 30'000).first, kMIDISuccess);
    const auto release = corvel_.holdQueue();
    dump->signal(SIGKILL);
    ASSERT_EQ(dump->wait(kDeadline), -SIGKILL);

    const auto successors = startUntilClient("Successor", address.client);
    SequencerPeer& successor = *successors.back();
    successor.addPort("In", SequencerPeer::kDestination);
    release();
    ASSERT_EQ(sendNotes(corvel_.destination("Successor In").ref, 1'000).first, kMIDISuccess);
    ASSERT_TRUE(successor.readUntilCount(1'000));
    expectNotesInOrder(successor, 1'000);
    EXPECT_LT(corvel_.send(doomed, {0x90, 1, 1}), 0);
}

}  // namespace

}  // namespace corvel::tests
