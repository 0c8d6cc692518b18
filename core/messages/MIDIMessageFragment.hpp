#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "core/messages/MIDIMessageKind.hpp"

namespace corvel {

/// One MIDI message cut out of a byte stream.
struct MIDIMessageFragment {
    /// The message's bytes in stream order. The status byte comes first, if there is one.
    MIDIBytes bytes;
    /// The kind of the message that `bytes` start with.
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;

    explicit MIDIMessageFragment(MIDIBytes bytes);

    bool operator==(const MIDIMessageFragment&) const = default;
};

}  // namespace corvel
