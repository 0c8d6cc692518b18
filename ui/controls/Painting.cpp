#include "ui/controls/Painting.hpp"

#include <QPainter>
#include <QPen>
#include <QStyle>
#include <QTransform>
#include <QWidget>

#include <algorithm>
#include <cmath>

namespace corvel::ui {

namespace {

void strokeInside(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour, qreal width,
                  Corners corners) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(colour, width);
    pen.setJoinStyle(Qt::MiterJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const qreal inset = width / 2;
    painter.drawPath(roundedPath(rect.adjusted(inset, inset, -inset, -inset), radius - inset, corners));
    painter.restore();
}

}  // namespace

QPainterPath roundedPath(const QRectF& rect, qreal radius, Corners corners) {
    QPainterPath path;
    if (corners == Corners::all) {
        path.addRoundedRect(rect, radius, radius);
        return path;
    }
    path.setFillRule(Qt::WindingFill);
    path.addRoundedRect(rect, radius, radius);
    const qreal half = rect.width() / 2;
    path.addRect(corners == Corners::left ? rect.adjusted(half, 0, 0, 0) : rect.adjusted(0, 0, -half, 0));
    return path.simplified();
}

QColor mixed(const QColor& from, const QColor& to, qreal level) {
    const auto between = [level](float first, float second) {
        return first + (second - first) * static_cast<float>(level);
    };
    return QColor::fromRgbF(between(from.redF(), to.redF()), between(from.greenF(), to.greenF()),
                            between(from.blueF(), to.blueF()), between(from.alphaF(), to.alphaF()));
}

QColor transparent(QColor colour) {
    colour.setAlpha(0);
    return colour;
}

void paintRing(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour, Corners corners) {
    strokeInside(painter, rect, radius, colour, 2, corners);
}

void paintOutline(QPainter& painter, const QRectF& rect, qreal radius, const QColor& colour, Corners corners) {
    strokeInside(painter, rect, radius, colour, 1, corners);
}

void paintHairline(QPainter& painter, QPointF from, qreal length, const QColor& colour) {
    const QTransform toDevice = painter.deviceTransform();
    const QRectF line = toDevice.mapRect(QRectF(from, QSizeF(length, 1)));
    const QRectF snapped(std::round(line.x()), std::round(line.y()), std::round(line.width()),
                         std::max(1.0, std::floor(line.height())));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(toDevice.inverted().mapRect(snapped), colour);
    painter.restore();
}

int animationDuration(const QWidget& widget, int milliseconds) {
    return widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget) == 0 ? 0 : milliseconds;
}

}  // namespace corvel::ui
