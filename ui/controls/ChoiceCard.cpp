#include "ui/controls/ChoiceCard.hpp"

#include "ui/controls/Painting.hpp"

#include <QPainter>

#include <utility>

namespace corvel::ui {

namespace {

constexpr int kHeight = 48;
constexpr int kPadding = 14;
constexpr int kIconSize = 20;
constexpr int kGap = 12;
constexpr int kRingSize = 16;
constexpr qreal kRingWidth = 1.5;
constexpr qreal kChosenRingWidth = 5;
constexpr qreal kRadius = 8;

}  // namespace

ChoiceCard::ChoiceCard(const Look& look, QString iconName, const QString& title, QWidget* parent)
    : LookButton(look, parent), iconName_(std::move(iconName)) {
    setText(title);
    setFixedHeight(kHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ChoiceCard::setChosen(bool isChosen) {
    isChosen_ = isChosen;
    announceState(AccessibleState::checked);
    update();
}

void ChoiceCard::addAccessibleState(QAccessible::State& state) const {
    state.checkable = 1U;
    state.checked = isChosen_ ? 1U : 0U;
}

void ChoiceCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = rect();
    const qreal inset = showsFocus() ? kFocusInset : 0;
    painter.fillPath(
        roundedPath(whole.adjusted(inset, inset, -inset, -inset), kRadius - inset),
        isChosen_ ? theme().selected : stateFill(theme().raised, theme().raisedHover, theme().raisedPressed));
    if (showsFocus()) {
        paintRing(painter, whole, kRadius, theme().accent);
    } else {
        paintOutline(painter, whole, kRadius, isChosen_ ? theme().selectedEdge : theme().edge);
    }
    painter.drawPixmap(
        QPointF(kPadding, (kHeight - kIconSize) / 2.0),
        look().icon(iconName_, kIconSize, isChosen_ ? theme().accent : theme().text2, devicePixelRatioF()));
    painter.setPen(theme().text);
    painter.setFont(Look::font(14, isChosen_ ? QFont::DemiBold : QFont::Medium));
    painter.drawText(whole.adjusted(kPadding + kIconSize + kGap, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, text());

    const qreal width = isChosen_ ? kChosenRingWidth : kRingWidth;
    const QRectF ring(whole.width() - kPadding - kRingSize, (kHeight - kRingSize) / 2.0, kRingSize, kRingSize);
    painter.setPen(QPen(isChosen_ ? theme().accent : theme().text2, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(ring.adjusted(width / 2, width / 2, -width / 2, -width / 2));
}

}  // namespace corvel::ui
