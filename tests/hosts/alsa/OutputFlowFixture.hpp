#pragma once

#include "hosts/alsa/OutputFlow.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

using hosts::InputPool;
using hosts::OutputFlow;
using hosts::PortAddress;

inline constexpr PortAddress kSynth{128, 0};
inline constexpr PortAddress kDrums{129, 0};
inline constexpr PortAddress kHardware{20, 0};

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
        time_ += std::chrono::milliseconds(2);
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

}  // namespace corvel::tests
