#include "hosts/alsa/EventCoding.hpp"

#include "core/messages/MIDIMessageLength.hpp"

#include <algorithm>
#include <array>
#include <new>

namespace corvel::hosts {

namespace {

/// The sequencer counts pitch bend from here, MIDI from 0.
constexpr unsigned kPitchBendCenter = 8192;

/// The event type of a one-byte status; none for undefined ones.
snd_seq_event_type_t typeOfSingleByte(std::uint8_t status) {
    switch (status) {
        case 0xF6:
            return SND_SEQ_EVENT_TUNE_REQUEST;
        case 0xF8:
            return SND_SEQ_EVENT_CLOCK;
        case 0xFA:
            return SND_SEQ_EVENT_START;
        case 0xFB:
            return SND_SEQ_EVENT_CONTINUE;
        case 0xFC:
            return SND_SEQ_EVENT_STOP;
        case 0xFE:
            return SND_SEQ_EVENT_SENSING;
        case 0xFF:
            return SND_SEQ_EVENT_RESET;
        default:
            return SND_SEQ_EVENT_NONE;
    }
}

snd_seq_event_t channelEvent(std::uint8_t status, std::uint8_t first, std::uint8_t second) {
    snd_seq_event_t event{};
    const std::uint8_t channel = status & 0x0F;
    switch (status & 0xF0) {
        case 0x80:
            snd_seq_ev_set_noteoff(&event, channel, first, second);
            break;
        case 0x90:
            snd_seq_ev_set_noteon(&event, channel, first, second);
            break;
        case 0xA0:
            snd_seq_ev_set_keypress(&event, channel, first, second);
            break;
        case 0xB0:
            snd_seq_ev_set_controller(&event, channel, first, second);
            break;
        case 0xC0:
            snd_seq_ev_set_pgmchange(&event, channel, first);
            break;
        case 0xD0:
            snd_seq_ev_set_chanpress(&event, channel, first);
            break;
        default:
            snd_seq_ev_set_pitchbend(&event, channel, (second << 7 | first) - static_cast<int>(kPitchBendCenter));
            break;
    }
    return event;
}

snd_seq_event_t systemCommonEvent(std::uint8_t status, std::uint8_t first, std::uint8_t second) {
    snd_seq_event_t event{};
    snd_seq_ev_set_fixed(&event);
    switch (status) {
        case 0xF1:
            event.type = SND_SEQ_EVENT_QFRAME;
            event.data.control.value = first;
            break;
        case 0xF2:
            event.type = SND_SEQ_EVENT_SONGPOS;
            event.data.control.value = second << 7 | first;
            break;
        default:
            event.type = SND_SEQ_EVENT_SONGSEL;
            event.data.control.value = first;
            break;
    }
    return event;
}

/// Goes through a packet and passes on its events.
class Encoder {
public:
    Encoder(std::span<const std::uint8_t> packet, absl::FunctionRef<void(snd_seq_event_t&)> visit)
        : packet_(packet), visit_(visit) {}

    void run() {
        while (position_ < packet_.size()) {
            const std::uint8_t byte = packet_[position_];
            if (byte == kSysExStart || isData(byte)) {
                takeSysEx(byte == kSysExStart);
            } else if (const std::size_t wanted = nominalMessageLength(byte) - 1; wanted > 0) {
                takeMessage(byte, wanted);
            } else {
                takeSingleByte();
            }
        }
    }

private:
    /// A SysEx message up to its end, or the rest of one: data bytes with the end.
    void takeSysEx(bool fromItsStart) {
        std::size_t start = position_;
        while (position_ < packet_.size()) {
            const std::uint8_t byte = packet_[position_];
            if (isRealtime(byte)) {
                emitRaw(start, position_);
                takeSingleByte();
                start = position_;
                continue;
            }
            if (byte == kSysExEnd) {
                ++position_;
                break;
            }
            if (!fromItsStart && !isData(byte)) {
                break;
            }
            ++position_;
        }
        emitRaw(start, position_);
    }

    void takeMessage(std::uint8_t status, std::size_t wanted) {
        ++position_;
        std::array<std::uint8_t, 2> data{};
        std::size_t count = 0;
        while (count < wanted && position_ < packet_.size()) {
            const std::uint8_t byte = packet_[position_];
            if (isRealtime(byte)) {
                takeSingleByte();
            } else if (isData(byte)) {
                data.at(count++) = byte;
                ++position_;
            } else {
                break;
            }
        }
        if (count == wanted) {
            snd_seq_event_t event = status < kSysExStart ? channelEvent(status, data[0], data[1])
                                                         : systemCommonEvent(status, data[0], data[1]);
            visit_(event);
        }
    }

    void takeSingleByte() {
        const snd_seq_event_type_t type = typeOfSingleByte(packet_[position_]);
        if (type == SND_SEQ_EVENT_NONE) {
            emitRaw(position_, position_ + 1);
        } else {
            snd_seq_event_t event{};
            snd_seq_ev_set_fixed(&event);
            event.type = type;
            visit_(event);
        }
        ++position_;
    }

