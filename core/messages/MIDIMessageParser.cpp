#include "core/messages/MIDIMessageParser.hpp"

#include "core/messages/MIDIBytes.hpp"
#include "core/messages/MIDIMessageLength.hpp"

#include <absl/container/inlined_vector.h>

#include <cstddef>
#include <utility>

namespace corvel::MIDIMessageParser {

namespace {

/// One pass over a buffer.
class Walk {
public:
    explicit Walk(std::span<const std::uint8_t> buffer) : buffer_(buffer) {}

    std::vector<MIDIMessageFragment> run() {
        while (position_ < buffer_.size()) {
            if (buffer_[position_] == kSysExStart) {
                takeSysEx();
            } else {
                takeMessage();
            }
        }
        return std::move(fragments_);
    }

private:
    /// A message that is being collected.
    using Message = absl::InlinedVector<std::uint8_t, MIDIBytes::kInlineSize>;

    /// Every byte except 0xF7 and realtime belongs to the message: a status byte inside a SysEx message does not end
    /// it.
    void takeSysEx() {
        Message message{kSysExStart};
        ++position_;
        bool isComplete = false;
        while (!isComplete && position_ < buffer_.size()) {
            const std::uint8_t byte = buffer_[position_++];
            if (isRealtime(byte)) {
                emit(byte);
                continue;
            }
            message.push_back(byte);
            isComplete = byte == kSysExEnd;
        }
        emit(message);
    }

    /// A message of fixed length, or its part before the next status byte. Realtime bytes and stray data bytes are
    /// messages of length 1.
    void takeMessage() {
        const std::size_t length = nominalMessageLength(buffer_[position_]);
        Message message{buffer_[position_++]};
        while (message.size() < length && position_ < buffer_.size()) {
            const std::uint8_t byte = buffer_[position_];
            if (isRealtime(byte)) {
                emit(byte);
            } else if (isData(byte)) {
                message.push_back(byte);
            } else {
                break;
            }
            ++position_;
        }
        emit(message);
    }

    void emit(std::uint8_t byte) { fragments_.emplace_back(MIDIBytes{byte}); }
    void emit(const Message& message) { fragments_.emplace_back(MIDIBytes(message)); }

    std::span<const std::uint8_t> buffer_;
    std::size_t position_ = 0;
    std::vector<MIDIMessageFragment> fragments_;
};

}  // namespace

std::vector<MIDIMessageFragment> fragments(std::span<const std::uint8_t> buffer) {
    return Walk(buffer).run();
}

}  // namespace corvel::MIDIMessageParser
