#pragma once

#include <cstdint>

namespace corvel {

/// The MIDI service that the program uses.
enum class MIDIHostChoice : std::uint8_t {
    /// ALSA if its sequencer can be opened, otherwise the demo.
    automatic,
    alsa,
    demo,
};

}  // namespace corvel
