#pragma once

#include "core/routes/ChannelMode.hpp"
#include "core/routes/KeyboardShortcutSpec.hpp"
#include "core/support/UUID.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace corvel {

/// One channel assignment of a connection: a named set of the connection's settings, with an optional shortcut.
struct MIDIRouteVariant {
    UUID id;
    std::string name;
    /// The shortcut that makes this assignment active.
    std::optional<KeyboardShortcutSpec> shortcut;
    /// Missing only in assignments from documents that are older than modes per assignment.
    std::optional<ChannelMode> channelMode;
    /// Unique IDs of the endpoints.
    std::int32_t sourceID = 0;
    std::int32_t destinationID = 0;
    /// The endpoints' labels when the assignment was last written. They identify the endpoint if its ID changes.
    std::optional<std::string> sourceName;
    std::optional<std::string> sourceManufacturer;
    std::optional<std::string> destinationName;
    std::optional<std::string> destinationManufacturer;

    /// The name of a new assignment: its mode's title.
    [[nodiscard]] static std::string defaultName(const ChannelMode& channelMode);

    bool operator==(const MIDIRouteVariant&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::MIDIRouteVariant> {
    std::size_t operator()(const corvel::MIDIRouteVariant& variant) const noexcept;
};
