#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "core/routes/ChannelMode.hpp"

#include <cstdint>

/// Rewrites the channel of channel-voice messages for a connection.
namespace corvel::MIDIMessageTransformer {

/// Whether the byte is a channel-voice status, 0x80 to 0xEF.
[[nodiscard]] constexpr bool isChannelVoiceStatus(std::uint8_t byte) {
    return byte >= 0x80 && byte <= 0xEF;
}

/// The bytes with every channel-voice status on the mode's forced channel; same length, all other bytes unchanged.
/// `asIs` and a forced channel outside 1 to 16 change nothing. Skips each message by its nominal length, whatever its
/// bytes are, so a status byte inside a truncated message keeps its channel. The result shares the memory of a long
/// sequence unless a byte changes. Any thread.
[[nodiscard]] MIDIBytes transform(const MIDIBytes& bytes, const ChannelMode& channelMode);

}  // namespace corvel::MIDIMessageTransformer
