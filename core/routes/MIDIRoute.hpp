#pragma once

#include "core/routes/ChannelMode.hpp"
#include "core/routes/MIDIRouteVariant.hpp"
#include "core/support/UUID.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvel {

/// One connection from a MIDI source to a MIDI destination, with its channel assignments.
///
/// There is always at least one assignment, and one is active. The connection's own endpoints, labels and mode are
/// those of the active assignment, so routing reads only them.
struct MIDIRoute {
    UUID id;
    /// Unique IDs of the endpoints.
    std::int32_t sourceID = 0;
    std::int32_t destinationID = 0;
    /// Labels of the endpoints, as in the assignment.
    std::optional<std::string> sourceName;
    std::optional<std::string> sourceManufacturer;
    std::optional<std::string> destinationName;
    std::optional<std::string> destinationManufacturer;
    ChannelMode channelMode;
    /// The user's switch for the whole connection.
    bool isEnabled = true;
    /// Always the id of one of `variants`.
    UUID activeVariantID;
    /// The assignments in the user's order; never empty.
    std::vector<MIDIRouteVariant> variants;

    /// Without variants the connection gets one with its own fields, named after its mode. If `activeVariantID` is
    /// missing or unknown, the first variant becomes active. The active variant is then applied.
    MIDIRoute(UUID id, std::int32_t sourceID, std::int32_t destinationID, std::optional<std::string> sourceName,
              std::optional<std::string> sourceManufacturer, std::optional<std::string> destinationName,
              std::optional<std::string> destinationManufacturer, ChannelMode channelMode, bool isEnabled,
              std::optional<UUID> activeVariantID, std::vector<MIDIRouteVariant> variants);

    /// The first assignment whose id is `activeVariantID`, or null. Valid until `variants` changes.
    [[nodiscard]] const MIDIRouteVariant* activeVariant() const;

    /// Copies the active assignment's endpoints, labels and mode (if it has one) to the connection.
    void applyActiveVariant();

    /// Stores the connection's endpoints, labels and mode in the active assignment.
    void updateActiveVariantFromRoute();

    /// Makes the assignment with this id active and applies it. Returns false and changes nothing if there is none.
    bool setActiveVariant(const UUID& variantID);

    bool operator==(const MIDIRoute&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::MIDIRoute> {
    std::size_t operator()(const corvel::MIDIRoute& route) const noexcept;
};
