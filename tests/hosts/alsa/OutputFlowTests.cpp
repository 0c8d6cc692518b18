#include "hosts/alsa/OutputFlow.hpp"

#include "tests/support/SequencerPeer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

namespace {

using namespace std::chrono_literals;
using hosts::InputPool;
using hosts::OutputFlow;
using hosts::PortAddress;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr PortAddress kSynth{128, 0};
constexpr PortAddress kDrums{129, 0};
constexpr PortAddress kHardware{20, 0};

/// Programs whose pools fill with events and become empty when a test reads. If one event more arrives than a pool has
/// room for, it drops all of them, as the sequencer does.
class FakeSequencer : public hosts::SequencerOutput {
public:
    struct Failure {
        int status = 0;
        /// Number of events that the destination still accepts before it fails.
        unsigned after = 0;
    };

    std::map<int, int> poolSizes{{128, 200}, {129, 200}};
    std::map<int, int> usedCells;
    std::map<int, bool> overran;
    std::map<PortAddress, Failure> failures;
    std::vector<std::pair<PortAddress, Bytes>> sent;
    /// The number of events in each call of `send`.
    std::vector<std::size_t> batches;
    /// All calls so far: "!" for a send, "?" for a query of room.
    std::string calls;

    std::size_t send(std::span<snd_seq_event_t> events, int& status) override {
        batches.push_back(events.size());
        calls += '!';
        for (std::size_t index = 0; index < events.size(); ++index) {
            const PortAddress destination{events[index].dest.client, events[index].dest.port};
            const auto failure = failures.find(destination);
            if (failure != failures.end() && failure->second.after == 0) {
                status = failure->second.status;
                return index;
            }
            if (failure != failures.end()) {
                --failure->second.after;
            }
            take(destination, events[index]);
        }
        return events.size();
    }

    std::optional<InputPool> inputPool(int client) override {
        calls += '?';
        const auto pool = poolSizes.find(client);
        if (pool == poolSizes.end()) {
            return std::nullopt;
        }
        return InputPool{pool->second, pool->second - usedCells[client]};
    }

    [[nodiscard]] std::ptrdiff_t questionCount() const { return std::ranges::count(calls, '?'); }

private:
    void take(const PortAddress& destination, const snd_seq_event_t& event) {
        Bytes bytes;
        int cells = 1;
        if (event.type == SND_SEQ_EVENT_SYSEX) {
            const auto* data = static_cast<const std::uint8_t*>(event.data.ext.ptr);
            bytes.assign(data, data + event.data.ext.len);
            cells += static_cast<int>((event.data.ext.len + 27) / 28);
        } else {
            bytes = {event.data.note.note, event.data.note.velocity};
        }
        if (const auto pool = poolSizes.find(destination.client); pool != poolSizes.end()) {
            int& used = usedCells[destination.client];
            used += cells;
            overran[destination.client] |= used > pool->second;
        }
        sent.emplace_back(destination, bytes);
    }
};

class OutputFlowTest : public testing::Test {
protected:
    /// Adds a packet to the next flush. Returns a reference to its status, which stays valid.
    MIDIStatus& add(const PortAddress& destination, Bytes packet) {
        Added& added = added_.emplace_back(Added{.packet = std::move(packet)});
        flow_.send(destination, added.packet, added.status, time_);
        return added.status;
    }

    MIDIStatus& addNote(const PortAddress& destination, unsigned number) {
        return add(destination, SequencerPeer::numberedNote(number));
    }

    /// Overwrites the packets' memory afterwards.
    void flush() {
        flow_.flush(time_);
        for (Added& added : added_) {
            std::ranges::fill(added.packet, std::uint8_t{0x55});
        }
    }

    MIDIStatus send(const PortAddress& destination, Bytes packet) {
        const MIDIStatus& status = add(destination, std::move(packet));
        flush();
        const MIDIStatus result = status;
        added_.clear();
        return result;
    }

    MIDIStatus sendNote(const PortAddress& destination, unsigned number) {
        return send(destination, SequencerPeer::numberedNote(number));
    }

    void sendNotes(const PortAddress& destination, unsigned count) {
        for (unsigned number = 0; number < count; ++number) {
            ASSERT_EQ(sendNote(destination, number), 0);
        }
    }

    void sendWaiting() { flow_.sendWaiting(time_); }

    /// The program reads all its waiting events, and a moment passes.
    void read(int client) {
        sequencer_.usedCells[client] = 0;
        time_ += 2ms;
    }

    /// The program reads until nothing is waiting.
    void readAll(int client) {
        for (int attempt = 0; attempt < 1'000 && flow_.isWaiting(); ++attempt) {
            read(client);
            sendWaiting();
        }
        EXPECT_FALSE(flow_.isWaiting());
        EXPECT_FALSE(sequencer_.overran[client]);
    }

