#include "hosts/jack/JackLane.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvel::hosts {

MIDIStatus JackLane::write(std::span<const std::uint8_t> packet, std::optional<std::uint32_t> frame,
                           std::size_t maxEvent) {
    MIDIStatus status = kMIDISuccess;
    const std::size_t malformedBefore = reader_.malformedCount();
    reader_.read(packet, [&](JackEventReader::Part part, std::span<const std::uint8_t> bytes) {
        const MIDIStatus added = add(part, bytes, frame, maxEvent);
        status = status == kMIDISuccess ? added : status;
    });
    const bool isMalformed = packet.empty() || reader_.malformedCount() != malformedBefore;
    return status == kMIDISuccess && isMalformed ? kMIDIPacketNotMade : status;
}

MIDIStatus JackLane::add(JackEventReader::Part part, std::span<const std::uint8_t> bytes,
                         std::optional<std::uint32_t> frame, std::size_t maxEvent) {
    if (part == JackEventReader::Part::whole) {
        return push(bytes, frame, maxEvent);
    }
    if (part == JackEventReader::Part::sysExBegin) {
        sysEx_.clear();
        isTooLong_ = false;
    }
    const bool ends = part == JackEventReader::Part::sysExEnd;
    isTooLong_ = isTooLong_ || sysEx_.size() + bytes.size() + (ends ? 0 : 1) > std::min(maxEvent, kMaxEvent);
    if (isTooLong_) {
        return -EMSGSIZE;
    }
    sysEx_.insert(sysEx_.end(), bytes.begin(), bytes.end());
    return ends ? push(std::exchange(sysEx_, {}), frame, maxEvent) : kMIDISuccess;
}

MIDIStatus JackLane::push(std::span<const std::uint8_t> message, std::optional<std::uint32_t> frame,
                          std::size_t maxEvent) {
    if (message.size() > std::min(maxEvent, kMaxEvent)) {
        return -EMSGSIZE;
    }
    const JackOutputHeader header{
        .frame = frame.value_or(0), .isTimed = frame ? 1U : 0U, .size = static_cast<std::uint32_t>(message.size())};
    if (!ring_.push(header, message)) {
        return -EAGAIN;
    }
    writtenCount_.fetch_add(1, std::memory_order_relaxed);
    return kMIDISuccess;
}

const JackOutputHeader* JackLane::next() {
    if (!next_) {
        JackOutputHeader header;
        if (!ring_.popHeader(header)) {
            return nullptr;
        }
        next_ = header;
    }
    return &*next_;
}

void JackLane::take(std::span<std::uint8_t> bytes) {
    ring_.popBytes(bytes);
    next_.reset();
    takenCount_.fetch_add(1, std::memory_order_release);
}

void JackLane::skip() {
    ring_.skipBytes(next_->size);
    next_.reset();
    takenCount_.fetch_add(1, std::memory_order_release);
}

}  // namespace corvel::hosts
