#pragma once

#include <QColor>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>

class QPainter;
class QWidget;

/// Shapes that several controls share.
namespace corvel::ui {

/// Which corners of a shape are round.
enum class Corners { all, left, right };

/// A rectangle with some of its corners round.
[[nodiscard]] QPainterPath roundedPath(const QRectF& rect, qreal radius, Corners corners = Corners::all);

/// The colour that lies between two, `level` 0 being the first and 1 the second.
[[nodiscard]] QColor mixed(const QColor& from, const QColor& to, qreal level);

/// The colour as if it were not there, to fade it in from.
[[nodiscard]] QColor transparent(QColor colour);

/// Two pixels along the inside of the rectangle's edge.
void paintRing(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour,
               Corners corners = Corners::all);

/// One pixel along the inside of the rectangle's edge.
void paintOutline(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour,
                  Corners corners = Corners::all);

/// A horizontal divider of whole device pixels, at whatever ratio.
void paintHairline(QPainter& painter, QPointF from, qreal length, const QColor& colour);

/// The time that a change takes, 0 where the desktop's style has animations switched off.
[[nodiscard]] int animationDuration(const QWidget& widget, int milliseconds);

/// How far the fill of a focused control is pulled in, so that a gap shows between it and the ring.
inline constexpr qreal kFocusInset = 4;

}  // namespace corvel::ui
