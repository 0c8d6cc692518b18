#include "ui/controls/SwitchCard.hpp"

#include "ui/controls/Painting.hpp"

#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kHeight = 60;
constexpr int kPadding = 14;
constexpr int kTitleHeight = 20;
constexpr int kExplanationHeight = 18;
constexpr qreal kRadius = 8;
constexpr QSizeF kSwitchSize(36, 20);
constexpr qreal kKnobInset = 3;
constexpr int kTextFlags = Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine;

}  // namespace

SwitchCard::SwitchCard(const Look& look, const QString& title, const QString& explanation, QWidget* parent)
    : LookButton(look, parent), explanation_(explanation) {
    setText(title);
    setCheckable(true);
    setAccessibleDescription(explanation);
    setFixedHeight(kHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SwitchCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = rect();
    const qreal inset = showsFocus() ? kFocusInset : 0;
    painter.fillPath(roundedPath(whole.adjusted(inset, inset, -inset, -inset), kRadius - inset),
                     stateFill(theme().raised, theme().raisedHover, theme().raisedPressed));
    if (showsFocus()) {
        paintRing(painter, whole, kRadius, theme().accent);
    } else {
        paintOutline(painter, whole, kRadius, theme().edge);
    }
    QRectF line(kPadding, (kHeight - kTitleHeight - kExplanationHeight) / 2.0,
                whole.width() - kSwitchSize.width() - 3 * kPadding, kTitleHeight);
    painter.setPen(theme().text);
    painter.setFont(Look::font(14, QFont::Medium));
    painter.drawText(line, kTextFlags, text());
    line = QRectF(line.left(), line.bottom(), line.width(), kExplanationHeight);
    painter.setPen(theme().text2);
    painter.setFont(Look::font(13));
    painter.drawText(line, kTextFlags, explanation_);
    paintSwitch(painter);
}

/// On and off differ in the position of the knob as well as in colour.
void SwitchCard::paintSwitch(QPainter& painter) const {
    const QRectF track(QPointF(width() - kPadding - kSwitchSize.width(), (kHeight - kSwitchSize.height()) / 2),
                       kSwitchSize);
    const qreal radius = kSwitchSize.height() / 2;
    if (isChecked()) {
        painter.fillPath(roundedPath(track, radius), theme().accentFill);
    } else {
        paintOutline(painter, track, radius, theme().text2);
    }
    const qreal size = kSwitchSize.height() - 2 * kKnobInset;
    const qreal left = isChecked() ? track.right() - kKnobInset - size : track.left() + kKnobInset;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? theme().accentInk : theme().text2);
    painter.drawEllipse(QRectF(left, track.top() + kKnobInset, size, size));
}

}  // namespace corvel::ui
