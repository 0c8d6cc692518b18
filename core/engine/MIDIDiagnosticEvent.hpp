#pragma once

#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"

#include <string>

namespace corvel {

/// One entry of the diagnostic log. The message may have several lines.
struct MIDIDiagnosticEvent {
    /// New for every event.
    UUID id;
    /// When it was logged.
    Instant timestamp;
    std::string message;

    bool operator==(const MIDIDiagnosticEvent&) const = default;
};

}  // namespace corvel
