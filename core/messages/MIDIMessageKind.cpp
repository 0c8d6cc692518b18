#include "core/messages/MIDIMessageKind.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

namespace corvel {

namespace {

/// The raw values, indexed by kind.
constexpr std::array<std::string_view, 20> kRawValues{
    "Note Off", "Note", "Poly Pressure", "CC",          "Program", "Pressure", "Pitch Bend",
    "SysEx",    "MTC",  "Song Position", "Song Select", "Tune",    "Clock",    "Start",
    "Continue", "Stop", "Active Sense",  "Reset",       "Data",    "Unknown"};
static_assert(kRawValues.size() == static_cast<std::size_t>(MIDIMessageKind::unknown) + 1);

/// The kinds of the channel-voice statuses 0x8n to 0xEn.
constexpr std::array<MIDIMessageKind, 7> kChannelVoiceKinds{
    MIDIMessageKind::noteOff,       MIDIMessageKind::noteOn,        MIDIMessageKind::polyPressure,
    MIDIMessageKind::controlChange, MIDIMessageKind::programChange, MIDIMessageKind::channelPressure,
    MIDIMessageKind::pitchBend};

/// The kinds of the system statuses 0xF0 to 0xFF.
constexpr std::array<MIDIMessageKind, 16> kSystemKinds{
    MIDIMessageKind::sysex,       MIDIMessageKind::timeCode, MIDIMessageKind::songPosition,
    MIDIMessageKind::songSelect,  MIDIMessageKind::unknown,  MIDIMessageKind::unknown,
    MIDIMessageKind::tuneRequest, MIDIMessageKind::unknown,  MIDIMessageKind::timingClock,
    MIDIMessageKind::unknown,     MIDIMessageKind::start,    MIDIMessageKind::continue_,
    MIDIMessageKind::stop,        MIDIMessageKind::unknown,  MIDIMessageKind::activeSensing,
    MIDIMessageKind::systemReset};

}  // namespace

std::string_view rawValue(MIDIMessageKind kind) {
    return kRawValues[static_cast<std::size_t>(kind)];
}

std::optional<MIDIMessageKind> messageKindFromRawValue(std::string_view text) {
    const auto* const found = std::ranges::find(kRawValues, text);
    if (found == kRawValues.end()) {
        return std::nullopt;
    }
    return static_cast<MIDIMessageKind>(found - kRawValues.begin());
}

MIDIMessageKind detectMessageKind(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        return MIDIMessageKind::unknown;
    }
    const std::uint8_t status = bytes.front();
    if (status < 0x80) {
        return MIDIMessageKind::data;
    }
    if (status >= 0xF0) {
        return kSystemKinds[status - 0xF0U];
    }
    const MIDIMessageKind kind = kChannelVoiceKinds[(status >> 4U) - 8U];
    const bool hasVelocityZero = bytes.size() >= 3 && bytes[2] == 0;
    return kind == MIDIMessageKind::noteOn && hasVelocityZero ? MIDIMessageKind::noteOff : kind;
}

}  // namespace corvel
