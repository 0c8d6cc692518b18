#pragma once

#include "ui/controls/LookButton.hpp"

namespace corvel::ui {

/// A command as a word in a line of text, in the accent colour and underlined while hovered.
class LinkButton final : public LookButton {
    Q_OBJECT

public:
    LinkButton(const Look& look, const QString& text, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace corvel::ui
