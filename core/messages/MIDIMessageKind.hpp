#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace corvel {

/// What a MIDI message is, told from its status byte. The order of the kinds is fixed: the channel-voice kinds come
/// first, `noteOff` leading.
enum class MIDIMessageKind : std::uint8_t {
    noteOff,
    noteOn,
    polyPressure,
    controlChange,
    programChange,
    channelPressure,
    pitchBend,
    sysex,
    timeCode,
    songPosition,
    songSelect,
    tuneRequest,
    timingClock,
    start,
    continue_,
    stop,
    activeSensing,
    systemReset,
    data,
    unknown,
};

/// The kind's display name ("Note Off", "Note", "CC", ...), which is also its raw value.
[[nodiscard]] std::string_view rawValue(MIDIMessageKind kind);

/// The kind whose raw value is exactly `text`; no value for any other text.
[[nodiscard]] std::optional<MIDIMessageKind> messageKindFromRawValue(std::string_view text);

/// The kind of the message that `bytes` begin with. Only the first byte counts, and for a note-on the third: velocity
/// zero is a note-off. No bytes are `unknown`, a leading data byte is `data`.
[[nodiscard]] MIDIMessageKind detectMessageKind(std::span<const std::uint8_t> bytes);

}  // namespace corvel
