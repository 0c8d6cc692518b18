#pragma once

#include "ui/controls/LookButton.hpp"

#include <QSize>
#include <QString>

namespace corvel::ui {

/// A button with an icon. Its tooltip says what it does and is its name for screen readers.
class IconButton final : public LookButton {
    Q_OBJECT

public:
    enum class Role {
        plain,
        /// Has the danger colour while hovered.
        destructive,
    };

    IconButton(const Look& look, QString iconName, const QString& help, int side, QWidget* parent = nullptr);

    void setIconName(const QString& name);
    void setRole(Role role) { role_ = role; }

    /// Whether the button's option is on; it then has a filled background.
    void setChosen(bool isChosen);

    /// The tooltip and the name.
    void setHelp(const QString& help);

    /// Colour at rest: the quiet one for icons in list rows, `text2` otherwise.
    void setRestInk(QColor Theme::*ink);

    [[nodiscard]] QSize sizeHint() const override { return {side_, side_}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QColor ink() const;

    QString iconName_;
    int side_;
    Role role_ = Role::plain;
    bool isChosen_ = false;
    QColor Theme::*restInk_ = &Theme::text2;
};

}  // namespace corvel::ui
