#pragma once

#include "core/engine/MIDIEndpointModel.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvel {

/// The endpoints of one direction in display order, with lookups of logarithmic cost, because every connection is
/// looked up at every change of the MIDI setup.
class EndpointList {
public:
    EndpointList() = default;

    /// Takes the endpoints in their final order.
    explicit EndpointList(std::vector<MIDIEndpointModel> endpoints);

    /// The endpoints in order.
    [[nodiscard]] const std::vector<MIDIEndpointModel>& endpoints() const { return endpoints_; }

    /// The first endpoint with this unique ID, or null. Valid as long as the list.
    [[nodiscard]] const MIDIEndpointModel* find(std::int32_t id) const;

    /// The only endpoint with this name and, if given, this manufacturer. Null if there is none or more than one, or if
    /// no name is given. Valid as long as the list.
    [[nodiscard]] const MIDIEndpointModel* resolve(const std::optional<std::string>& name,
                                                   const std::optional<std::string>& manufacturer) const;

private:
    std::vector<MIDIEndpointModel> endpoints_;
    /// Positions in `endpoints_`, ordered by ID, equal IDs by position.
    std::vector<std::size_t> byID_;
    /// Positions in `endpoints_`, ordered by display name, then manufacturer.
    std::vector<std::size_t> byName_;
};

}  // namespace corvel
