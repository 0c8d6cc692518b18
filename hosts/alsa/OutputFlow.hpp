#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/messages/MIDIBytes.hpp"
#include "hosts/alsa/InputPool.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <alsa/asoundlib.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace corvel::hosts {

/// The operations of the sequencer that the output flow needs.
class SequencerOutput {
public:
    virtual ~SequencerOutput() = default;

    /// Sends the events, in order, to their destinations, at once and without waiting. Returns how many were sent; if
    /// not all were, `status` is the negative errno of the next one.
    [[nodiscard]] virtual std::size_t send(std::span<snd_seq_event_t> events, int& status) = 0;

    /// The room of a client; no value for unknown clients and for those without a pool (the kernel's).
    [[nodiscard]] virtual std::optional<InputPool> inputPool(int client) = 0;
};

/// Sends packets without overrunning a receiving program. If one event more arrives than a client has room for, the
/// sequencer drops all of the client's waiting events and reports nothing. For hardware ports the sequencer does not
/// give the fill level of the buffer.
///
/// What does not fit is queued here in order, for each destination separately, and delays no other destination. One
/// thread at a time.
class OutputFlow {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// Maximum that may wait for one destination. Beyond it the next packet is refused; a packet is never split.
    static constexpr std::size_t kMaxWaitingEvents = 65'536;
    static constexpr std::size_t kMaxWaitingBytes = std::size_t{4} << 20U;

    explicit OutputFlow(SequencerOutput& output);

    /// Adds a packet to those that the next `flush` sends, and flushes if no more fit together. `packet` and `status`
    /// must stay valid until then. `status` becomes the first failure of the packet, or -EAGAIN, with nothing sent, if
    /// too much is waiting for the destination.
    void send(const PortAddress& destination, std::span<const std::uint8_t> packet, MIDIStatus& status, SteadyTime now);

    /// Sends what was added, as far as there is room; queues the rest for `sendWaiting`.
    void flush(SteadyTime now);

    /// Sends as much of the queued events as fits now, in portions. To be called about every millisecond while
    /// `isWaiting`.
    void sendWaiting(SteadyTime now);

    /// Whether any events are queued.
    [[nodiscard]] bool isWaiting() const { return !waiting_.empty(); }

    /// Drops the events for a destination that no longer exists, and what is known about its client's room.
    void forget(const PortAddress& destination);

    /// Drops all queued events and all that is known about room.
    void clear();

    /// The number of queued events whose send failed later, after `send` had reported success.
    [[nodiscard]] std::size_t lateFailureCount() const { return lateFailureCount_; }

private:
    static constexpr std::size_t kMaxClients = 256;

    /// A queued event, with its own copy of the bytes if it is raw.
    struct WaitingEvent {
        snd_seq_event_t event;
        MIDIBytes bytes;
    };

    struct Backlog {
        std::deque<WaitingEvent> events;
        std::size_t bytes = 0;
    };

    /// The room of a client that may still be used before it is asked again.
    struct Budget {
        bool isKnown = false;
        int cells = 0;
        /// Cells used since the client was asked.
        int spent = 0;
        /// Whether an event was sent although the answer was old.
        bool isStretched = false;
        SteadyTime askedAt{};
    };

    void sendOrKeep(snd_seq_event_t& event, MIDIStatus& status, SteadyTime now);
    [[nodiscard]] static bool isOld(const Budget& budget, SteadyTime now);
    [[nodiscard]] bool takeRoom(const snd_seq_event_t& event, SteadyTime now);
    void ask(int client, int wanted, SteadyTime now);
    void keep(const snd_seq_event_t& event);
    void keepUnsent(std::size_t first, const PortAddress& destination);
    /// Returns true if the backlog is empty.
    [[nodiscard]] bool sendBacklog(Backlog& backlog, SteadyTime now);
    void fillBatch(Backlog& backlog, SteadyTime now);
    [[nodiscard]] bool sendBatch(Backlog& backlog);

    SequencerOutput& output_;
    /// The events that are sent next, and their packets' statuses.
    std::vector<snd_seq_event_t> batch_;
    std::vector<MIDIStatus*> statuses_;
    /// The events of the last `flush`.
    std::vector<snd_seq_event_t> sent_;
    std::map<PortAddress, Backlog> waiting_;
    /// By client number.
    std::array<Budget, kMaxClients> budgets_{};
    std::size_t lateFailureCount_ = 0;
};

}  // namespace corvel::hosts
