#include "ui/controls/PopUpButton.hpp"

#include "ui/QtText.hpp"
#include "ui/controls/Painting.hpp"
#include "ui/controls/PopUpMenu.hpp"

#include <QAction>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kIconSize = 18;
constexpr int kPadding = 12;
constexpr int kIconPadding = 6;
constexpr qreal kRadius = 8;

}  // namespace

PopUpButton::PopUpButton(const Look& look, QSize size, bool isFilled, QWidget* parent)
    : LookButton(look, parent), size_(size), isFilled_(isFilled) {
    setFixedSize(size);
    setFont(Look::font(14, QFont::Medium));
    connect(this, &QAbstractButton::clicked, this, &PopUpButton::openMenu);
}

void PopUpButton::setItems(const QStringList& items, int chosen) {
    items_ = items;
    chosen_ = chosen;
    setLabel(items_.value(chosen));
}

void PopUpButton::setLabel(const QString& label) {
    setPlainText(label);
    update();
}

void PopUpButton::setFilled(bool isFilled) {
    isFilled_ = isFilled;
    update();
}

void PopUpButton::openMenu() {
    auto* const menu = new PopUpMenu(look(), this);
    menu_ = menu;
    connect(menu, &QMenu::aboutToHide, this, [this] {
        menu_ = nullptr;
        announceState(AccessibleState::expanded);
    });
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setMinimumWidth(width());
    for (qsizetype index = 0; index < items_.size(); ++index) {
        QAction* const action = menu->addItem(items_[index], index == chosen_);
        action->setToolTip(plainToolTip(itemHelps_.value(index)));
        connect(action, &QAction::triggered, this, [this, index] { emit itemChosen(static_cast<int>(index)); });
    }
    menu->popup(mapToGlobal(QPoint(0, height() + 2)));
    menu->setActiveAction(menu->actions().value(chosen_));
    announceState(AccessibleState::expanded);
}

void PopUpButton::addAccessibleState(QAccessible::State& state) const {
    state.hasPopup = 1U;
    state.expandable = 1U;
    state.expanded = menu_ != nullptr ? 1U : 0U;
    state.collapsed = menu_ == nullptr ? 1U : 0U;
}

void PopUpButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Up) {
        click();
        return;
    }
    LookButton::keyPressEvent(event);
}

void PopUpButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole = rect();
    const QColor rest = isFilled_ ? theme().raised : transparent(theme().raisedHover);
    const qreal inset = showsFocus() ? kFocusInset : 0;
    painter.fillPath(roundedPath(whole.adjusted(inset, inset, -inset, -inset), kRadius - inset),
                     stateFill(rest, theme().raisedHover, theme().raisedPressed));
    if (showsFocus()) {
        paintRing(painter, whole, kRadius, theme().accent);
    } else {
        paintOutline(painter, whole, kRadius, theme().edge);
    }
    const QColor ink = isEnabled() ? theme().text : theme().disabled;
    painter.drawPixmap(QPointF(whole.width() - kIconPadding - kIconSize, (whole.height() - kIconSize) / 2),
                       look().icon(QStringLiteral("chevron.up.chevron.down"), kIconSize,
                                   isEnabled() ? theme().text2 : theme().disabled, devicePixelRatioF()));
    const QRectF room(kPadding, 0, whole.width() - kPadding - kIconSize - 2 * kIconPadding, whole.height());
    painter.setPen(ink);
    painter.setFont(font());
    painter.drawText(room, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                     QFontMetricsF(font()).elidedText(text(), Qt::ElideMiddle, room.width()));
}

}  // namespace corvel::ui
