// Feeds arbitrary bytes to the parser, the transformer, the selection of connections and the sequencer's event coding,
// and checks the rules for each of them and between them.

#include "core/messages/MIDIMessageKind.hpp"
#include "core/messages/MIDIMessageParser.hpp"
#include "core/messages/MIDIMessageTransformer.hpp"
#include "core/messages/RouteProcessor.hpp"
#include "core/routes/ChannelMode.hpp"
#include "fuzz/Invariant.hpp"
#include "hosts/alsa/EventCoding.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace {

using namespace corvel;
using fuzz::hex;
using fuzz::require;

using Bytes = std::span<const std::uint8_t>;
using Sequence = std::vector<std::uint8_t>;

constexpr std::uint8_t kSysEx = 0xF0;
constexpr std::uint8_t kEndOfSysEx = 0xF7;

bool isRealtime(std::uint8_t byte) {
    return byte >= 0xF8;
}
bool isStatus(std::uint8_t byte) {
    return byte >= 0x80;
}
bool isChannelVoice(std::uint8_t byte) {
    return byte >= 0x80 && byte <= 0xEF;
}

// Derived from the wire format, independent of the tested code, which has its own table.
std::size_t completeLength(std::uint8_t status) {
    if (isChannelVoice(status)) {
        return status >= 0xC0 && status <= 0xDF ? 2 : 3;
    }
    if (status == 0xF2) {
        return 3;
    }
    return status == 0xF1 || status == 0xF3 ? 2 : 1;
}

bool isSysEx(const MIDIMessageFragment& fragment) {
    return fragment.bytes.front() == kSysEx;
}

bool isComplete(const MIDIMessageFragment& fragment) {
    return isSysEx(fragment) ? fragment.bytes.back() == kEndOfSysEx
                             : fragment.bytes.size() == completeLength(fragment.bytes.front());
}

Sequence onlyRealtime(Bytes bytes, bool wanted) {
    Sequence result;
    std::ranges::copy_if(bytes, std::back_inserter(result),
                         [wanted](std::uint8_t byte) { return isRealtime(byte) == wanted; });
    return result;
}

Sequence joined(const std::vector<MIDIMessageFragment>& fragments) {
    Sequence result;
    for (const MIDIMessageFragment& fragment : fragments) {
        result.insert(result.end(), fragment.bytes.begin(), fragment.bytes.end());
    }
    return result;
}

bool isSame(Bytes one, Bytes other) {
    return std::ranges::equal(one, other);
}

void checkFragment(const MIDIMessageFragment& fragment) {
    const auto evidence = [&fragment] { return "fragment " + hex(fragment.bytes); };
    require(!fragment.bytes.empty(), "a fragment has bytes", evidence);
    require(fragment.messageKind == detectMessageKind(fragment.bytes), "a fragment's kind is that of its bytes",
            evidence);
    const std::uint8_t upperHalf = fragment.bytes.front() & 0xF0U;
    const bool isSilentNote = upperHalf == 0x90 && isComplete(fragment) && fragment.bytes[2] == 0;
    require((fragment.messageKind == MIDIMessageKind::noteOff) == (upperHalf == 0x80 || isSilentNote),
            "a note ends by a note-off or by a note of velocity zero", evidence);
    const std::optional<MIDIMessageKind> again = messageKindFromRawValue(rawValue(fragment.messageKind));
    require(again == fragment.messageKind, "a kind is found again by its raw value", evidence);
    const Bytes rest = Bytes(fragment.bytes).subspan(1);
    if (isSysEx(fragment)) {
        const auto end = std::ranges::find(rest, kEndOfSysEx);
        require(end == rest.end() || end + 1 == rest.end(), "a SysEx message ends at its first F7", evidence);
        require(std::ranges::none_of(rest, isRealtime), "no realtime byte stays in a SysEx message", evidence);
    } else {
        require(std::ranges::none_of(rest, isStatus), "only data bytes follow a status", evidence);
        require(fragment.bytes.size() <= completeLength(fragment.bytes.front()), "no message is longer than its status",
                evidence);
    }
    const std::vector<MIDIMessageFragment> alone = MIDIMessageParser::fragments(fragment.bytes);
    require(alone.size() == 1 && alone.front() == fragment, "a fragment parsed alone is itself", evidence);
}

