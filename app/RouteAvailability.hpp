#pragma once

#include <cstdint>
#include <string_view>

namespace corvel {

/// Whether a connection can carry MIDI, and if not, why.
enum class RouteAvailability : std::uint8_t {
    /// Both endpoints are present and the connection is enabled.
    active,
    /// Both endpoints are present; the user paused the connection.
    paused,
    missingInput,
    missingOutput,
    missingEndpoints,
};

/// The text for the user: "Active", "Paused", "Input Offline", "Output Offline" or "Offline".
[[nodiscard]] std::string_view displayText(RouteAvailability availability);

}  // namespace corvel
