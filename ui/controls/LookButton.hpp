#pragma once

#include "ui/Look.hpp"

#include <QAbstractButton>
#include <QAccessible>
#include <QVariantAnimation>

#include <optional>

namespace corvel::ui {

/// Whether a focus that came for this reason is shown by a ring.
[[nodiscard]] bool isByKeyboard(Qt::FocusReason reason);

/// A view that is never seen and never gets the focus. It keeps a place in the order of the Tab key for views that come
/// and go: the toolkit puts new ones last in the window, and orders them only after a view that could have the focus.
[[nodiscard]] QWidget* makeTabPlace(QWidget& parent);

/// Base of all clickable views: knows whether it is hovered, pressed and focused by keyboard, and fades between the
/// first two. What it looks like is up to the view.
class LookButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit LookButton(const Look& look, QWidget* parent = nullptr);

    /// A text from outside, such as a name, as the button's text and name: an ampersand in it makes no key.
    void setPlainText(const QString& text);

    /// What assistive technologies take the button for, and its states besides those of every button.
    [[nodiscard]] virtual QAccessible::Role accessibleRole() const { return QAccessible::Button; }
    virtual void addAccessibleState(QAccessible::State& /*state*/) const {}
    /// Stands in for the accessible description where that would change too often to be told; none uses that.
    [[nodiscard]] virtual std::optional<QString> liveDescription() const { return std::nullopt; }

    /// Whether the focus came by keyboard: only then a ring is drawn.
    [[nodiscard]] bool showsFocus() const { return hasFocus() && isKeyboardFocus_; }

protected:
    [[nodiscard]] const Look& look() const { return look_; }
    [[nodiscard]] const Theme& theme() const { return look_.theme(); }

    /// 0 at rest to 1 hovered; pressing counts at once.
    [[nodiscard]] qreal hoverLevel() const;
    [[nodiscard]] bool isPressed() const { return isDown(); }

    /// The fill for the present state out of three, mixed while it changes.
    [[nodiscard]] QColor stateFill(const QColor& rest, const QColor& hovered, const QColor& pressed) const;

    /// Tell assistive technologies of a change.
    enum class AccessibleState { selected, checked, expanded };
    void announceState(AccessibleState changed);
    void announceDescription();

    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    /// The second press of a double click: no press. It would hit what the first one has put in the place of what it
    /// was meant for.
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void fadeTo(qreal level, int milliseconds);

    const Look& look_;
    QVariantAnimation hover_;
    bool isKeyboardFocus_ = false;
};

}  // namespace corvel::ui
