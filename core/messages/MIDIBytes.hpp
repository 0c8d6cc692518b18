#pragma once

#include <boost/container/small_vector.hpp>

#include <cstdint>

namespace corvel {

/// A sequence of MIDI bytes. Messages of up to 16 bytes, which is all but system exclusive, need no heap memory.
using MIDIBytes = boost::container::small_vector<std::uint8_t, 16>;

}  // namespace corvel
