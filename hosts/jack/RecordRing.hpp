#pragma once

#include <boost/lockfree/spsc_queue.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

namespace corvel::hosts {

/// A ring of records between a writing and a reading thread. A record is a header of fixed size, whose `size` is the
/// number of bytes that follow. Neither side waits, locks or allocates. The constructor writes to all memory, so there
/// are no page faults later.
template <typename Header>
class RecordRing {
    static_assert(std::is_trivially_copyable_v<Header>);

public:
    /// `capacity` is the total size in bytes, `maxSize` the maximum number of bytes of a record.
    RecordRing(std::size_t capacity, std::size_t maxSize) : ring_(capacity), scratch_(sizeof(Header) + maxSize) {
        const std::vector<std::uint8_t> zeros(capacity);
        ring_.push(zeros.data(), zeros.size());
        ring_.reset();
    }

    // Writer

    /// Adds a complete record. Returns false and adds nothing if there is no room or the record is too large.
    [[nodiscard]] bool push(const Header& header, std::span<const std::uint8_t> bytes) {
        const std::size_t size = sizeof(Header) + bytes.size();
        if (size > scratch_.size() || ring_.write_available() < size) {
            return false;
        }
        // One push makes the whole record visible at once.
        std::memcpy(scratch_.data(), &header, sizeof(Header));
        std::ranges::copy(bytes, scratch_.begin() + sizeof(Header));
        ring_.push(scratch_.data(), size);
        return true;
    }

    // Reader

    /// Takes the next record's header; false if there is none. Take its bytes before the next header.
    [[nodiscard]] bool popHeader(Header& header) {
        if (ring_.read_available() < sizeof(Header)) {
            return false;
        }
        std::array<std::uint8_t, sizeof(Header)> bytes;
        ring_.pop(bytes.data(), bytes.size());
        std::memcpy(&header, bytes.data(), sizeof(Header));
        return true;
    }

    /// Takes all bytes of the record whose header was taken last.
    void popBytes(std::span<std::uint8_t> bytes) { ring_.pop(bytes.data(), bytes.size()); }

    /// Skips bytes of that record.
    void skipBytes(std::size_t size) {
        std::array<std::uint8_t, 256> ignored;
        while (size > 0) {
            size -= ring_.pop(ignored.data(), std::min(size, ignored.size()));
        }
    }

private:
    boost::lockfree::spsc_queue<std::uint8_t> ring_;
    std::vector<std::uint8_t> scratch_;
};

}  // namespace corvel::hosts
