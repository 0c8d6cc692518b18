#include "ui/controls/IconButton.hpp"

#include "ui/QtText.hpp"
#include "ui/controls/Painting.hpp"

#include <QPainter>

#include <utility>

namespace corvel::ui {

namespace {

constexpr int kIconSize = 20;
constexpr qreal kRadius = 8;

}  // namespace

IconButton::IconButton(const Look& look, QString iconName, const QString& help, int side, QWidget* parent)
    : LookButton(look, parent), iconName_(std::move(iconName)), side_(side) {
    setFixedSize(side, side);
    setHelp(help);
}

void IconButton::setIconName(const QString& name) {
    iconName_ = name;
    update();
}

void IconButton::setChosen(bool isChosen) {
    isChosen_ = isChosen;
    update();
}

void IconButton::setHelp(const QString& help) {
    setPlainToolTip(this, help);
    setAccessibleName(help);
}

void IconButton::setRestInk(QColor Theme::*ink) {
    restInk_ = ink;
    update();
}

QColor IconButton::ink() const {
    if (!isEnabled()) {
        return theme().disabled;
    }
    return mixed(isChosen_ ? theme().accent : theme().*restInk_,
                 role_ == Role::destructive ? theme().danger : theme().text, hoverLevel());
}

void IconButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isEnabled()) {
        painter.fillPath(roundedPath(rect(), kRadius),
                         stateFill(isChosen_ ? theme().selected : transparent(theme().raisedHover), theme().raisedHover,
                                   theme().raisedPressed));
    }
    const int offset = (side_ - kIconSize) / 2;
    painter.drawPixmap(offset, offset, look().icon(iconName_, kIconSize, ink(), devicePixelRatioF()));
    if (showsFocus()) {
        paintRing(painter, rect(), kRadius, theme().accent);
    }
}

}  // namespace corvel::ui
