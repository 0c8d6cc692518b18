#pragma once

#include "core/messages/MIDIMessageKind.hpp"
#include "core/support/UUID.hpp"

namespace corvel::ui {

/// A message on its way along a connection's line, at one instant.
struct RouteSignal {
    /// The ID of its activity event.
    UUID id;
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;
    /// Position along the line, 0.025 to 1.
    double progress = 0;
    /// 0 to 1.
    double opacity = 0;

    bool operator==(const RouteSignal&) const = default;
};

}  // namespace corvel::ui
