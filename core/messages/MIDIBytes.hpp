#pragma once

#include <boost/container/small_vector.hpp>

#include <cstdint>
#include <span>

namespace corvel {

/// A sequence of MIDI bytes. Messages of up to 16 bytes, which is all but system exclusive, need no heap memory.
class MIDIBytes : public boost::container::small_vector<std::uint8_t, 16> {
public:
    using small_vector::small_vector;

    /// The bytes as they stand, for whoever only reads them.
    // NOLINTNEXTLINE(google-explicit-constructor): every container converts to its span
    operator std::span<const std::uint8_t>() const { return {data(), size()}; }
};

}  // namespace corvel
