#pragma once

#include "tests/support/Deadline.hpp"

#include <alsa/asoundlib.h>

#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace corvel::tests {

using Bytes = std::vector<std::uint8_t>;

/// The address of a port in the sequencer.
struct SequencerAddress {
    int client = -1;
    int port = -1;

    auto operator<=>(const SequencerAddress&) const = default;

    [[nodiscard]] snd_seq_addr_t raw() const {
        return {static_cast<unsigned char>(client), static_cast<unsigned char>(port)};
    }
};

/// The properties of a port that other programs see.
struct SequencerPort {
    SequencerAddress address;
    std::string clientName;
    std::string name;
    unsigned capability = 0;
    unsigned type = 0;
};

/// An event as a peer received it.
struct ReceivedEvent {
    SequencerAddress sender;
    /// The peer's port that received it.
    int port = -1;
    snd_seq_event_type_t type = 0;
    /// Its MIDI bytes, with every status byte; SysEx data unchanged. Empty for announcements.
    Bytes bytes;
    std::chrono::steady_clock::time_point time;
    /// The event itself; the data pointer of a variable-length event is invalid.
    snd_seq_event_t event{};
};

/// Another program on the ALSA sequencer: a client with ports that plays and records.
///
/// Belongs to one thread. Throws `std::system_error` if the sequencer refuses something that a test relies on. Waits by
/// polling with a deadline.
class SequencerPeer {
public:
    static constexpr unsigned kSource = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    static constexpr unsigned kDestination = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
    static constexpr unsigned kDuplex = kSource | kDestination;
    static constexpr unsigned kProgramPort = SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION;

    explicit SequencerPeer(const std::string& name);

    [[nodiscard]] int client() const;
    [[nodiscard]] snd_seq_t* handle() const { return handle_.get(); }

    // Ports
    SequencerAddress addPort(const std::string& name, unsigned capability, unsigned type = kProgramPort);
    void removePort(SequencerAddress port);
    void renamePort(SequencerAddress port, const std::string& name);
    void setCapability(SequencerAddress port, unsigned capability);
    void rename(const std::string& name);

    /// Sets how many unread events the sequencer keeps for this peer: 200 at first, at most 2,000.
    void setInputPool(std::size_t cells);

    /// Sets how long this peer pauses before each read, to simulate a slow program.
    void setReadingPace(std::chrono::milliseconds pace) { pace_ = pace; }

    // Playing
    /// Plays whole messages to the port's subscribers, SysEx messages in pieces of 256 bytes as a device does.
    void play(SequencerAddress port, std::span<const std::uint8_t> bytes);
    void play(SequencerAddress port, std::initializer_list<std::uint8_t> bytes);
    /// Sends one event unchanged to the port's subscribers, or to one destination. Returns the sequencer's answer.
    int emit(SequencerAddress port, snd_seq_event_t event);
    int emitTo(SequencerAddress port, SequencerAddress destination, snd_seq_event_t event);
    /// Plays note-ons numbered by key and velocity (`numberedNote`) from `first` on, as fast as possible.
    void playNumberedNotes(SequencerAddress port, unsigned first, unsigned count);

    // Patching; any two ports. Returns the sequencer's answer.
    int connect(SequencerAddress from, SequencerAddress to);
    int disconnect(SequencerAddress from, SequencerAddress to);

    // Listening
    /// Records what has arrived. Returns false if the sequencer dropped the input because the pool was full.
    bool readWaiting();

    /// Reads until `isDone()`; false after the time limit.
    template <typename Condition>
    [[nodiscard]] bool readUntil(Condition isDone, std::chrono::milliseconds limit = kDeadline) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (readWaiting(); !isDone(); readWaiting()) {
            if (!waitForInput(deadline)) {
                return false;
            }
        }
        return true;
    }
    /// Reads until this many events are recorded; false after the time limit.
    [[nodiscard]] bool readUntilCount(std::size_t count, std::chrono::milliseconds limit = kDeadline) {
        return readUntil([&] { return received_.size() >= count; }, limit);
    }
    /// Reads until this many bytes are recorded; false after the time limit.
    [[nodiscard]] bool readUntilBytes(std::size_t count, std::chrono::milliseconds limit = kDeadline) {
        return readUntil([&] { return receivedByteCount_ >= count; }, limit);
    }

    [[nodiscard]] const std::vector<ReceivedEvent>& received() const { return received_; }
    /// The bytes of all recorded events, in order; if a port is given, only of its events.
    [[nodiscard]] Bytes receivedBytes() const;
    [[nodiscard]] Bytes receivedBytes(SequencerAddress port) const;
    [[nodiscard]] unsigned overruns() const { return overruns_; }
    void forgetReceived();

    // Looking around, as a patch bay does
    [[nodiscard]] std::vector<SequencerPort> ports() const;
    /// The address of the port with this name; throws if there is none.
    [[nodiscard]] SequencerAddress find(const std::string& clientName, const std::string& portName) const;
    /// The destinations of the source's events.
    [[nodiscard]] std::vector<SequencerAddress> subscribers(SequencerAddress source) const;

    /// The numbered note-on: key and velocity count up, velocity from 1; 16,256 different ones on channel 1.
    [[nodiscard]] static Bytes numberedNote(unsigned number, unsigned channel = 1);

private:
    struct Closer {
        void operator()(snd_seq_t* handle) const { snd_seq_close(handle); }
        void operator()(snd_midi_event_t* coder) const { snd_midi_event_free(coder); }
    };

    /// False after the deadline.
    [[nodiscard]] bool waitForInput(std::chrono::steady_clock::time_point deadline);
    void record(const snd_seq_event_t& event);
    void playOne(SequencerAddress port, std::span<const std::uint8_t> message);
    int emitDirect(snd_seq_event_t& event);

    std::unique_ptr<snd_seq_t, Closer> handle_;
    std::unique_ptr<snd_midi_event_t, Closer> coder_;
    std::chrono::milliseconds pace_{0};
    std::vector<ReceivedEvent> received_;
    std::size_t receivedByteCount_ = 0;
    unsigned overruns_ = 0;
};

/// Starts programs with this name until one gets the client number; that is the last. The sequencer gives the lowest
/// free number, so a number that has just been released is reused at once.
[[nodiscard]] std::vector<std::unique_ptr<SequencerPeer>> startUntilClient(const std::string& name, int client);

/// Events to emit
[[nodiscard]] snd_seq_event_t noteEvent(snd_seq_event_type_t type, unsigned channel, unsigned key, unsigned velocity);
[[nodiscard]] snd_seq_event_t controlEvent(snd_seq_event_type_t type, unsigned channel, unsigned parameter, int value);
/// Raw bytes, which must outlive the sending.
[[nodiscard]] snd_seq_event_t rawEvent(std::span<const std::uint8_t> bytes);

}  // namespace corvel::tests
