// Feeds arbitrary sequencer events to the decoder, as other programs may send them. Each input is a sequence of events
// of 28 bytes, as the sequencer delivers them. The data of an event of variable length follows the event.

#include "fuzz/Invariant.hpp"
#include "hosts/alsa/EventCoding.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace corvel;
using fuzz::hex;
using fuzz::require;

/// Random lengths of data are taken modulo this, because hardly any would fit into the input.
constexpr std::size_t kMaxData = 4096;

/// The most bytes that an event without data can become: a parameter number and its value are four controllers of three
/// bytes.
constexpr std::size_t kMaxShortBytes = 12;

std::span<const std::uint8_t> take(std::span<const std::uint8_t>& input, std::size_t count) {
    const auto part = input.first(std::min(count, input.size()));
    input = input.subspan(part.size());
    return part;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static hosts::EventDecoder decoder;
    std::span<const std::uint8_t> input(data, size);
    while (!input.empty()) {
        snd_seq_event_t event{};
        const auto head = take(input, sizeof event);
        std::memcpy(&event, head.data(), head.size());
        std::vector<std::uint8_t> bytes;
        const bool isVariable = snd_seq_ev_is_variable(&event);
        if (isVariable) {
            // The sequencer's library sets the pointer, and refuses a length without its bytes.
            const auto variable = take(input, event.data.ext.len % kMaxData);
            bytes.assign(variable.begin(), variable.end());
            event.data.ext.len = static_cast<unsigned>(bytes.size());
            event.data.ext.ptr = bytes.data();
        } else if (event.type == SND_SEQ_EVENT_SYSEX) {
            // A SysEx event of fixed length has no data; another program may have set its length and pointer.
            event.data.ext.len = static_cast<unsigned>(kMaxData);
            event.data.ext.ptr = nullptr;
        }
        const auto because = [&] {
            return "event " + hex({reinterpret_cast<const std::uint8_t*>(&event), sizeof event}) + "\ndata " +
                   hex(bytes);
        };
        const std::optional<MIDIBytes> decoded = decoder.decode(event);
        if (!decoded) {
            continue;
        }
        require(!decoded->empty(), "an event that is MIDI has bytes", because);
        if (event.type == SND_SEQ_EVENT_SYSEX) {
            require(std::ranges::equal(*decoded, bytes), "raw bytes arrive unchanged", because);
            continue;
        }
        const std::vector<std::uint8_t> messages(decoded->begin(), decoded->end());
        require(messages.size() <= kMaxShortBytes, "an event without data is a few messages", because);
        require(messages.front() >= 0x80, "a message begins with its status", because);
        require(std::none_of(messages.begin() + 1, messages.end(), [](std::uint8_t byte) { return byte >= 0xF0; }),
                "the data of a message is no status of the system", because);
        // The decoded messages, encoded and decoded again, must be the same.
        std::vector<std::uint8_t> again;
        hosts::encodeEvents(messages, [&](snd_seq_event_t& sent) {
            const std::optional<MIDIBytes> part = decoder.decode(sent);
            require(part.has_value(), "what is sent on is MIDI", because);
            again.insert(again.end(), part->begin(), part->end());
        });
        require(again == messages, "a message that is sent on is the same",
                [&] { return because() + "\ndecoded " + hex(messages) + "\nsent on " + hex(again); });
    }
    return 0;
}
