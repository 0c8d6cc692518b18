#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace corvel {

/// The notes and sustain pedals that were sent to a place and have not ended, by channel. One thread at a time.
class HeldNotes {
public:
    /// Records a packet that was sent. Note-ons begin a note. Note-offs, note-ons with velocity 0, and the channel mode
    /// messages that silence a channel (All Sound Off, All Notes Off and those above it) end notes. Controller 64 with
    /// a value of 64 or more is a pressed pedal. Allocates nothing.
    void takeIn(std::span<const std::uint8_t> packet);

    /// Adds the notes and pedals that `other` holds.
    void add(const HeldNotes& other);

    /// The messages that end everything that is held here and not in `others`, by channel and note: for each note a
    /// note-off with velocity 64, then for each pedal controller 64 with value 0.
    [[nodiscard]] std::vector<MIDIBytes> endings(const HeldNotes& others) const;

private:
    static constexpr std::size_t kChannelCount = 16;
    static constexpr std::size_t kNoteCount = 128;

    void takeMessage(std::uint8_t status, std::uint8_t first, std::uint8_t second);
    void takeController(std::size_t channel, std::uint8_t controller, std::uint8_t value);

    std::array<std::bitset<kNoteCount>, kChannelCount> notes_;
    std::bitset<kChannelCount> pedals_;
};

}  // namespace corvel
