#pragma once

#include <cstdint>

namespace corvel {

/// Which MIDI service the program is to use.
enum class MIDIHostChoice : std::uint8_t {
    /// ALSA where its sequencer can be opened, the demo otherwise.
    automatic,
    alsa,
    demo,
};

}  // namespace corvel
