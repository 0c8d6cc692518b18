#include "core/messages/MIDIMessageTransformer.hpp"

#include "core/messages/MIDIMessageLength.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace corvel::MIDIMessageTransformer {

namespace {

/// The position just after the SysEx message that starts at `start`; the end of the bytes if the message does not end.
std::size_t positionAfterSysEx(const MIDIBytes& bytes, std::size_t start) {
    const auto* const terminator = std::find(bytes.begin() + start, bytes.end(), kSysExEnd);
    return terminator == bytes.end() ? bytes.size() : static_cast<std::size_t>(terminator - bytes.begin()) + 1;
}

}  // namespace

MIDIBytes transform(const MIDIBytes& bytes, const ChannelMode& channelMode) {
    MIDIBytes result = bytes;
    const std::optional<int> channel = channelMode.forcedChannel();
    if (!channel || *channel < 1 || *channel > 16) {
        return result;
    }
    const auto channelBits = static_cast<std::uint8_t>(*channel - 1);
    std::size_t position = 0;
    while (position < bytes.size()) {
        const std::uint8_t byte = bytes[position];
        if (byte == kSysExStart) {
            position = positionAfterSysEx(bytes, position);
            continue;
        }
        if (const auto forced = static_cast<std::uint8_t>((byte & 0xF0U) | channelBits);
            isChannelVoiceStatus(byte) && byte != forced) {
            result.writable()[position] = forced;
        }
        position += nominalMessageLength(byte);
    }
    return result;
}

}  // namespace corvel::MIDIMessageTransformer
