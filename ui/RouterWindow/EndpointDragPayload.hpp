#pragma once

#include "core/engine/MIDIEndpointModel.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The text in the drag of an endpoint's row: the application's identifier, ".source:" for an input or ".destination:"
/// for an output, and the endpoint's unique ID in decimal. Pure functions.
namespace corvel::ui::EndpointDragPayload {

[[nodiscard]] std::string text(MIDIEndpointDirection direction, std::int32_t endpointID);

/// The endpoint of a payload for this direction; no value for any other text, such as one dragged from another program.
[[nodiscard]] std::optional<std::int32_t> endpointID(MIDIEndpointDirection direction, std::string_view text);

/// The input in a payload.
[[nodiscard]] std::optional<std::int32_t> sourceID(std::string_view text);

}  // namespace corvel::ui::EndpointDragPayload
