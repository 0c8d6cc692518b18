#pragma once

#include "ui/controls/LookButton.hpp"

#include <QSize>
#include <QString>

namespace corvel::ui {

/// A button with a text and, if given, an icon before it.
class TextButton final : public LookButton {
    Q_OBJECT

public:
    enum class Role {
        /// What the view is for: filled with the accent.
        primary,
        quiet,
        /// Deletes: quiet, in the ink of danger.
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
