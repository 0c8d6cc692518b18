#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// Whether MIDI comes from an endpoint or goes to it.
enum class MIDIEndpointDirection : std::uint8_t { source, destination };

/// "source" or "destination".
[[nodiscard]] std::string_view rawValue(MIDIEndpointDirection direction);

/// The direction with exactly this raw value; no value for any other text.
[[nodiscard]] std::optional<MIDIEndpointDirection> endpointDirectionFromRawValue(std::string_view text);

/// One endpoint as the user sees it.
struct MIDIEndpointModel {
    /// The endpoint's unique ID, stable across reconnection.
    std::int32_t id = 0;
    /// The service's handle, valid only until the MIDI setup changes.
    std::uint32_t endpointRef = 0;
    std::string displayName;
    std::optional<std::string> manufacturer;
    MIDIEndpointDirection direction = MIDIEndpointDirection::source;
    bool isOnline = true;
    /// Equal for the source and the destination of one port; 0 if the service does not say. Valid as long as
    /// `endpointRef`.
    std::uint32_t port = 0;
    /// Whether the port sends back what it receives.
    bool isLoopback = false;

    /// The display name, the manufacturer if there is one, the direction, and "ID " with the ID, each on a line.
    [[nodiscard]] std::string detailText() const;

    bool operator==(const MIDIEndpointModel&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::MIDIEndpointModel> {
    std::size_t operator()(const corvel::MIDIEndpointModel& endpoint) const noexcept;
};
