#pragma once

#include "core/messages/MIDIMessageFragment.hpp"

#include <cstdint>
#include <span>
#include <vector>

/// Splits a packet's bytes into single messages.
namespace corvel::MIDIMessageParser {

/// The messages in `buffer`, in order. Stateless: nothing carries over between calls and there is no running status.
/// Nothing is dropped: stray data bytes become `data` fragments of their own, incomplete messages are emitted as far as
/// they go, and realtime bytes come out ahead of the message that they interrupt. Any thread.
[[nodiscard]] std::vector<MIDIMessageFragment> fragments(std::span<const std::uint8_t> buffer);

}  // namespace corvel::MIDIMessageParser
