#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/support/Hash.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <unordered_map>

namespace corvel::ui {

/// Identifies an endpoint row. The direction is needed because an input and an output may have the same ID.
struct EndpointPositionKey {
    MIDIEndpointDirection direction = MIDIEndpointDirection::source;
    std::int32_t endpointID = 0;

    bool operator==(const EndpointPositionKey&) const = default;
};

}  // namespace corvel::ui

template <>
struct std::hash<corvel::ui::EndpointPositionKey> {
    std::size_t operator()(const corvel::ui::EndpointPositionKey& key) const noexcept {
        return corvel::hashOf(corvel::rawValue(key.direction), key.endpointID);
    }
};

namespace corvel::ui {

/// The vertical middle of each endpoint row, in the router window's logical pixels from its top.
using EndpointConnectorYPositions = std::unordered_map<EndpointPositionKey, double>;

}  // namespace corvel::ui
