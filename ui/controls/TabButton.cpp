#include "ui/controls/TabButton.hpp"

#include "ui/controls/Painting.hpp"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kPadding = 10;
constexpr int kIconSize = 18;
constexpr int kGap = 8;
constexpr int kLineHeight = 3;
constexpr qreal kRadius = 8;

QFont titleFont(bool isActive) {
    return Look::font(14, isActive ? QFont::DemiBold : QFont::Medium);
}

}  // namespace

TabButton::TabButton(const Look& look, QString iconName, const QString& title, QWidget* parent)
    : LookButton(look, parent), iconName_(std::move(iconName)) {
    setText(title);
    setFixedHeight(kHeight);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TabButton::setActive(bool isActive) {
    isActive_ = isActive;
    announceState(AccessibleState::selected);
    update();
}

void TabButton::addAccessibleState(QAccessible::State& state) const {
    state.selectable = 1U;
    state.selected = isActive_ ? 1U : 0U;
}

QSize TabButton::sizeHint() const {
    // As wide as with the active font, so that nothing moves.
    const int titleWidth = static_cast<int>(std::ceil(QFontMetricsF(titleFont(true)).horizontalAdvance(text())));
    return {kPadding + kIconSize + kGap + titleWidth + kPadding, kHeight};
}

void TabButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor rest = isActive_ ? theme().text : theme().text2;
    const QColor ink = mixed(rest, theme().text, hoverLevel());
    painter.drawPixmap(QPointF(kPadding, (kHeight - kIconSize) / 2.0),
                       look().icon(iconName_, kIconSize, isActive_ ? theme().accent : ink, devicePixelRatioF()));
    painter.setPen(ink);
    painter.setFont(titleFont(isActive_));
    painter.drawText(rect().adjusted(kPadding + kIconSize + kGap, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, text());
    if (isActive_) {
        painter.fillPath(roundedPath(QRectF(0, kHeight - kLineHeight, width(), kLineHeight), kLineHeight / 2.0),
                         theme().accent);
    }
    if (showsFocus()) {
        paintRing(painter, rect(), kRadius, theme().accent);
    }
}

}  // namespace corvel::ui
