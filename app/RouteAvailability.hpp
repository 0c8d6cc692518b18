#pragma once

#include <cstdint>
#include <string_view>

namespace corvel {

/// Whether a connection can carry MIDI, and if not, why.
enum class RouteAvailability : std::uint8_t {
    /// Both endpoints are there and the connection is enabled.
    active,
    /// Both endpoints are there; the user switched the connection off.
    paused,
    missingInput,
    missingOutput,
    missingEndpoints,
};

/// The words for the user: "Active", "Paused", "Input Offline", "Output Offline" or "Offline".
[[nodiscard]] std::string_view displayText(RouteAvailability availability);

}  // namespace corvel
