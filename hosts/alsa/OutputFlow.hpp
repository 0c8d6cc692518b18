#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/messages/MIDIBytes.hpp"
#include "hosts/alsa/InputRoom.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <alsa/asoundlib.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <span>

namespace corvel::hosts {

/// What the output flow needs of the sequencer.
class EventSink {
public:
    virtual ~EventSink() = default;

    /// Sends the event to the destination at once, without waiting. A negative errno is a failure. Must not call the
    /// flow back.
    virtual int sendDirectly(const PortAddress& destination, snd_seq_event_t& event) = 0;

    /// The room that the client has; none for clients without a pool of their own (the kernel's) and unknown ones.
    virtual std::optional<InputRoom> inputRoom(int client) = 0;

    /// The steady clock.
    [[nodiscard]] virtual std::chrono::steady_clock::time_point now() const = 0;
};

/// Sends packets without ever overrunning a program that receives: the sequencer throws away everything that waits for
/// a client when one event more comes than it has room for, and tells nobody. How full a hardware port's buffer is, the
/// sequencer does not tell.
///
/// What does not fit waits here, per destination and in order, and never holds up another destination. Bounded: past
/// the bound a send fails. One thread at a time.
class OutputFlow {
public:
    /// Most that may wait for one destination before the next packet is refused; a packet is taken whole.
    static constexpr std::size_t kMaximumWaitingEvents = 65'536;
    static constexpr std::size_t kMaximumWaitingBytes = std::size_t{4} << 20U;

    explicit OutputFlow(EventSink& sink) : sink_(sink) {}

    /// Sends the packet, or the part of it that fits; the rest waits for `sendWaiting`. -EAGAIN, and nothing is sent,
    /// when too much waits already; else the first failure.
    MIDIStatus send(const PortAddress& destination, std::span<const std::uint8_t> packet);

    /// Sends of what waits as much as fits now. To be called every millisecond or so while `isWaiting`.
    void sendWaiting();

    /// Whether anything waits.
    [[nodiscard]] bool isWaiting() const { return !waiting_.empty(); }

    /// Drops what waits for a destination that is gone, and what is known of its client's room.
    void forget(const PortAddress& destination);

    /// How many waiting events failed when their turn came; their sends had already succeeded.
    [[nodiscard]] std::size_t lateFailureCount() const { return lateFailureCount_; }

private:
    using SteadyTime = std::chrono::steady_clock::time_point;

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
        int cells = 0;
        /// Cells that were taken since.
        int spent = 0;
        SteadyTime askedAt{};
    };

    MIDIStatus sendOrKeep(const PortAddress& destination, snd_seq_event_t& event);
    [[nodiscard]] bool takeRoom(int client, Budget& budget, const snd_seq_event_t& event, SteadyTime now);
    void ask(int client, Budget& budget, int wanted);
    void keep(const PortAddress& destination, const snd_seq_event_t& event);
    /// True when nothing waits any more.
    [[nodiscard]] bool sendBacklog(const PortAddress& destination, Backlog& backlog);

    EventSink& sink_;
    std::map<PortAddress, Backlog> waiting_;
    std::map<int, Budget> budgets_;
    std::size_t lateFailureCount_ = 0;
};

}  // namespace corvel::hosts
