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

/// How fast the receiving program takes what a router sends it.
enum class Receiver { fast, sleeping };

/// How the sending program writes a burst.
enum class Writing { one, batches };

/// Two programs with a router between them: what it does is measured from outside.
///
/// The messages are note-ons, each followed by its note-off, so that a router that keeps book of held notes does not
/// take them for mistakes. Key and velocity number them.
class Wire {
public:
    /// The most messages that are handed to the sequencer at once.
    static constexpr std::size_t kBatch = 500;

    Wire();

    [[nodiscard]] tests::SequencerPeer& sender() { return sender_; }
    [[nodiscard]] tests::SequencerAddress source() const { return source_; }
    [[nodiscard]] tests::SequencerAddress destination() const { return destination_; }

    /// Plays until something arrives; throws if nothing does.
    void waitForRouter();

    /// Times from sending to having received, of note-ons 2 ms apart; those that were lost are missing.
    [[nodiscard]] std::vector<std::chrono::nanoseconds> latencies(std::size_t count);

    /// Plays messages that come alone: each `interval` after the one before, but not before that has arrived and the
    /// router is at rest. Gives how many arrived. Begins and ends with a silence.
    [[nodiscard]] std::size_t playAlone(std::size_t count, std::chrono::nanoseconds interval,
                                        const std::function<bool()>& isRouterAtRest);

    /// Times from sending to having received, of messages sent every `interval` whatever has arrived by then; those
    /// that were lost are missing.
    [[nodiscard]] std::vector<std::chrono::nanoseconds> steadyLatencies(std::size_t count,
                                                                        std::chrono::nanoseconds interval);

    /// Hands the sequencer this many messages at once, at most `kBatch`, beginning with the one numbered `first`; to be
    /// taken with `receiveTogether`. A note-on has an even number, its note-off the next.
    void sendTogether(std::size_t first, std::size_t count);
    /// Whether all messages of `sendTogether` arrive.
    [[nodiscard]] bool receiveTogether(std::size_t count);

    /// Messages a second with 64 of them on their way at any time; 0 if one was lost.
    [[nodiscard]] double floodRate(std::size_t count);

    /// How many messages of a burst without any bound did not arrive.
    [[nodiscard]] std::size_t lostOfBurst(std::size_t count, Writing writing, Receiver receiver);

private:
    [[nodiscard]] snd_seq_event_t message(std::size_t number) const;
    [[nodiscard]] std::vector<snd_seq_event_t> burst(std::size_t first, std::size_t count) const;
    [[nodiscard]] std::size_t receivedCount() const;
    void send(std::size_t number);
    /// Waits for input; false past the limit.
    [[nodiscard]] bool waitForInput(std::chrono::nanoseconds limit);
    /// Notes the arrival of a message; false for anything else.
    bool record(const snd_seq_event_t& event);
    /// Takes what one read of the sequencer gives, at most; gives how many messages.
    std::size_t receivePortion();
    /// Waits for messages and takes them; gives how many, 0 past the limit. Anything else that a router sends of its
    /// own accord, such as active sensing, is no message.
    std::size_t receive(std::chrono::nanoseconds limit);
    void drain();
    void receiveBurst(std::size_t count, Receiver receiver);

    tests::SequencerPeer sender_;
    tests::SequencerPeer receiver_;
    tests::SequencerAddress source_;
    tests::SequencerAddress destination_;
    /// Which messages of the burst arrived; a router might also send one twice.
    std::vector<bool> isReceived_;
    /// The number of the last note-on of each key: routers need not keep a note-off's velocity.
    std::array<std::size_t, 128> lastOfKey_{};
};

/// A wire with a router on it that routes already.
class RoutedWire {
public:
    /// Throws if the router cannot be started or passes nothing on.
    explicit RoutedWire(const Router& router);

    [[nodiscard]] Wire& wire() { return wire_; }
    /// The router's process, if it is one.
    [[nodiscard]] std::optional<pid_t> process() const { return router_.process; }

private:
    Wire wire_;
    RunningRouter router_;
};

}  // namespace corvel::benchmarks
