#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The text that a drag of an input row carries: the application's identifier, ".source:" and the input's unique ID in
/// decimal. Pure functions.
namespace corvel::ui::EndpointDragPayload {

[[nodiscard]] std::string text(std::int32_t sourceID);

/// The input of a payload; no value for any other text, such as one dragged from another program.
[[nodiscard]] std::optional<std::int32_t> sourceID(std::string_view text);

}  // namespace corvel::ui::EndpointDragPayload
