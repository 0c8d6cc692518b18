#include "ui/controls/TextButton.hpp"

#include "ui/controls/Painting.hpp"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

namespace corvel::ui {

namespace {

constexpr int kHeight = 36;
constexpr int kIconSize = 20;
constexpr int kIconGap = 8;
/// Narrower, because an icon has a margin of its own.
constexpr int kIconPadding = 12;
constexpr int kPadding = 16;
constexpr qreal kRadius = 8;

}  // namespace

TextButton::TextButton(const Look& look, const QString& text, Role role, QWidget* parent)
    : LookButton(look, parent), role_(role) {
    setText(text);
    setFont(Look::font(14, role == Role::primary ? QFont::DemiBold : QFont::Medium));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TextButton::setIconName(const QString& name) {
    iconName_ = name;
    updateGeometry();
}

QSize TextButton::sizeHint() const {
    const int textWidth = static_cast<int>(std::ceil(QFontMetricsF(font()).horizontalAdvance(text())));
    const int before = iconName_.isEmpty() ? kPadding : kIconPadding + kIconSize + kIconGap;
    return {before + textWidth + kPadding, kHeight};
}

QColor TextButton::fill() const {
    if (role_ == Role::primary) {
        return isEnabled() ? stateFill(theme().accentFill, theme().accentFillHover, theme().accentFillPressed)
                           : theme().disabledFill;
    }
    return stateFill(theme().raisedHover, theme().raisedPressed, theme().raisedPressed);
}

QColor TextButton::ink() const {
    if (!isEnabled()) {
        return theme().disabled;
    }
    switch (role_) {
        case Role::primary:
            return theme().accentInk;
        case Role::quiet:
            return theme().text;
        case Role::destructive:
            break;
    }
    return theme().danger;
}

void TextButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = rect();
    const qreal inset = showsFocus() ? kFocusInset : 0;
    painter.fillPath(roundedPath(whole.adjusted(inset, inset, -inset, -inset), kRadius - inset), fill());
    if (showsFocus()) {
        paintRing(painter, whole, kRadius, theme().accent);
    }

    const qreal textWidth = QFontMetricsF(font()).horizontalAdvance(text());
    const qreal iconWidth = iconName_.isEmpty() ? 0 : kIconSize + kIconGap;
    // If the button is stretched, the content stays in the middle, corrected for the narrower padding at the icon.
    const qreal asymmetry = iconName_.isEmpty() ? 0 : (kPadding - kIconPadding) / 2.0;
    qreal x = (whole.width() - iconWidth - textWidth) / 2 - asymmetry;
    if (!iconName_.isEmpty()) {
        painter.drawPixmap(QPointF(std::round(x), (whole.height() - kIconSize) / 2),
                           look().icon(iconName_, kIconSize, ink(), devicePixelRatioF()));
        x += iconWidth;
    }
    painter.setPen(ink());
    painter.setFont(font());
    painter.drawText(QRectF(x, 0, textWidth + 1, whole.height()), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                     text());
}

}  // namespace corvel::ui
