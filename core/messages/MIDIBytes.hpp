#pragma once

#include <absl/container/inlined_vector.h>

#include <cstdint>

namespace corvel {

/// A sequence of MIDI bytes. Messages of up to 16 bytes, which is all but system exclusive, need no heap memory.
using MIDIBytes = absl::InlinedVector<std::uint8_t, 16>;

}  // namespace corvel
