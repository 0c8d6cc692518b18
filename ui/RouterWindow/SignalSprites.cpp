#include "ui/RouterWindow/SignalSprites.hpp"

#include "ui/RouterWindow/RouteLine.hpp"
#include "ui/RouterWindow/RouteLinePainting.hpp"
#include "ui/controls/Painting.hpp"

#include <QPainter>
#include <QPen>
#include <QRadialGradient>

#include <cmath>

namespace corvel::ui {

namespace {

constexpr qreal kCoreRadius = 5.5;
constexpr qreal kRimWidth = 1.5;
constexpr qreal kRimShade = .66;
constexpr qreal kRingRadius = 18;
constexpr qreal kRingWidth = 3;
constexpr qreal kRingThinning = 1.75;
constexpr qreal kRingShade = .86;
constexpr qreal kAntialiasingRoom = 1;
constexpr int kRingAges = 64;

QColor withAlpha(QColor color, qreal alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

QColor shaded(const QColor& color, qreal level) {
    return mixed(Qt::black, color, level);
}

QColor whitened(const QColor& color, qreal level) {
    return mixed(color, Qt::white, level);
}

void fillCircle(QPainter& painter, qreal radius, const QBrush& brush) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(brush);
    painter.drawEllipse(QPointF(), radius, radius);
}

void strokeCircle(QPainter& painter, qreal radius, const QPen& pen) {
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QPointF(), radius, radius);
}

QRadialGradient gradient(qreal radius, const QGradientStops& stops) {
    QRadialGradient result(QPointF(), radius);
    result.setStops(stops);
    return result;
}

/// A transparent picture of the logical rectangle around the origin.
Sprite makeSprite(const QRectF& around, qreal ratio) {
    const QPoint upperLeft(static_cast<int>(std::floor(around.left() * ratio)),
                           static_cast<int>(std::floor(around.top() * ratio)));
    const QPoint lowerRight(static_cast<int>(std::ceil(around.right() * ratio)),
                            static_cast<int>(std::ceil(around.bottom() * ratio)));
    Sprite sprite{QPixmap(lowerRight.x() - upperLeft.x(), lowerRight.y() - upperLeft.y()), -upperLeft};
    sprite.pixmap.fill(Qt::transparent);
    return sprite;
}

void prepare(QPainter& painter, const Sprite& sprite, qreal ratio) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(sprite.origin);
    painter.scale(ratio, ratio);
}

void paintDarkSignal(QPainter& painter, const QColor& color) {
    fillCircle(painter, 20,
               gradient(20, {{0, withAlpha(color, .9)},
                             {.28, withAlpha(color, .45)},
                             {.6, withAlpha(color, .14)},
                             {1, withAlpha(color, 0)}}));
    fillCircle(painter, kCoreRadius,
               gradient(kCoreRadius, {{0, whitened(color, .72)}, {.3, whitened(color, .5)}, {.75, color}, {1, color}}));
}

void paintLightSignal(QPainter& painter, const QColor& color) {
    fillCircle(painter, 16,
               gradient(16, {{0, withAlpha(color, .6)},
                             {.35, withAlpha(color, .34)},
                             {.65, withAlpha(color, .12)},
                             {1, withAlpha(color, 0)}}));
    fillCircle(painter, kCoreRadius, gradient(kCoreRadius, {{0, whitened(color, .3)}, {.6, color}, {1, color}}));
    strokeCircle(painter, kCoreRadius, QPen(shaded(color, kRimShade), kRimWidth));
}

}  // namespace

const Sprite& SignalSprites::signal(const QColor& color) {
    Sprite& sprite = signals_[color.rgb()];
    if (sprite.pixmap.isNull()) {
        sprite = makeSignal(color);
    }
    return sprite;
}

const Sprite& SignalSprites::ring(const QColor& color, const RouteOutputPulse& pulse) {
    const int age = static_cast<int>(std::lround((1 - pulse.opacity) * kRingAges));
    Sprite& sprite = rings_[quint64{color.rgb()} * (kRingAges + 1) + static_cast<quint64>(age)];
    if (sprite.pixmap.isNull()) {
        sprite = makeRing(color, static_cast<qreal>(age) / kRingAges);
    }
    return sprite;
}

Sprite SignalSprites::makeSignal(const QColor& color) const {
    const bool isLight = mode_ == AppAppearanceMode::light;
    const qreal reach = (isLight ? 16 : 20) + kAntialiasingRoom;
    Sprite sprite = makeSprite(QRectF(-reach, -reach, 2 * reach, 2 * reach), ratio_);
    QPainter painter(&sprite.pixmap);
    prepare(painter, sprite, ratio_);
    if (isLight) {
        paintLightSignal(painter, color);
    } else {
        paintDarkSignal(painter, color);
    }
    return sprite;
}

Sprite SignalSprites::makeRing(const QColor& color, qreal age) const {
    const qreal opacity = 1 - age;
    const qreal radius = kRingRadius * (.55 + 1.15 * age);
    const qreal width = kRingWidth - kRingThinning * age;
    const qreal reach = radius + width / 2 + kAntialiasingRoom;
    // The right edge of the stage is the outer edge of the mark.
    const qreal right = RouteLine::kConnectorWidth / 2;
    Sprite sprite = makeSprite(QRectF(QPointF(-reach, -reach), QPointF(right, reach)), ratio_);
    QPainter painter(&sprite.pixmap);
    prepare(painter, sprite, ratio_);
    const QRectF mark(-RouteLine::kConnectorWidth / 2, -RouteLine::kConnectorHeight / 2, RouteLine::kConnectorWidth,
                      RouteLine::kConnectorHeight);
    painter.fillPath(endMarkPath(mark), withAlpha(color, opacity));
    fillCircle(painter, radius,
               gradient(radius, {{0, withAlpha(color, .34 * opacity)},
                                 {.6, withAlpha(color, .12 * opacity)},
                                 {1, withAlpha(color, .04 * opacity)}}));
    const QColor stroke = mode_ == AppAppearanceMode::light ? shaded(color, kRingShade) : color;
    strokeCircle(painter, radius, QPen(withAlpha(stroke, opacity), width));
    return sprite;
}

}  // namespace corvel::ui
