#include "hosts/alsa/OutputFlow.hpp"

#include "tests/support/SequencerPeer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace corvel::tests {

namespace {

using hosts::EventSink;
using hosts::InputRoom;
using hosts::OutputFlow;
using hosts::PortAddress;
using testing::IsEmpty;

constexpr PortAddress kSynth{128, 0};
constexpr PortAddress kDrums{129, 0};
constexpr PortAddress kHardware{20, 0};

/// Programs whose pools fill as events come and empty when a test lets them read. Throws everything away when one event
/// more comes than there is room for, as the sequencer does.
class FakeSink : public EventSink {
public:
    std::map<int, int> poolSizes{{128, 200}, {129, 200}};
    std::map<int, int> usedCells;
    std::map<int, bool> overran;
    std::vector<std::pair<PortAddress, Bytes>> sent;
    std::map<PortAddress, int> failures;
    int questions = 0;
    std::chrono::steady_clock::time_point time{};

    int sendDirectly(const PortAddress& destination, snd_seq_event_t& event) override {
        if (const auto failure = failures.find(destination); failure != failures.end()) {
            return failure->second;
        }
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
        return 0;
    }

    std::optional<InputRoom> inputRoom(int client) override {
        ++questions;
        const auto pool = poolSizes.find(client);
        if (pool == poolSizes.end()) {
            return std::nullopt;
        }
        return InputRoom{pool->second, pool->second - usedCells[client]};
    }

    [[nodiscard]] std::chrono::steady_clock::time_point now() const override { return time; }

    /// The program reads all that waits for it, and a moment passes.
    void read(int client) {
        usedCells[client] = 0;
        time += std::chrono::milliseconds(2);
    }
};

class OutputFlowTest : public testing::Test {
protected:
    MIDIStatus sendNote(const PortAddress& destination, unsigned number) {
        return flow_.send(destination, SequencerPeer::numberedNote(number));
    }

    void sendNotes(const PortAddress& destination, unsigned count) {
        for (unsigned number = 0; number < count; ++number) {
            ASSERT_EQ(sendNote(destination, number), 0);
        }
    }

    std::size_t countSentTo(const PortAddress& destination) const {
        return static_cast<std::size_t>(
            std::ranges::count(sink_.sent, destination, &std::pair<PortAddress, Bytes>::first));
    }

    void expectNotesInOrder(const PortAddress& destination, unsigned count) const {
        unsigned number = 0;
        for (const auto& [address, bytes] : sink_.sent) {
            if (address == destination) {
                const Bytes note = SequencerPeer::numberedNote(number++);
                ASSERT_EQ(bytes, Bytes(note.begin() + 1, note.end()));
            }
        }
        EXPECT_EQ(number, count);
    }

    /// Sends so many notes before and after a time in which others fill the receiver's pool all but one place.
    void expectNoOverrunWhereOthersLeaveOnePlace(unsigned count, std::chrono::milliseconds time) {
        sendNotes(kSynth, count);
        sink_.usedCells[kSynth.client] = sink_.poolSizes[kSynth.client] - 1;
        sink_.time += time;
        sendNotes(kSynth, count);
        EXPECT_FALSE(sink_.overran[kSynth.client]);
        EXPECT_TRUE(flow_.isWaiting());
    }

    FakeSink sink_;
    OutputFlow flow_{sink_};
};

TEST_F(OutputFlowTest, SendsAtOnceWhatTheReceiverHasRoomFor) {
    sendNotes(kSynth, 100);
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kSynth, 100);
}

