#pragma once

#include "core/messages/MIDIMessageFragment.hpp"

#include <cstdint>
#include <span>
#include <vector>

/// Splits a packet's bytes into single messages.
namespace corvel::MIDIMessageParser {

/// The messages in `buffer`, in order. Stateless: calls are independent, and there is no running status. Nothing is
/// dropped: each stray data byte becomes a `data` fragment, incomplete messages are returned as far as they go, and a
/// realtime byte comes before the message that it interrupts. Any thread.
[[nodiscard]] std::vector<MIDIMessageFragment> fragments(std::span<const std::uint8_t> buffer);

}  // namespace corvel::MIDIMessageParser
