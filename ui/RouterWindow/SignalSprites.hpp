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
    /// The pixel of the picture that is placed at the drawing position.
    QPoint origin;

    /// The device pixels that it covers at this position.
    [[nodiscard]] QRect rectAt(const QPoint& place) const { return {place - origin, pixmap.size()}; }
};

/// The stage's moving parts. They are drawn once for an appearance and a device pixel ratio and then copied, because
/// drawing gradients for every signal in every frame is much too slow.
class SignalSprites {
public:
    SignalSprites() = default;
    SignalSprites(AppAppearanceMode mode, qreal devicePixelRatio) : mode_(mode), ratio_(devicePixelRatio) {}

    /// A signal in full opacity. Its middle is the drawing position.
    [[nodiscard]] const Sprite& signal(const QColor& color);

    /// A ring with the tint of the mark below it, clipped at the stage's edge. The middle of the mark is the drawing
    /// position. The age is rounded to 1/64 of a ring's duration.
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
