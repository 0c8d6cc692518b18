#pragma once

#include "app/AppAppearanceMode.hpp"
#include "ui/RouterWindow/RouteOutputPulse.hpp"

#include <QColor>
#include <QHash>
#include <QPixmap>
#include <QPoint>
#include <QRect>

namespace corvel::ui {

/// A small picture in device pixels.
struct Sprite {
    QPixmap pixmap;
    /// The pixel of the picture that stands at the place where it is drawn.
    QPoint origin;

    /// The device pixels that it covers at this place.
    [[nodiscard]] QRect rectAt(const QPoint& place) const { return {place - origin, pixmap.size()}; }
};

/// The stage's moving parts, drawn once for one appearance and one device pixel ratio and copied from then on:
/// gradients are much too slow to be drawn for every signal in every frame.
class SignalSprites {
public:
    SignalSprites() = default;
    SignalSprites(AppAppearanceMode mode, qreal devicePixelRatio) : mode_(mode), ratio_(devicePixelRatio) {}

    /// A signal in full opacity, to be placed by its middle.
    [[nodiscard]] const Sprite& signal(const QColor& color);

    /// A ring with the tint of the mark below it, as far as the stage's edge lets them show, to be placed by the mark's
    /// middle. Its age is rounded to a sixty-fourth of a ring's life.
    [[nodiscard]] const Sprite& ring(const QColor& color, const RouteOutputPulse& pulse);

private:
    [[nodiscard]] Sprite makeSignal(const QColor& color) const;
    [[nodiscard]] Sprite makeRing(const QColor& color, qreal age) const;

    AppAppearanceMode mode_ = AppAppearanceMode::dark;
    qreal ratio_ = 1;
    QHash<QRgb, Sprite> signals_;
    QHash<quint64, Sprite> rings_;
};

}  // namespace corvel::ui