    void emitRaw(std::size_t start, std::size_t end) {
        for (std::size_t size = 0; start < end; start += size) {
            size = std::min(end - start, kMaxRawEventSize);
            snd_seq_event_t event{};
            // The sequencer only reads the bytes, but its interface takes a non-const pointer.
            snd_seq_ev_set_sysex(&event, static_cast<unsigned>(size),
                                 const_cast<std::uint8_t*>(packet_.data() + start));  // NOLINT(*-const-cast)
            visit_(event);
        }
    }

    std::span<const std::uint8_t> packet_;
    absl::FunctionRef<void(snd_seq_event_t&)> visit_;
    std::size_t position_ = 0;
};

MIDIBytes message(unsigned kind, unsigned channel, unsigned first) {
    return {{static_cast<std::uint8_t>(kind | (channel & 0x0FU)), static_cast<std::uint8_t>(first & 0x7FU)}, 2};
}

MIDIBytes message(unsigned kind, unsigned channel, unsigned first, unsigned second) {
    return {{static_cast<std::uint8_t>(kind | (channel & 0x0FU)), static_cast<std::uint8_t>(first & 0x7FU),
             static_cast<std::uint8_t>(second & 0x7FU)},
            3};
}

/// The bytes of a channel message; no value for other events. Nearly all events are channel messages, and the library's
/// tables would take a good part of a note's time.
std::optional<MIDIBytes> channelMessage(const snd_seq_event_t& event) {
    const auto& note = event.data.note;
    const auto& control = event.data.control;
    // Unsigned, because another program can send any number, and adding to the largest signed one is undefined.
    const auto value = static_cast<unsigned>(control.value);
    switch (event.type) {
        case SND_SEQ_EVENT_NOTEON:
            return message(0x90, note.channel, note.note, note.velocity);
        case SND_SEQ_EVENT_NOTEOFF:
            return message(0x80, note.channel, note.note, note.velocity);
        case SND_SEQ_EVENT_KEYPRESS:
            return message(0xA0, note.channel, note.note, note.velocity);
        case SND_SEQ_EVENT_CONTROLLER:
            return message(0xB0, control.channel, control.param, value);
        case SND_SEQ_EVENT_PGMCHANGE:
            return message(0xC0, control.channel, value);
        case SND_SEQ_EVENT_CHANPRESS:
            return message(0xD0, control.channel, value);
        case SND_SEQ_EVENT_PITCHBEND:
            return message(0xE0, control.channel, value + kPitchBendCenter, (value + kPitchBendCenter) >> 7);
        default:
            return std::nullopt;
    }
}

/// Whether the packet is exactly one channel message.
bool isChannelMessage(std::span<const std::uint8_t> packet) {
    return !packet.empty() && !isData(packet[0]) && packet[0] < kSysExStart &&
           packet.size() == nominalMessageLength(packet[0]) && isData(packet[1]) &&
           (packet.size() == 2 || isData(packet[2]));
}

}  // namespace

EventDecoder::EventDecoder() {
    snd_midi_event_t* coder = nullptr;
    if (snd_midi_event_new(0, &coder) < 0) {
        throw std::bad_alloc();
    }
    coder_.reset(coder);
    snd_midi_event_no_status(coder, 1);
}

std::optional<MIDIBytes> EventDecoder::decode(const snd_seq_event_t& event) {
    std::optional<MIDIBytes> bytes = channelMessage(event);
    if (!bytes && event.type == SND_SEQ_EVENT_SYSEX) {
        // Another program can send such an event with a fixed length, whose pointer is invalid, or with no bytes.
        if (snd_seq_ev_is_variable(&event) && event.data.ext.len > 0) {
            bytes.emplace(std::span(static_cast<const std::uint8_t*>(event.data.ext.ptr), event.data.ext.len));
        }
    } else if (!bytes) {
        // The longest event is a parameter number with its 14-bit value: four controllers.
        std::array<std::uint8_t, MIDIBytes::kInlineSize> buffer;
        snd_midi_event_reset_decode(coder_.get());
        const long count = snd_midi_event_decode(coder_.get(), buffer.data(), static_cast<long>(buffer.size()), &event);
        if (count > 0) {
            bytes.emplace(buffer, static_cast<std::size_t>(count));
        }
    }
    return bytes;
}

void encodeEvents(std::span<const std::uint8_t> packet, absl::FunctionRef<void(snd_seq_event_t&)> visit) {
    if (isChannelMessage(packet)) {
        snd_seq_event_t event = channelEvent(packet[0], packet[1], packet.size() > 2 ? packet[2] : std::uint8_t{0});
        visit(event);
        return;
    }
    Encoder(packet, visit).run();
}

}  // namespace corvel::hosts
