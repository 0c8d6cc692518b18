#pragma once

#include "ui/controls/LookButton.hpp"

#include <QSize>
#include <QString>

namespace corvel::ui {

/// A button that is an icon; its tooltip says what it does, and is its name for screen readers.
class IconButton final : public LookButton {
    Q_OBJECT

public:
    enum class Role {
        plain,
        /// Turns to the colour of danger while hovered.
        destructive,
    };

    IconButton(const Look& look, QString iconName, const QString& help, int side, QWidget* parent = nullptr);

    void setIconName(const QString& name);
    void setRole(Role role) { role_ = role; }

    /// Whether what the button switches is on: then it stands on a ground of its own.
    void setChosen(bool isChosen);

    /// The tooltip and the name.
    void setHelp(const QString& help);

    /// Ink at rest: quiet for icons in list rows, `text2` otherwise.
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