    std::size_t countSentTo(const PortAddress& destination) const {
        return static_cast<std::size_t>(
            std::ranges::count(sequencer_.sent, destination, &std::pair<PortAddress, Bytes>::first));
    }

    void expectNotesInOrder(const PortAddress& destination, unsigned count) const {
        unsigned number = 0;
        for (const auto& [address, bytes] : sequencer_.sent) {
            if (address == destination) {
                const Bytes note = SequencerPeer::numberedNote(number++);
                ASSERT_EQ(bytes, Bytes(note.begin() + 1, note.end()));
            }
        }
        EXPECT_EQ(number, count);
    }

    [[nodiscard]] Bytes bytesSent() const {
        Bytes all;
        for (const auto& [address, bytes] : sequencer_.sent) {
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        return all;
    }

    /// A SysEx message of this size with bytes that count up.
    [[nodiscard]] static Bytes sysEx(std::size_t size) {
        Bytes message(size);
        for (std::size_t index = 0; index < size; ++index) {
            message[index] = static_cast<std::uint8_t>(index % 127);
        }
        message.front() = 0xF0;
        message.back() = 0xF7;
        return message;
    }

    /// Sends this number of notes before and after a time in which other programs fill the receiver's pool except for
    /// one place.
    void expectNoOverrunWhereOthersLeaveOnePlace(unsigned count, std::chrono::milliseconds time) {
        sendNotes(kSynth, count);
        sequencer_.usedCells[kSynth.client] = sequencer_.poolSizes[kSynth.client] - 1;
        time_ += time;
        sendNotes(kSynth, count);
        EXPECT_FALSE(sequencer_.overran[kSynth.client]);
        EXPECT_TRUE(flow_.isWaiting());
    }

    struct Added {
        Bytes packet;
        MIDIStatus status = -1;
    };

    FakeSequencer sequencer_;
    OutputFlow flow_{sequencer_};
    OutputFlow::SteadyTime time_;
    std::deque<Added> added_;
};

// Batches

TEST_F(OutputFlowTest, SendsWhatWasAddedInOneCall) {
    for (unsigned number = 0; number < 3; ++number) {
        addNote(kSynth, number);
        addNote(kDrums, number);
        addNote(kHardware, number);
    }
    EXPECT_THAT(sequencer_.batches, IsEmpty());
    flush();
    EXPECT_THAT(sequencer_.batches, ElementsAre(9));
    for (const PortAddress& destination : {kSynth, kDrums, kHardware}) {
        expectNotesInOrder(destination, 3);
    }
    EXPECT_FALSE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, CutsABatchAt64Events) {
    for (unsigned number = 0; number < 150; ++number) {
        addNote(kHardware, number);
    }
    flush();
    EXPECT_THAT(sequencer_.batches, ElementsAre(64, 64, 22));
    expectNotesInOrder(kHardware, 150);
}

TEST_F(OutputFlowTest, GivesAFailureToItsPacketAloneAndSendsTheRest) {
    sequencer_.failures[kDrums] = {-ENODEV};
    const MIDIStatus& before = addNote(kSynth, 0);
    const MIDIStatus& failing = add(kDrums, {0x99, 36, 100, 0x99, 38, 100});
    const MIDIStatus& after = addNote(kSynth, 1);
    const MIDIStatus& last = addNote(kHardware, 0);
    flush();
    EXPECT_EQ(before, 0);
    EXPECT_EQ(failing, -ENODEV);
    EXPECT_EQ(after, 0);
    EXPECT_EQ(last, 0);
    expectNotesInOrder(kSynth, 2);
    expectNotesInOrder(kHardware, 1);
    EXPECT_FALSE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, GivesTheFirstFailureOfAPacket) {
    sequencer_.failures[kSynth] = {-ENODEV, 1};
    EXPECT_EQ(send(kSynth, {0x90, 60, 100, 0x90, 62, 100, 0x90, 64, 100}), -ENODEV);
    EXPECT_EQ(countSentTo(kSynth), 1U);
}

TEST_F(OutputFlowTest, KeepsTheOrderAndHoldsUpNoOtherWhenABatchMeetsAFullDestination) {
    sequencer_.failures[kSynth] = {-EAGAIN, 2};
    for (unsigned number = 0; number < 10; ++number) {
        EXPECT_EQ(addNote(kSynth, number), 0);
        EXPECT_EQ(addNote(kDrums, number), 0);
    }
    flush();
    EXPECT_EQ(countSentTo(kSynth), 2U);
    expectNotesInOrder(kDrums, 10);
    sequencer_.failures.clear();
    EXPECT_EQ(sendNote(kSynth, 10), 0);
    EXPECT_EQ(countSentTo(kSynth), 2U) << "behind what waits";
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kSynth, 11);
}

TEST_F(OutputFlowTest, PutsWhatABatchCouldNotSendAheadOfWhatWaitsAlready) {
    // There is room for five, the others are queued at once; for three of the five it turns out that there is no room.
    sequencer_.usedCells[128] = 200 - 25 - 5;
    sequencer_.failures[kSynth] = {-EAGAIN, 2};
    for (unsigned number = 0; number < 10; ++number) {
        addNote(kSynth, number);
    }
    EXPECT_TRUE(flow_.isWaiting());
    flush();
    EXPECT_EQ(countSentTo(kSynth), 2U);
    sequencer_.failures.clear();
    readAll(128);
    expectNotesInOrder(kSynth, 10);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhereAFullBatchMeetsAFullDestination) {
    sequencer_.failures[kHardware] = {-EAGAIN, 60};
    for (unsigned number = 0; number < 64; ++number) {
        addNote(kHardware, number);
    }
    addNote(kHardware, 64);
    sequencer_.failures.clear();
    addNote(kHardware, 65);
    flush();
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 66);
}

