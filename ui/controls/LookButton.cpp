#include "ui/controls/LookButton.hpp"

#include "ui/controls/Accessibility.hpp"
#include "ui/controls/Painting.hpp"

#include <QEasingCurve>
#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>

namespace corvel::ui {

namespace {

constexpr int kFadeIn = 90;
constexpr int kFadeOut = 140;

}  // namespace

bool isByKeyboard(Qt::FocusReason reason) {
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
}

QWidget* makeTabPlace(QWidget& parent) {
    auto* const place = new QWidget(&parent);
    place->setFocusPolicy(Qt::TabFocus);
    place->hide();
    return place;
}

LookButton::LookButton(const Look& look, QWidget* parent) : QAbstractButton(parent), look_(look) {
    // Before the name is set, because setting it makes screen readers ask for the button's interface.
    installControlAccessibility();
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    hover_.setEasingCurve(QEasingCurve::OutCubic);
    hover_.setStartValue(0.0);
    hover_.setEndValue(0.0);
    connect(&hover_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    connect(&look, &Look::changed, this, [this] { update(); });
}

void LookButton::setPlainText(const QString& text) {
    setText(text);
    setShortcut({});
    setAccessibleName(text);
}

qreal LookButton::hoverLevel() const {
    if (!isEnabled()) {
        return 0;
    }
    return isDown() ? 1 : hover_.currentValue().toReal();
}

QColor LookButton::stateFill(const QColor& rest, const QColor& hovered, const QColor& pressed) const {
    return isDown() ? pressed : mixed(rest, hovered, hoverLevel());
}

void LookButton::announceState(AccessibleState changed) {
    QAccessible::State state;
    state.selected = changed == AccessibleState::selected ? 1U : 0U;
    state.checked = changed == AccessibleState::checked ? 1U : 0U;
    state.expanded = changed == AccessibleState::expanded ? 1U : 0U;
    QAccessibleStateChangeEvent event(this, state);
    QAccessible::updateAccessibility(&event);
}

void LookButton::announceDescription() {
    QAccessibleEvent event(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

void LookButton::fadeTo(qreal level, int milliseconds) {
    const qreal present = hover_.currentValue().toReal();
    hover_.stop();
    hover_.setStartValue(present);
    hover_.setEndValue(level);
    hover_.setDuration(animationDuration(*this, milliseconds));
    hover_.start();
}

void LookButton::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    fadeTo(1, kFadeIn);
}

void LookButton::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    fadeTo(0, kFadeOut);
}

void LookButton::focusInEvent(QFocusEvent* event) {
    // When a window returns to the front, the focus returns with or without its ring, as before.
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason) {
        isKeyboardFocus_ = isByKeyboard(event->reason());
    }
    QAbstractButton::focusInEvent(event);
    update();
}

void LookButton::focusOutEvent(QFocusEvent* event) {
    QAbstractButton::focusOutEvent(event);
    update();
}

void LookButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void LookButton::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

void LookButton::changeEvent(QEvent* event) {
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::EnabledChange) {
        update();
    }
}

}  // namespace corvel::ui
