#pragma once

#include "benchmarks/wire/Router.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace corvel::benchmarks {

/// How fast the receiving program reads.
enum class Receiver { fast, sleeping };

/// How the sending program writes a burst.
enum class Writing { one, batches };

/// Two programs with a router between them; the router is measured from outside.
///
/// The messages are note-ons, each followed by its note-off, so that a router that tracks held notes works normally.
/// Key and velocity number them.
class Wire {
public:
    /// Maximum number of messages that are given to the sequencer at once.
    static constexpr std::size_t kBatch = 500;

    Wire();

    [[nodiscard]] tests::SequencerPeer& sender() { return sender_; }
    [[nodiscard]] tests::SequencerAddress source() const { return source_; }
    [[nodiscard]] tests::SequencerAddress destination() const { return destination_; }

    /// Plays until a message arrives; throws if none does.
    void waitForRouter();

    /// The times from sending to receiving of note-ons 2 ms apart; lost ones are left out.
    [[nodiscard]] std::vector<std::chrono::nanoseconds> latencies(std::size_t count);

    /// Plays single messages: each `interval` after the previous one, but not before that has arrived and the router
    /// sleeps. Returns how many arrived. Starts and ends with a pause.
    [[nodiscard]] std::size_t playAlone(std::size_t count, std::chrono::nanoseconds interval,
                                        const std::function<bool()>& isRouterAtRest);

    /// The times from sending to receiving of messages that are sent every `interval`, whether or not the previous ones
    /// have arrived; lost ones are left out.
    [[nodiscard]] std::vector<std::chrono::nanoseconds> steadyLatencies(std::size_t count,
                                                                        std::chrono::nanoseconds interval);

    /// Gives the sequencer this many messages at once, at most `kBatch`, starting with number `first`; receive them by
    /// `receiveTogether`. A note-on has an even number, its note-off the next.
    void sendTogether(std::size_t first, std::size_t count);
    /// Whether all messages of `sendTogether` arrive.
    [[nodiscard]] bool receiveTogether(std::size_t count);

    /// Messages a second with 64 of them in transit at any time; 0 if one was lost.
    [[nodiscard]] double floodRate(std::size_t count);

    /// The number of messages of an unlimited burst that did not arrive.
    [[nodiscard]] std::size_t lostOfBurst(std::size_t count, Writing writing, Receiver receiver);

private:
    [[nodiscard]] snd_seq_event_t message(std::size_t number) const;
    [[nodiscard]] std::vector<snd_seq_event_t> burst(std::size_t first, std::size_t count) const;
    [[nodiscard]] std::size_t receivedCount() const;
    void send(std::size_t number);
    /// Waits for input; false after the limit.
    [[nodiscard]] bool waitForInput(std::chrono::nanoseconds limit);
    /// Records the arrival of a message; false for any other event.
    bool record(const snd_seq_event_t& event);
    /// Takes at most one read of the sequencer. Returns the number of messages.
    std::size_t receivePortion();
    /// Waits for messages and takes them. Returns their number, 0 after the limit. Other events that a router sends by
    /// itself, such as active sensing, do not count.
    std::size_t receive(std::chrono::nanoseconds limit);
    void drain();
    void receiveBurst(std::size_t count, Receiver receiver);

    tests::SequencerPeer sender_;
    tests::SequencerPeer receiver_;
    tests::SequencerAddress source_;
    tests::SequencerAddress destination_;
    /// The messages of the burst that have arrived; a router might send one twice.
    std::vector<bool> isReceived_;
    /// The number of the last note-on of each key: routers need not keep a note-off's velocity.
    std::array<std::size_t, 128> lastOfKey_{};
};

/// A wire with a router that is already routing.
class RoutedWire {
public:
    /// Throws if the router cannot be started or routes nothing.
    explicit RoutedWire(const Router& router);

    [[nodiscard]] Wire& wire() { return wire_; }
    /// The router's PID, if it is a process.
    [[nodiscard]] std::optional<pid_t> process() const { return router_.process; }

private:
    Wire wire_;
    RunningRouter router_;
};

}  // namespace corvel::benchmarks
