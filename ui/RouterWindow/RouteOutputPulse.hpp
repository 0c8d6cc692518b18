#pragma once

#include "core/messages/MIDIMessageKind.hpp"
#include "core/support/UUID.hpp"

namespace corvel::ui {

/// The ring in which a signal ends at its output, at one instant.
struct RouteOutputPulse {
    /// That of its activity event.
    UUID id;
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;
    /// 0 to 1, falling while the ring grows.
    double opacity = 0;
    /// Of the ring's radius, 0.55 to 1.7.
    double scale = 0;

    bool operator==(const RouteOutputPulse&) const = default;
};

}  // namespace corvel::ui
