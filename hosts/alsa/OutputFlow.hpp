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

/// What the output flow needs of the sequencer.
class SequencerOutput {
public:
    virtual ~SequencerOutput() = default;

    /// Sends the events, in order, to the destinations that they hold, at once and without waiting. Returns how many
    /// were sent; where that is fewer than given, `status` is the negative errno of the next one.
    [[nodiscard]] virtual std::size_t send(std::span<snd_seq_event_t> events, int& status) = 0;

    /// The room that a client has; none for clients without a pool of their own (the kernel's) and unknown ones.
    [[nodiscard]] virtual std::optional<InputPool> inputPool(int client) = 0;
};

/// Sends packets without ever overrunning a program that receives: the sequencer drops everything that waits for a
/// client when one event more arrives than it has room for, and reports nothing. The sequencer does not tell how full a
/// hardware port's buffer is.
///
/// What does not fit waits here, per destination and in order, and never holds up another destination. One thread at a
/// time.
class OutputFlow {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// Maximum that may wait for one destination before the next packet is refused; a packet is taken whole.
    static constexpr std::size_t kMaxWaitingEvents = 65'536;
    static constexpr std::size_t kMaxWaitingBytes = std::size_t{4} << 20U;

    explicit OutputFlow(SequencerOutput& output);

    /// Adds a packet to those that the next `flush` sends; flushes where no more fit together. Bytes and status have to
    /// stay where they are until then. The status becomes the first failure of the packet, or -EAGAIN, with nothing
    /// sent, if too much waits for the destination already.
    void send(const PortAddress& destination, std::span<const std::uint8_t> packet, MIDIStatus& status, SteadyTime now);

    /// Sends what was added, as far as there is room; the rest waits for `sendWaiting`.
    void flush(SteadyTime now);

    /// Sends as much of what waits as fits now, in portions. To be called every millisecond or so while `isWaiting`.
    void sendWaiting(SteadyTime now);

    /// Whether anything waits.
    [[nodiscard]] bool isWaiting() const { return !waiting_.empty(); }

    /// Drops what waits for a destination that is gone, and what is known of its client's room.
    void forget(const PortAddress& destination);

    /// Drops all that waits and all that is known.
    void clear();

    /// How many waiting events failed when their turn came; their sends had already succeeded.
    [[nodiscard]] std::size_t lateFailureCount() const { return lateFailureCount_; }

private:
    static constexpr std::size_t kMaxClients = 256;

    /// An event that waits, with the bytes of its own that a raw one needs.
    struct WaitingEvent {
        snd_seq_event_t event;
        MIDIBytes bytes;
    };

    struct Backlog {
        std::deque<WaitingEvent> events;
        std::size_t bytes = 0;
    };

    /// What may still be sent to a client before it is asked again.
    struct Budget {
        bool isKnown = false;
        int cells = 0;
        /// Cells that were taken since the client was asked.
        int spent = 0;
        /// Whether an event was sent though the answer was old.
        bool isStretched = false;
        SteadyTime askedAt{};
    };

    void sendOrKeep(snd_seq_event_t& event, MIDIStatus& status, SteadyTime now);
    [[nodiscard]] static bool isOld(const Budget& budget, SteadyTime now);
    [[nodiscard]] bool takeRoom(const snd_seq_event_t& event, SteadyTime now);
    void ask(int client, int wanted, SteadyTime now);
    void keep(const snd_seq_event_t& event);
    void keepUnsent(std::size_t first, const PortAddress& destination);
    /// True when nothing waits any more.
    [[nodiscard]] bool sendBacklog(Backlog& backlog, SteadyTime now);
    void fillBatch(Backlog& backlog, SteadyTime now);
    [[nodiscard]] bool sendBatch(Backlog& backlog);

    SequencerOutput& output_;
    /// The events that are sent next, and their packets' statuses.
    std::vector<snd_seq_event_t> batch_;
    std::vector<MIDIStatus*> statuses_;
    /// The events that `flush` has just sent.
    std::vector<snd_seq_event_t> sent_;
    std::map<PortAddress, Backlog> waiting_;
    /// By client number.
    std::array<Budget, kMaxClients> budgets_{};
    std::size_t lateFailureCount_ = 0;
};

}  // namespace corvel::hosts
