#include "ui/RouterWindow/RouteSwatch.hpp"

#include "ui/QtText.hpp"

#include <QPainter>

namespace corvel::ui {

namespace {

constexpr qreal kThickness = 4;
constexpr qreal kDash = 6;
constexpr qreal kGap = 5;

}  // namespace

RouteSwatch::RouteSwatch(QWidget* parent) : QWidget(parent) {
    setPlainToolTip(this, QStringLiteral("Connection line color"));
    setAccessibleName(QStringLiteral("Connection line color"));
}

void RouteSwatch::setLine(const QColor& colour, bool isDashed) {
    if (colour == colour_ && isDashed == isDashed_) {
        return;
    }
    colour_ = colour;
    isDashed_ = isDashed;
    update();
}

void RouteSwatch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bar(0, (height() - kThickness) / 2, width(), kThickness);
    constexpr qreal kCap = kThickness / 2;
    if (!isDashed_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour_);
        painter.drawRoundedRect(bar, kCap, kCap);
        return;
    }
    // Dashes have flat ends. They start where the round end of the solid line would start.
    for (qreal x = bar.left() + kCap; x + kDash <= bar.right() - kCap; x += kDash + kGap) {
        painter.fillRect(QRectF(x, bar.top(), kDash, kThickness), colour_);
    }
}

}  // namespace corvel::ui