// Room

TEST_F(OutputFlowTest, SendsAtOnceWhatTheReceiverHasRoomFor) {
    sendNotes(kSynth, 100);
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kSynth, 100);
}

TEST_F(OutputFlowTest, NeverOverrunsAReceiverThatDoesNotRead) {
    sendNotes(kSynth, 1'000);
    EXPECT_TRUE(flow_.isWaiting());
    for (int attempt = 0; attempt < 10; ++attempt) {
        time_ += 5ms;
        sendWaiting();
    }
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_LT(countSentTo(kSynth), 200U) << "a little stays free for others who send there";
    EXPECT_GT(countSentTo(kSynth), 100U);
}

TEST_F(OutputFlowTest, CountsTheRoomOfWhatIsAddedAndNotYetSent) {
    sequencer_.usedCells[128] = 150;
    for (unsigned number = 0; number < 60; ++number) {
        addNote(kSynth, number);
    }
    flush();
    EXPECT_EQ(countSentTo(kSynth), 25U) << "50 are free, and an eighth of the 200 stays so";
    EXPECT_FALSE(sequencer_.overran[128]);
}

TEST_F(OutputFlowTest, SendsWhatWaitsInOrderAsTheReceiverReads) {
    sendNotes(kSynth, 1'000);
    readAll(128);
    expectNotesInOrder(kSynth, 1'000);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhenRoomComesBackBeforeTheNextSend) {
    sendNotes(kSynth, 300);
    read(128);
    ASSERT_EQ(sendNote(kSynth, 300), 0);
    readAll(128);
    expectNotesInOrder(kSynth, 301);
}

TEST_F(OutputFlowTest, HoldsUpNoOtherDestination) {
    sendNotes(kSynth, 1'000);
    sendNotes(kDrums, 100);
    EXPECT_EQ(countSentTo(kDrums), 100U);
    sendNotes(kHardware, 5'000);
    EXPECT_EQ(countSentTo(kHardware), 5'000U) << "the kernel's clients have no such pool";
}

TEST_F(OutputFlowTest, CountsThePortsOfOneProgramTogether) {
    for (unsigned number = 0; number < 400; ++number) {
        ASSERT_EQ(sendNote({128, static_cast<int>(number % 4)}, number), 0);
    }
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, CountsTheCellsOfSysEx) {
    for (int count = 0; count < 20; ++count) {
        ASSERT_EQ(send(kSynth, sysEx(1'000)), 0);
    }
    EXPECT_TRUE(flow_.isWaiting());
    readAll(128);
    EXPECT_EQ(bytesSent().size(), 20'000U);
}

TEST_F(OutputFlowTest, SendsAnEventThatOnlyAnEmptyPoolCanTake) {
    sequencer_.poolSizes[128] = 37;
    ASSERT_EQ(send(kSynth, sysEx(1'000)), 0);
    EXPECT_EQ(countSentTo(kSynth), 1U);
    EXPECT_FALSE(sequencer_.overran[128]);
}

// Queries of room

TEST_F(OutputFlowTest, AsksBehindANoteThatComesAlone) {
    sendNotes(kSynth, 1);
    sequencer_.calls.clear();
    time_ += 1s;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.calls, "!?");
    time_ += 1s;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.calls, "!?!?");
}

TEST_F(OutputFlowTest, AsksAheadOfTheSecondNoteAfterAPause) {
    sendNotes(kSynth, 1);
    sequencer_.calls.clear();
    time_ += 1s;
    addNote(kSynth, 0);
    addNote(kSynth, 1);
    flush();
    EXPECT_EQ(sequencer_.calls, "?!");
}

TEST_F(OutputFlowTest, AsksAgainAfterAWhileBecauseOthersSendThereToo) {
    expectNoOverrunWhereOthersLeaveOnePlace(10, 2ms);
}

TEST_F(OutputFlowTest, AsksAgainLaterWhereItSendsLittle) {
    expectNoOverrunWhereOthersLeaveOnePlace(2, 11ms);
    EXPECT_EQ(sequencer_.questionCount(), 3);
}

TEST_F(OutputFlowTest, LeavesRoomForWhatOthersSendBeforeItAsksAgain) {
    sendNotes(kSynth, 10);
    sequencer_.usedCells[128] += 20;
    time_ += 9ms;
    sendNotes(kSynth, 300);
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, DoesNotAskForEveryEvent) {
    sendNotes(kSynth, 100);
    EXPECT_EQ(sequencer_.questionCount(), 1);
    sendNotes(kHardware, 5'000);
    EXPECT_EQ(sequencer_.questionCount(), 2);
}

TEST_F(OutputFlowTest, DoesNotAskForEveryNoteOfAPerformance) {
    for (unsigned number = 0; number < 16; ++number) {
        ASSERT_EQ(sendNote(kSynth, number), 0);
        read(128);
    }
    EXPECT_LT(sequencer_.questionCount(), 8);
}

// Queued events

TEST_F(OutputFlowTest, KeepsBytesOfItsOwnOfSysExThatWaits) {
    sequencer_.usedCells[128] = 200;
    ASSERT_EQ(send(kSynth, sysEx(2'500)), 0);
    sequencer_.failures[kHardware] = {-EAGAIN};
    ASSERT_EQ(send(kHardware, sysEx(10)), 0);
    EXPECT_THAT(sequencer_.sent, IsEmpty());
    sequencer_.failures.clear();
    sendWaiting();
    EXPECT_EQ(bytesSent(), sysEx(10));
    sequencer_.sent.clear();
    readAll(128);
    EXPECT_EQ(bytesSent(), sysEx(2'500));
}

TEST_F(OutputFlowTest, SendsAtMostSome2000EventsOfABacklogATurn) {
    sequencer_.failures[kHardware] = {-EAGAIN};
    sendNotes(kHardware, 10'000);
    sequencer_.failures.clear();
    sendWaiting();
    EXPECT_GE(countSentTo(kHardware), 2'000U);
    EXPECT_LT(countSentTo(kHardware), 2'100U);
    for (int turn = 0; turn < 4; ++turn) {
        sendWaiting();
    }
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 10'000);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhenWhatWaitsMeetsAFullDestinationAgain) {
    sequencer_.failures[kHardware] = {-EAGAIN};
    sendNotes(kHardware, 100);
    sequencer_.failures[kHardware].after = 70;
    sendWaiting();
    EXPECT_EQ(countSentTo(kHardware), 70U);
    sequencer_.failures.clear();
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 100);
}

TEST_F(OutputFlowTest, PastTheBoundOfEventsASendFailsAndOthersGoOn) {
    sequencer_.usedCells[128] = 200;
    for (unsigned number = 0; number < 65'536; ++number) {
        ASSERT_EQ(sendNote(kSynth, number), 0);
    }
    EXPECT_EQ(sendNote(kSynth, 0), -EAGAIN);
    EXPECT_EQ(sendNote(kDrums, 0), 0);
    read(128);
    sendWaiting();
    EXPECT_EQ(sendNote(kSynth, 65'536), 0) << "there is room again";
}

TEST_F(OutputFlowTest, PastTheBoundOfBytesASendFails) {
    sequencer_.usedCells[128] = 200;
    for (int count = 0; count < 4'096; ++count) {
        ASSERT_EQ(send(kSynth, sysEx(1'024)), 0);
    }
    EXPECT_EQ(send(kSynth, sysEx(1'024)), -EAGAIN);
}

TEST_F(OutputFlowTest, CountsTheFailuresOfWhatWaitedAndSendsTheRest) {
    sequencer_.failures[kHardware] = {-EAGAIN};
    sendNotes(kHardware, 5);
    sequencer_.failures[kHardware] = {-ENOENT, 3};
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 3);
    EXPECT_EQ(flow_.lateFailureCount(), 2U);
}

TEST_F(OutputFlowTest, DropsWhatWaitsForAPortThatIsGone) {
    sequencer_.usedCells[128] = 200;
    sendNotes(kSynth, 5);
    flow_.forget(kSynth);
    EXPECT_FALSE(flow_.isWaiting());
    read(128);
    sendWaiting();
    EXPECT_THAT(sequencer_.sent, IsEmpty());
    EXPECT_EQ(flow_.lateFailureCount(), 0U);
}

}  // namespace

}  // namespace corvel::tests
