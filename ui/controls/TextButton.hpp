#pragma once

#include "ui/controls/LookButton.hpp"

#include <QSize>
#include <QString>

namespace corvel::ui {

/// A button with a text and optionally an icon before it.
class TextButton final : public LookButton {
    Q_OBJECT

public:
    enum class Role {
        /// The main command of a view: filled with the accent colour.
        primary,
        quiet,
        /// Deletes something: not filled, in the danger colour.
        destructive,
    };

    TextButton(const Look& look, const QString& text, Role role, QWidget* parent = nullptr);

    void setIconName(const QString& name);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QColor fill() const;
    [[nodiscard]] QColor ink() const;

    Role role_;
    QString iconName_;
};

}  // namespace corvel::ui
