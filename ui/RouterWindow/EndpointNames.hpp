#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/engine/MIDIEndpointModel.hpp"

#include <QString>

#include <cstdint>
#include <optional>
#include <string>

namespace corvel::ui {

/// What the window calls an endpoint: the user's own name for it, else the system's, else the stored one.
[[nodiscard]] QString shownEndpointName(const MIDIRouterViewModel& model, MIDIEndpointDirection direction,
                                        std::int32_t endpointID, const std::optional<std::string>& storedName);

/// The connection's input and output as `shownEndpointName` gives them.
[[nodiscard]] QString shownInputName(const MIDIRouterViewModel& model, const MIDIRoute& route);
[[nodiscard]] QString shownOutputName(const MIDIRouterViewModel& model, const MIDIRoute& route);

}  // namespace corvel::ui
