#include "core/engine/HeldNotes.hpp"

#include "core/messages/MIDIMessageLength.hpp"

#include <algorithm>

namespace corvel {

namespace {

constexpr std::uint8_t kNoteOff = 0x80;
constexpr std::uint8_t kNoteOn = 0x90;
constexpr std::uint8_t kController = 0xB0;

constexpr std::uint8_t kSustain = 64;
constexpr std::uint8_t kPedalDown = 64;
constexpr std::uint8_t kAllSoundOff = 120;
constexpr std::uint8_t kAllNotesOff = 123;

/// The default velocity of a note-off in MIDI.
constexpr std::uint8_t kNoteOffVelocity = 64;

}  // namespace

void HeldNotes::takeIn(std::span<const std::uint8_t> packet) {
    // Nearly every packet is one complete message, which needs no loop.
    if (packet.size() == 3 && packet[0] >= kNoteOff && packet[0] < kSysExStart && isData(packet[1]) &&
        isData(packet[2])) {
        takeMessage(packet[0], packet[1], packet[2]);
        return;
    }
    // Only messages with two data bytes count, so one data byte is stored.
    std::uint8_t status = 0;
    std::uint8_t first = 0;
    bool hasFirst = false;
    for (auto next = packet.begin(); next != packet.end(); ++next) {
        const std::uint8_t byte = *next;
        if (isRealtime(byte)) {
            continue;
        }
        if (!isData(byte)) {
            status = byte;
            hasFirst = false;
            if (byte == kSysExStart) {
                next = std::find(next, packet.end(), kSysExEnd);
                if (next == packet.end()) {
                    return;
                }
            }
        } else if (!hasFirst) {
            first = byte;
            hasFirst = true;
        } else {
            takeMessage(status, first, byte);
            // Data bytes without a status byte are not a message.
            status = 0;
        }
    }
}

void HeldNotes::takeMessage(std::uint8_t status, std::uint8_t first, std::uint8_t second) {
    const std::size_t channel = status & 0x0FU;
    const unsigned kind = status & 0xF0U;
    if (kind == kNoteOn || kind == kNoteOff) {
        notes_[channel].set(first, kind == kNoteOn && second > 0);
    } else if (kind == kController) {
        takeController(channel, first, second);
    }
}

void HeldNotes::takeController(std::size_t channel, std::uint8_t controller, std::uint8_t value) {
    if (controller == kSustain) {
        pedals_.set(channel, value >= kPedalDown);
    } else if (controller == kAllSoundOff || controller >= kAllNotesOff) {
        notes_[channel].reset();
    }
}

void HeldNotes::add(const HeldNotes& other) {
    for (std::size_t channel = 0; channel < kChannelCount; ++channel) {
        notes_[channel] |= other.notes_[channel];
    }
    pedals_ |= other.pedals_;
}

std::vector<MIDIBytes> HeldNotes::endings(const HeldNotes& others) const {
    std::vector<MIDIBytes> messages;
    for (std::size_t channel = 0; channel < kChannelCount; ++channel) {
        const auto ended = notes_[channel] & ~others.notes_[channel];
        for (std::size_t note = 0; note < kNoteCount; ++note) {
            if (ended[note]) {
                messages.push_back(
                    {static_cast<std::uint8_t>(kNoteOff | channel), static_cast<std::uint8_t>(note), kNoteOffVelocity});
            }
        }
    }
    for (std::size_t channel = 0; channel < kChannelCount; ++channel) {
        if (pedals_[channel] && !others.pedals_[channel]) {
            messages.push_back({static_cast<std::uint8_t>(kController | channel), kSustain, 0});
        }
    }
    return messages;
}

}  // namespace corvel
