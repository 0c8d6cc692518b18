#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <absl/container/inlined_vector.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace corvel {

/// Copies of packets that arrived together, in their order. One short packet needs no heap memory, and moving never
/// throws, so that a task can hold them in itself.
class PacketBytes {
public:
    explicit PacketBytes(std::span<const std::span<const std::uint8_t>> packets) {
        for (const std::span<const std::uint8_t> packet : packets) {
            bytes_.insert(bytes_.end(), packet.begin(), packet.end());
            ends_.push_back(bytes_.size());
        }
    }

    /// Calls `visit` with each packet's bytes.
    template <typename Visitor>
    void forEach(Visitor&& visit) const {
        const std::uint8_t* start = bytes_.data();
        for (const std::size_t end : ends_) {
            const std::uint8_t* const next = bytes_.data() + end;
            visit(std::span<const std::uint8_t>(start, next));
            start = next;
        }
    }

private:
    /// All packets' bytes, one packet behind the other.
    MIDIBytes bytes_;
    absl::InlinedVector<std::size_t, 1> ends_;
};

}  // namespace corvel
