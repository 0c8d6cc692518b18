#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <absl/functional/function_ref.h>
#include <alsa/asoundlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

/// MIDI bytes to sequencer events and back.
namespace corvel::hosts {

/// Turns sequencer events into MIDI bytes, without running status. Keeps nothing between events; one thread at a time.
class EventDecoder {
public:
    /// Throws `std::bad_alloc`.
    EventDecoder();

    /// The event's bytes: one message, or the several messages that a 14-bit controller or a parameter number stands
    /// for, or a piece of a SysEx message as it is. No value for events that are no MIDI or came without their
    /// bytes.
    [[nodiscard]] std::optional<MIDIBytes> decode(const snd_seq_event_t& event);

private:
    struct Free {
        void operator()(snd_midi_event_t* coder) const { snd_midi_event_free(coder); }
    };
    std::unique_ptr<snd_midi_event_t, Free> coder_;
};

/// Most bytes in one raw event: larger ones overrun the buffers of receivers.
inline constexpr std::size_t kMaxRawEventSize = 1024;

/// Calls `visit` with the events that carry the packet's bytes, in order. Messages become events; SysEx bytes,
/// pieces of SysEx messages, stray data and undefined bytes become raw events that point into `packet`. Incomplete
/// messages, which the sequencer cannot carry, are left out. Realtime bytes inside a message keep their place before or
/// between its pieces.
void encodeEvents(std::span<const std::uint8_t> packet, absl::FunctionRef<void(snd_seq_event_t&)> visit);

}  // namespace corvel::hosts
