#pragma once

#include <QColor>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>

class QPainter;
class QWidget;

/// Shapes and colours that several controls share.
namespace corvel::ui {

/// Which corners of a shape are round.
enum class Corners { all, left, right };

/// A rectangle with these corners rounded.
[[nodiscard]] QPainterPath roundedPath(const QRectF& rect, qreal radius, Corners corners = Corners::all);

/// The mixture of two colours; `level` 0 is the first and 1 the second.
[[nodiscard]] QColor mixed(const QColor& from, const QColor& to, qreal level);

/// The colour with zero opacity, as the start of fading it in.
[[nodiscard]] QColor transparent(QColor colour);

/// Draws a line two pixels wide along the inside of the rectangle's edge.
void paintRing(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour,
               Corners corners = Corners::all);

/// Draws a line one pixel wide along the inside of the rectangle's edge.
void paintOutline(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour,
                  Corners corners = Corners::all);

/// A horizontal divider of whole device pixels at any ratio.
void paintHairline(QPainter& painter, QPointF from, qreal length, const QColor& colour);

/// The duration of a change; 0 if the desktop's style has animations switched off.
[[nodiscard]] int animationDuration(const QWidget& widget, int milliseconds);

/// Inset of a focused control's fill, so that a gap is visible between the fill and the ring.
inline constexpr qreal kFocusInset = 4;

}  // namespace corvel::ui
