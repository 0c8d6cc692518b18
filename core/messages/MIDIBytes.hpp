#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <span>
#include <utility>

namespace corvel {

/// A sequence of MIDI bytes, as a value.
///
/// Up to 16 bytes (every message except long SysEx) are stored in the object and need no heap memory. Copies of longer
/// sequences share their bytes, so a SysEx message that goes to many destinations is stored once. Different threads may
/// use different objects.
class MIDIBytes {
public:
    static constexpr std::size_t kInlineSize = 16;

    MIDIBytes() = default;
    MIDIBytes(const MIDIBytes&) = default;
    MIDIBytes& operator=(const MIDIBytes&) = default;
    MIDIBytes(MIDIBytes&& other) noexcept
        : size_(std::exchange(other.size_, 0)), inline_(other.inline_), shared_(std::move(other.shared_)) {}
    MIDIBytes& operator=(MIDIBytes&& other) noexcept {
        shared_ = std::move(other.shared_);
        inline_ = other.inline_;
        size_ = std::exchange(other.size_, 0);
        return *this;
    }
    ~MIDIBytes() = default;

    /// Copies the bytes.
    explicit MIDIBytes(std::span<const std::uint8_t> bytes) : MIDIBytes(bytes.size()) {
        std::ranges::copy(bytes, storage(bytes.size()));
    }
    /// The first `count` of the bytes, at most 16.
    MIDIBytes(const std::array<std::uint8_t, kInlineSize>& bytes, std::size_t count) : size_(count), inline_(bytes) {}
    // NOLINTNEXTLINE(google-explicit-constructor): a list of bytes in braces converts without surprise
    MIDIBytes(std::initializer_list<std::uint8_t> bytes) : MIDIBytes(std::span(bytes.begin(), bytes.size())) {}
    template <std::contiguous_iterator Iterator>
    MIDIBytes(Iterator first, Iterator last) : MIDIBytes(std::span<const std::uint8_t>(first, last)) {}
    MIDIBytes(std::size_t count, std::uint8_t value) : MIDIBytes(count) { std::fill_n(storage(count), count, value); }

    [[nodiscard]] const std::uint8_t* data() const { return shared_ ? shared_.get() : inline_.data(); }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] const std::uint8_t* begin() const { return data(); }
    [[nodiscard]] const std::uint8_t* end() const { return data() + size_; }
    /// Precondition: the index is below `size()`, or there is a first or last byte.
    [[nodiscard]] std::uint8_t operator[](std::size_t index) const { return data()[index]; }
    [[nodiscard]] std::uint8_t front() const { return data()[0]; }
    [[nodiscard]] std::uint8_t back() const { return data()[size_ - 1]; }

    /// The bytes for writing. Copies them first if other objects share them. Valid until this object is assigned to.
    [[nodiscard]] std::span<std::uint8_t> writable() {
        if (shared_ && shared_.use_count() > 1) {
            *this = MIDIBytes(std::span(data(), size_));
        }
        return {storage(size_), size_};
    }

    bool operator==(const MIDIBytes& other) const { return std::ranges::equal(*this, other); }

private:
    // NOLINTNEXTLINE(*-avoid-c-arrays): the size is not known before the program runs
    using Array = std::uint8_t[];

    explicit MIDIBytes(std::size_t size) : size_(size) {
        if (size > kInlineSize) {
            shared_ = std::make_shared_for_overwrite<Array>(size);
        }
    }

    /// The parameter is `size_`: without it, g++ warns that long bytes are written to the inline ones.
    [[nodiscard]] std::uint8_t* storage(std::size_t size) {
        return size > kInlineSize ? shared_.get() : inline_.data();
    }

    std::size_t size_ = 0;
    std::array<std::uint8_t, kInlineSize> inline_{};
    /// The bytes of a long sequence; null for a short one.
    std::shared_ptr<Array> shared_;
};

}  // namespace corvel