/// A realtime byte must come out directly before the message that it interrupts, or between two messages if it was
/// between them.
void checkRealtimePlaces(Bytes buffer, const std::vector<MIDIMessageFragment>& fragments) {
    const auto evidence = [buffer] { return "buffer " + hex(buffer); };
    constexpr std::string_view kRule = "a realtime byte comes out ahead of the message that it interrupts";
    std::vector<std::size_t> otherBytesBefore;
    std::size_t others = 0;
    for (const std::uint8_t byte : buffer) {
        if (isRealtime(byte)) {
            otherBytesBefore.push_back(others);
        } else {
            ++others;
        }
    }
    std::size_t realtimeIndex = 0;
    std::size_t emitted = 0;
    const MIDIMessageFragment* previous = nullptr;
    for (std::size_t index = 0; index < fragments.size(); ++index) {
        if (!isRealtime(fragments[index].bytes.front())) {
            emitted += fragments[index].bytes.size();
            previous = &fragments[index];
            continue;
        }
        const std::size_t place = otherBytesBefore.at(realtimeIndex++);
        require(emitted <= place, kRule, evidence);
        if (emitted == place) {
            require(previous == nullptr || isComplete(*previous), kRule, evidence);
            continue;
        }
        const auto next = std::find_if(fragments.begin() + static_cast<std::ptrdiff_t>(index), fragments.end(),
                                       [](const auto& fragment) { return !isRealtime(fragment.bytes.front()); });
        require(next != fragments.end(), kRule, evidence);
        const std::size_t end = emitted + next->bytes.size();
        require(place < end || (place == end && !isComplete(*next)), kRule, evidence);
    }
}

std::vector<MIDIMessageFragment> checkParser(Bytes buffer) {
    std::vector<MIDIMessageFragment> fragments = MIDIMessageParser::fragments(buffer);
    const Sequence all = joined(fragments);
    const auto evidence = [&] { return "buffer " + hex(buffer) + "\nfragments joined " + hex(all); };
    require(isSame(onlyRealtime(all, true), onlyRealtime(buffer, true)), "every realtime byte comes out, in order",
            evidence);
    require(isSame(onlyRealtime(all, false), onlyRealtime(buffer, false)), "every other byte comes out, in order",
            evidence);
    const MIDIMessageFragment* incomplete = nullptr;
    for (const MIDIMessageFragment& fragment : fragments) {
        checkFragment(fragment);
        if (isRealtime(fragment.bytes.front())) {
            continue;
        }
        require(incomplete == nullptr || (!isSysEx(*incomplete) && isStatus(fragment.bytes.front())),
                "only a status byte or the end of the packet cuts a message off", evidence);
        incomplete = isComplete(fragment) ? nullptr : &fragment;
    }
    checkRealtimePlaces(buffer, fragments);
    return fragments;
}

void checkTransformer(const MIDIBytes& buffer, const std::vector<MIDIMessageFragment>& fragments, int channel) {
    const ChannelMode mode = ChannelMode::force(channel);
    const MIDIBytes result = MIDIMessageTransformer::transform(buffer, mode);
    const auto evidence = [&] {
        return "channel " + std::to_string(channel) + "\nbuffer " + hex(buffer) + "\nresult " + hex(result);
    };
    require(result.size() == buffer.size(), "a transform keeps the length", evidence);
    if (channel < 1 || channel > 16) {
        require(result == buffer, "a channel outside 1 to 16 changes nothing", evidence);
        return;
    }
    for (std::size_t index = 0; index < buffer.size(); ++index) {
        if (result[index] != buffer[index]) {
            require(isChannelVoice(buffer[index]) && (result[index] & 0xF0U) == (buffer[index] & 0xF0U) &&
                        (result[index] & 0x0FU) == static_cast<unsigned>(channel - 1),
                    "a transform changes only the channel of a channel-voice status", evidence);
        }
    }
    require(MIDIMessageTransformer::transform(result, mode) == result, "a transform done twice is done once", evidence);

    // If nothing is cut off or interrupted, parser and transformer must find the same messages.
    Sequence whole;
    Sequence expected;
    for (const MIDIMessageFragment& fragment : fragments) {
        if (isComplete(fragment)) {
            whole.insert(whole.end(), fragment.bytes.begin(), fragment.bytes.end());
            const std::size_t start = expected.size();
            expected.insert(expected.end(), fragment.bytes.begin(), fragment.bytes.end());
            if (isChannelVoice(expected[start])) {
                expected[start] = static_cast<std::uint8_t>((expected[start] & 0xF0U) | unsigned(channel - 1));
            }
        }
    }
    const MIDIBytes transformed = MIDIMessageTransformer::transform(MIDIBytes(whole), mode);
    require(isSame(transformed, expected),
            "every whole channel-voice message is put on the channel, and no other byte changes", [&] {
                return "channel " + std::to_string(channel) + "\nmessages " + hex(whole) + "\nresult " +
                       hex(transformed);
            });
}

MIDIRoute makeRoute(std::uint8_t number, std::int32_t sourceID, std::int32_t destinationID, ChannelMode mode,
                    bool isEnabled) {
    UUID id;
    id.bytes[15] = number;
    return {
        id,           sourceID, destinationID, std::nullopt, std::nullopt, std::nullopt, std::nullopt, mode, isEnabled,
        std::nullopt, {}};
}

