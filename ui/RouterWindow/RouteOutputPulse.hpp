#pragma once

#include "core/messages/MIDIMessageKind.hpp"
#include "core/support/UUID.hpp"

namespace corvel::ui {

/// The ring at the output in which a signal ends, at one instant.
struct RouteOutputPulse {
    /// The ID of its activity event.
    UUID id;
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;
    /// 0 to 1; falls while the ring grows.
    double opacity = 0;
    /// Factor of the ring's radius, 0.55 to 1.7.
    double scale = 0;

    bool operator==(const RouteOutputPulse&) const = default;
};

}  // namespace corvel::ui
