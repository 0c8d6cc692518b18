#pragma once

#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"

#include <QColor>

#include <cstddef>
#include <span>

/// The colours that tell connections apart.
namespace corvel::ui::RouteColorPalette {

inline constexpr std::size_t kColorCount = 12;

/// A colour's index for a connection that is in no list: the same in every run, below `kColorCount`.
[[nodiscard]] std::size_t stableIndex(const UUID& routeID);

/// A connection's colour: that of its place in the list, so that the first connection always has the first colour.
[[nodiscard]] QColor color(const UUID& routeID, std::span<const MIDIRoute> routes);

}  // namespace corvel::ui::RouteColorPalette
