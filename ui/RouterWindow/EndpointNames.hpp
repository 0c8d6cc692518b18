#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/engine/MIDIEndpointModel.hpp"

#include <QString>

#include <cstdint>
#include <optional>
#include <string>

namespace corvel::ui {

/// The endpoint's name in the window: the user's own name, otherwise the system's, otherwise the stored one,
/// with codes for invisible characters (`shownName`).
[[nodiscard]] QString shownEndpointName(const MIDIRouterViewModel& model, MIDIEndpointDirection direction,
                                        std::int32_t endpointID, const std::optional<std::string>& storedName);

/// The names of the connection's input and output, as `shownEndpointName` gives them.
[[nodiscard]] QString shownInputName(const MIDIRouterViewModel& model, const MIDIRoute& route);
[[nodiscard]] QString shownOutputName(const MIDIRouterViewModel& model, const MIDIRoute& route);

}  // namespace corvel::ui
