#pragma once

#include "app/AppAppearanceMode.hpp"
#include "ui/RouterWindow/RouteLine.hpp"

#include <cstdint>

class QPainter;

namespace corvel::ui {

/// How strongly a line glows.
enum class RouteGlow : std::uint8_t { none, hovered, selected };

/// Draws a connection's curve with its glow.
void paintRouteLine(QPainter& painter, const RouteLine& line, RouteGlow glow, AppAppearanceMode mode);

/// Draws a connection's two marks.
void paintConnectorMarks(QPainter& painter, const RouteLine& line, AppAppearanceMode mode);

/// The shape of a connector mark at the stage's left edge (round on the right) or right edge (round on the left).
[[nodiscard]] QPainterPath startMarkPath(const QRectF& rect);
[[nodiscard]] QPainterPath endMarkPath(const QRectF& rect);

}  // namespace corvel::ui
