#include "hosts/jack/JackEventReader.hpp"

#include "core/messages/MIDIMessageLength.hpp"

#include <algorithm>
#include <array>

namespace corvel::hosts {

void JackEventReader::read(std::span<const std::uint8_t> event, Sink sink) {
    while (!event.empty()) {
        const std::uint8_t first = event.front();
        if (isRealtime(first)) {
            sink(Part::whole, event.first(1));
            event = event.subspan(1);
        } else if (first == kSysExStart || (isInSysEx_ && (isData(first) || first == kSysExEnd))) {
            readSysEx(event, sink);
        } else {
            isInSysEx_ = false;
            readMessage(event, sink);
        }
    }
}

void JackEventReader::readSysEx(std::span<const std::uint8_t>& rest, Sink sink) {
    const bool begins = rest.front() == kSysExStart;
    runningStatus_ = 0;
    const auto isStatus = [](std::uint8_t byte) { return !isData(byte); };
    const auto end = std::find_if(rest.begin() + (begins ? 1 : 0), rest.end(), isStatus);
    const bool isComplete = end != rest.end() && *end == kSysExEnd;
    const std::size_t size = static_cast<std::size_t>(end - rest.begin()) + (isComplete ? 1 : 0);
    // A realtime byte inside it does not end it.
    isInSysEx_ = !isComplete && (end == rest.end() || isRealtime(*end));
    if (begins) {
        sink(isComplete ? Part::whole : Part::sysExBegin, rest.first(size));
    } else {
        sink(isComplete ? Part::sysExEnd : Part::sysExMiddle, rest.first(size));
    }
    rest = rest.subspan(size);
}

void JackEventReader::readMessage(std::span<const std::uint8_t>& rest, Sink sink) {
    std::array<std::uint8_t, 3> message{};
    const bool hasStatus = !isData(rest.front());
    message[0] = hasStatus ? rest.front() : runningStatus_;
    if (message[0] == 0) {
        ++malformedCount_;
        rest = rest.subspan(static_cast<std::size_t>(std::ranges::find_if_not(rest, isData) - rest.begin()));
        return;
    }
    if (hasStatus) {
        rest = rest.subspan(1);
        runningStatus_ = message[0] < kSysExStart ? message[0] : 0;
    }
    const std::size_t wanted = nominalMessageLength(message[0]) - 1;
    std::size_t count = 0;
    while (count < wanted && !rest.empty() && (isData(rest.front()) || isRealtime(rest.front()))) {
        if (isRealtime(rest.front())) {
            sink(Part::whole, rest.first(1));
        } else {
            message[++count] = rest.front();
        }
        rest = rest.subspan(1);
    }
    if (count == wanted) {
        sink(Part::whole, std::span(message).first(wanted + 1));
    } else {
        ++malformedCount_;
    }
}

}  // namespace corvel::hosts
