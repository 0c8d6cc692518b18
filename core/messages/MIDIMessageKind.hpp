#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace corvel {

/// The kind of a MIDI message, given by its status byte. The order is fixed: channel-voice kinds come first, starting
/// with `noteOff`.
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

/// The kind of the message that `bytes` start with. Depends only on the first byte and, for a note-on, on the third:
/// velocity zero is a note-off. Empty input is `unknown`, a leading data byte is `data`.
[[nodiscard]] MIDIMessageKind detectMessageKind(std::span<const std::uint8_t> bytes);

}  // namespace corvel
