#pragma once

#include "ui/Look.hpp"

#include <QAbstractButton>
#include <QAccessible>
#include <QVariantAnimation>

#include <optional>

namespace corvel::ui {

/// Whether a focus for this reason is shown by a ring.
[[nodiscard]] bool isByKeyboard(Qt::FocusReason reason);

/// An invisible view that never gets the focus. It keeps a place in the tab order for views that are created later: the
/// toolkit puts new views last in the window, and reorders them only after a view that can have the focus.
[[nodiscard]] QWidget* makeTabPlace(QWidget& parent);

/// Base of all clickable views: knows whether it is hovered, pressed and focused by keyboard, and fades between rest
/// and hover. Each view paints itself.
class LookButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit LookButton(const Look& look, QWidget* parent = nullptr);

    /// Uses a text from outside, such as a name, as the button's text and name. An ampersand in it does not define a
    /// key.
    void setPlainText(const QString& text);

    /// The button's role for assistive technologies, and its states besides those of every button.
    [[nodiscard]] virtual QAccessible::Role accessibleRole() const { return QAccessible::Button; }
    virtual void addAccessibleState(QAccessible::State& /*state*/) const {}
    /// Replaces the accessible description if that changes too often to be announced; no value if it does not.
    [[nodiscard]] virtual std::optional<QString> liveDescription() const { return std::nullopt; }

    /// Whether the focus came by keyboard; a ring is drawn only then.
    [[nodiscard]] bool showsFocus() const { return hasFocus() && isKeyboardFocus_; }

protected:
    [[nodiscard]] const Look& look() const { return look_; }
    [[nodiscard]] const Theme& theme() const { return look_.theme(); }

    /// 0 at rest to 1 hovered; a pressed button counts as hovered at once.
    [[nodiscard]] qreal hoverLevel() const;
    [[nodiscard]] bool isPressed() const { return isDown(); }

    /// The fill for the present state, mixed from these three while it changes.
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
    /// Ignores the second press of a double click: it would hit whatever the first press has put there.
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void fadeTo(qreal level, int milliseconds);

    const Look& look_;
    QVariantAnimation hover_;
    bool isKeyboardFocus_ = false;
};

}  // namespace corvel::ui