TEST_F(OutputFlowTest, NeverOverrunsAReceiverThatDoesNotRead) {
    sendNotes(kSynth, 1'000);
    EXPECT_TRUE(flow_.isWaiting());
    for (int attempt = 0; attempt < 10; ++attempt) {
        sink_.time += std::chrono::milliseconds(5);
        flow_.sendWaiting();
    }
    EXPECT_FALSE(sink_.overran[128]);
    EXPECT_LT(countSentTo(kSynth), 200U) << "a little stays free for others who send there";
    EXPECT_GT(countSentTo(kSynth), 100U);
}

TEST_F(OutputFlowTest, SendsWhatWaitsInOrderAsTheReceiverReads) {
    sendNotes(kSynth, 1'000);
    for (int attempt = 0; attempt < 100 && flow_.isWaiting(); ++attempt) {
        sink_.read(128);
        flow_.sendWaiting();
    }
    EXPECT_FALSE(flow_.isWaiting());
    EXPECT_FALSE(sink_.overran[128]);
    expectNotesInOrder(kSynth, 1'000);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhenRoomComesBackBeforeTheNextSend) {
    sendNotes(kSynth, 300);
    sink_.read(128);
    ASSERT_EQ(sendNote(kSynth, 300), 0);
    while (flow_.isWaiting()) {
        sink_.read(128);
        flow_.sendWaiting();
    }
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
        ASSERT_EQ(flow_.send({128, static_cast<int>(number % 4)}, SequencerPeer::numberedNote(number)), 0);
    }
    EXPECT_FALSE(sink_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, CountsTheCellsOfExclusiveData) {
    Bytes message(1'000, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    for (int count = 0; count < 20; ++count) {
        ASSERT_EQ(flow_.send(kSynth, message), 0);
    }
    EXPECT_FALSE(sink_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
    for (int attempt = 0; attempt < 100 && flow_.isWaiting(); ++attempt) {
        sink_.read(128);
        flow_.sendWaiting();
    }
    Bytes all;
    for (const auto& [address, bytes] : sink_.sent) {
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    EXPECT_EQ(all.size(), 20'000U);
    EXPECT_FALSE(sink_.overran[128]);
}

TEST_F(OutputFlowTest, SendsAnEventThatOnlyAnEmptyPoolCanTake) {
    sink_.poolSizes[128] = 37;
    Bytes message(1'000, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    ASSERT_EQ(flow_.send(kSynth, message), 0);
    EXPECT_EQ(countSentTo(kSynth), 1U);
    EXPECT_FALSE(sink_.overran[128]);
}

TEST_F(OutputFlowTest, AsksAgainAfterAWhileBecauseOthersSendThereToo) {
    expectNoOverrunWhereOthersLeaveOnePlace(10, std::chrono::milliseconds(2));
}

TEST_F(OutputFlowTest, AsksAgainLaterWhereItSendsLittle) {
    expectNoOverrunWhereOthersLeaveOnePlace(2, std::chrono::milliseconds(11));
    EXPECT_EQ(sink_.questions, 3);
}

TEST_F(OutputFlowTest, LeavesRoomForWhatOthersSendBeforeItAsksAgain) {
    sendNotes(kSynth, 10);
    sink_.usedCells[128] += 20;
    sink_.time += std::chrono::milliseconds(9);
    sendNotes(kSynth, 300);
    EXPECT_FALSE(sink_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, DoesNotAskForEveryEvent) {
    sendNotes(kSynth, 100);
    EXPECT_LT(sink_.questions, 10);
}

TEST_F(OutputFlowTest, DoesNotAskForEveryNoteOfAPerformance) {
    for (unsigned number = 0; number < 16; ++number) {
        ASSERT_EQ(sendNote(kSynth, number), 0);
        sink_.read(128);
    }
    EXPECT_LT(sink_.questions, 8);
}

TEST_F(OutputFlowTest, KeepsWhatTheSequencerHasNoPlaceForAheadOfWhatFollows) {
    sink_.failures[kSynth] = -EAGAIN;
    ASSERT_EQ(sendNote(kSynth, 0), 0);
    sink_.failures.clear();
    ASSERT_EQ(sendNote(kSynth, 1), 0);
    EXPECT_EQ(countSentTo(kSynth), 0U);
    flow_.sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kSynth, 2);
}

TEST_F(OutputFlowTest, DoesNotAskForEveryEventToTheKernelsClients) {
    sendNotes(kHardware, 5'000);
    EXPECT_LT(sink_.questions, 10);
}

TEST_F(OutputFlowTest, PastTheBoundOfEventsASendFailsAndOthersGoOn) {
    sink_.usedCells[128] = 200;
    for (unsigned number = 0; number < 65'536; ++number) {
        ASSERT_EQ(sendNote(kSynth, number), 0);
    }
    EXPECT_EQ(sendNote(kSynth, 0), -EAGAIN);
    EXPECT_EQ(sendNote(kDrums, 0), 0);
    sink_.read(128);
    flow_.sendWaiting();
    EXPECT_EQ(sendNote(kSynth, 65'536), 0) << "there is room again";
}

TEST_F(OutputFlowTest, PastTheBoundOfBytesASendFails) {
    sink_.usedCells[128] = 200;
    Bytes message(1'024, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    for (int count = 0; count < 4'096; ++count) {
        ASSERT_EQ(flow_.send(kSynth, message), 0);
    }
    EXPECT_EQ(flow_.send(kSynth, message), -EAGAIN);
}

TEST_F(OutputFlowTest, GivesTheSequencersFailure) {
    sink_.failures[kSynth] = -ENODEV;
    EXPECT_EQ(sendNote(kSynth, 0), -ENODEV);
    EXPECT_FALSE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, KeepsWhatTheSequencerHasNoRoomForAfterAll) {
    sink_.failures[kSynth] = -EAGAIN;
    EXPECT_EQ(sendNote(kSynth, 0), 0);
    EXPECT_TRUE(flow_.isWaiting());
    sink_.failures.clear();
    flow_.sendWaiting();
    expectNotesInOrder(kSynth, 1);
    EXPECT_FALSE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, CountsTheFailuresOfWhatWaited) {
    sink_.usedCells[128] = 200;
    sendNotes(kSynth, 5);
    sink_.failures[kSynth] = -ENOENT;
    sink_.read(128);
    flow_.sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    EXPECT_EQ(flow_.lateFailureCount(), 5U);
}

TEST_F(OutputFlowTest, DropsWhatWaitsForAPortThatIsGone) {
    sink_.usedCells[128] = 200;
    sendNotes(kSynth, 5);
    flow_.forget(kSynth);
    EXPECT_FALSE(flow_.isWaiting());
    sink_.read(128);
    flow_.sendWaiting();
    EXPECT_THAT(sink_.sent, IsEmpty());
    EXPECT_EQ(flow_.lateFailureCount(), 0U);
}

}  // namespace

}  // namespace corvel::tests
