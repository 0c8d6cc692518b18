#pragma once

#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"

#include <QColor>

#include <cstddef>
#include <span>

/// The colours that distinguish connections.
namespace corvel::ui::RouteColorPalette {

inline constexpr std::size_t kColorCount = 12;

/// The colour index of a connection that is in no list: the same in every run, below `kColorCount`.
[[nodiscard]] std::size_t stableIndex(const UUID& routeID);

/// A connection's colour, given by its place in the list. The first connection always has the first colour.
[[nodiscard]] QColor color(const UUID& routeID, std::span<const MIDIRoute> routes);

}  // namespace corvel::ui::RouteColorPalette
