#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "core/messages/MIDIMessageKind.hpp"

namespace corvel {

/// One MIDI message cut out of a byte stream.
struct MIDIMessageFragment {
    /// The message's bytes in stream order, the status byte first where there is one.
    MIDIBytes bytes;
    /// Always the kind that `bytes` begin with.
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;

    explicit MIDIMessageFragment(MIDIBytes bytes);

    bool operator==(const MIDIMessageFragment&) const = default;
};

}  // namespace corvel
