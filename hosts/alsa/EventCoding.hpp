#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <absl/functional/function_ref.h>
#include <alsa/asoundlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

/// Conversion between MIDI bytes and sequencer events.
namespace corvel::hosts {

/// Converts sequencer events into MIDI bytes, without running status. Events are independent. One thread at a time.
class EventDecoder {
public:
    /// Throws `std::bad_alloc`.
    EventDecoder();

    /// The event's bytes: one message, the messages of a 14-bit controller or a parameter number, or a piece of a SysEx
    /// message. No value for events that are not MIDI or came without bytes.
    [[nodiscard]] std::optional<MIDIBytes> decode(const snd_seq_event_t& event);

private:
    struct Free {
        void operator()(snd_midi_event_t* coder) const { snd_midi_event_free(coder); }
    };
    std::unique_ptr<snd_midi_event_t, Free> coder_;
};

/// Maximum number of bytes in a raw event: larger ones overrun the buffers of receivers.
inline constexpr std::size_t kMaxRawEventSize = 1024;

/// Calls `visit` with the events that carry the packet's bytes, in order. Messages become events. SysEx bytes, pieces
/// of SysEx messages, stray data bytes and undefined bytes become raw events that point into `packet`. Incomplete
/// messages are left out, because the sequencer cannot carry them. Realtime bytes inside a message keep their place
/// before or between its pieces.
void encodeEvents(std::span<const std::uint8_t> packet, absl::FunctionRef<void(snd_seq_event_t&)> visit);

}  // namespace corvel::hosts
