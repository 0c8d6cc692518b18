#pragma once

#include "core/engine/MIDIEndpointModel.hpp"

#include <cstdint>
#include <string>
#include <utility>

namespace corvel::tests {

/// An input that is online.
[[nodiscard]] inline MIDIEndpointModel makeInput(std::int32_t id, std::string name) {
    return {.id = id,
            .endpointRef = 0,
            .displayName = std::move(name),
            .manufacturer = std::nullopt,
            .direction = MIDIEndpointDirection::source,
            .isOnline = true};
}

/// An output that is online.
[[nodiscard]] inline MIDIEndpointModel makeOutput(std::int32_t id, std::string name) {
    MIDIEndpointModel endpoint = makeInput(id, std::move(name));
    endpoint.direction = MIDIEndpointDirection::destination;
    return endpoint;
}

}  // namespace corvel::tests
