#include "core/messages/MIDIMessageTransformer.hpp"

#include "core/messages/MIDIMessageLength.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace corvel::MIDIMessageTransformer {

namespace {

/// The position just after the exclusive message that starts at `start`; the end of the bytes if it is not ended.
std::size_t positionAfterExclusive(const MIDIBytes& bytes, std::size_t start) {
    const auto* const end = bytes.data() + bytes.size();
    const auto* const terminator = std::find(bytes.data() + start, end, kExclusiveEnd);
    return static_cast<std::size_t>(terminator - bytes.data()) + (terminator == end ? 0U : 1U);
}

}  // namespace

MIDIBytes transform(MIDIBytes bytes, const ChannelMode& channelMode) {
    const std::optional<int> channel = channelMode.forcedChannel();
    if (!channel || *channel < 1 || *channel > 16) {
        return bytes;
    }
    const auto channelBits = static_cast<std::uint8_t>(*channel - 1);
    std::size_t position = 0;
    while (position < bytes.size()) {
        const std::uint8_t byte = bytes[position];
        if (byte == kExclusiveStart) {
            position = positionAfterExclusive(bytes, position);
            continue;
        }
        if (isChannelVoiceStatus(byte)) {
            bytes[position] = static_cast<std::uint8_t>((byte & 0xF0U) | channelBits);
        }
        position += nominalMessageLength(byte);
    }
    return bytes;
}

}  // namespace corvel::MIDIMessageTransformer
