#pragma once

#include "ui/Look.hpp"

#include <QAbstractButton>
#include <QVariantAnimation>

namespace corvel::ui {

/// Base of all clickable views: knows whether it is hovered, pressed and focused by keyboard, and fades between the
/// first two. What it looks like is up to the view.
class LookButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit LookButton(const Look& look, QWidget* parent = nullptr);

    /// A text from outside, such as a name, as the button's text and name: an ampersand in it makes no key.
    void setPlainText(const QString& text);

protected:
    [[nodiscard]] const Look& look() const { return look_; }
    [[nodiscard]] const Theme& theme() const { return look_.theme(); }

    /// 0 at rest to 1 hovered; pressing counts at once.
    [[nodiscard]] qreal hoverLevel() const;
    [[nodiscard]] bool isPressed() const { return isDown(); }

    /// Whether the focus came by keyboard: only then a ring is drawn.
    [[nodiscard]] bool showsFocus() const { return hasFocus() && isKeyboardFocus_; }

    /// The fill for the present state out of three, mixed while it changes.
    [[nodiscard]] QColor stateFill(const QColor& rest, const QColor& hovered, const QColor& pressed) const;

    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void fadeTo(qreal level, int milliseconds);

    const Look& look_;
    QVariantAnimation hover_;
    bool isKeyboardFocus_ = false;
};

}  // namespace corvel::ui