void checkSelection(const MIDIBytes& buffer) {
    static const std::vector<MIDIRoute> kRoutes{
        makeRoute(1, 7, 20, ChannelMode::asIs(), true),     makeRoute(2, 7, 20, ChannelMode::force(10), true),
        makeRoute(3, 7, 21, ChannelMode::force(3), false),  makeRoute(4, 8, 20, ChannelMode::force(4), true),
        makeRoute(5, 7, -22, ChannelMode::force(16), true), makeRoute(6, 7, 20, ChannelMode::asIs(), true)};
    struct Expected {
        std::size_t index;
        std::int32_t destinationID;
        ChannelMode mode;
    };
    static const std::array<Expected, 4> kExpected{{{0, 20, ChannelMode::asIs()},
                                                    {1, 20, ChannelMode::force(10)},
                                                    {4, -22, ChannelMode::force(16)},
                                                    {5, 20, ChannelMode::asIs()}}};
    const std::vector<RoutedMIDIMessage> messages = RouteProcessor::routedMessages(7, buffer, kRoutes);
    const auto evidence = [&buffer] { return "buffer " + hex(buffer); };
    require(messages.size() == kExpected.size(), "every enabled connection of the source carries the packet once",
            evidence);
    for (std::size_t index = 0; index < messages.size(); ++index) {
        const Expected& expected = kExpected.at(index);
        require(messages[index].routeID == kRoutes[expected.index].id &&
                    messages[index].destinationID == expected.destinationID,
                "the connections carry the packet in their order", evidence);
        require(messages[index].bytes == MIDIMessageTransformer::transform(buffer, expected.mode),
                "each connection carries the packet in its own mode", evidence);
    }
}

/// The part of the buffer that the sequencer can carry, in the order in which it must come out: without incomplete
/// messages, realtime bytes before the short message that they interrupt, and in their place inside a SysEx message.
Sequence carriedBySequencer(Bytes buffer, const std::vector<MIDIMessageFragment>& fragments) {
    Sequence carried;
    std::size_t position = 0;
    for (const MIDIMessageFragment& fragment : fragments) {
        if (isRealtime(fragment.bytes.front())) {
            continue;
        }
        const std::size_t start = position;
        for (std::size_t found = 0; found < fragment.bytes.size(); ++position) {
            found += isRealtime(buffer[position]) ? 0U : 1U;
        }
        const Bytes stretch = buffer.subspan(start, position - start);
        if (isSysEx(fragment)) {
            carried.insert(carried.end(), stretch.begin(), stretch.end());
            continue;
        }
        const Sequence realtime = onlyRealtime(stretch, true);
        carried.insert(carried.end(), realtime.begin(), realtime.end());
        if (isComplete(fragment)) {
            carried.insert(carried.end(), fragment.bytes.begin(), fragment.bytes.end());
        }
    }
    carried.insert(carried.end(), buffer.begin() + static_cast<std::ptrdiff_t>(position), buffer.end());
    return carried;
}

void checkEventCoding(Bytes buffer, const std::vector<MIDIMessageFragment>& fragments) {
    static hosts::EventDecoder decoder;
    Sequence result;
    hosts::encodeEvents(buffer, [&](snd_seq_event_t& event) {
        require(event.type != SND_SEQ_EVENT_SYSEX ||
                    (event.data.ext.len > 0 && event.data.ext.len <= hosts::kMaxRawEventSize),
                "a raw event has 1 to 1024 bytes", [buffer] { return "buffer " + hex(buffer); });
        const std::optional<MIDIBytes> bytes = decoder.decode(event);
        require(bytes.has_value(), "every encoded event is MIDI",
                [&] { return "event type " + std::to_string(event.type) + "\nbuffer " + hex(buffer); });
        result.insert(result.end(), bytes->begin(), bytes->end());
    });
    const Sequence expected = carriedBySequencer(buffer, fragments);
    require(result == expected, "the events carry all but the incomplete messages, in order",
            [&] { return "buffer " + hex(buffer) + "\nexpected " + hex(expected) + "\nresult " + hex(result); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes buffer(data, size);
    const std::vector<MIDIMessageFragment> fragments = checkParser(buffer);
    const MIDIBytes bytes(buffer.begin(), buffer.end());
    require(MIDIMessageTransformer::transform(bytes, ChannelMode::asIs()) == bytes, "as it is changes nothing",
            [&bytes] { return "buffer " + hex(bytes); });
    // All channels are tested, but not with every input, which would take most of the time.
    const int channel = static_cast<int>(size % 16) + 1;
    for (const int tried : {channel, 17 - channel, channel - 16, channel + 16}) {
        checkTransformer(bytes, fragments, tried);
    }
    checkSelection(bytes);
    checkEventCoding(buffer, fragments);
    return 0;
}
