#pragma once

#include "ui/controls/LookButton.hpp"

#include <cstddef>

namespace corvel::ui {

/// Where lines end whose row is scrolled out of sight: a chevron that points to where the rows are, with how many lines
/// end there. Not in the order of Tab: from the keyboard, the column itself scrolls.
class HiddenEndsButton final : public LookButton {
    Q_OBJECT

public:
    static constexpr int kHeight = 24;

    /// `isAbove` tells which way the rows are, `plural` what they are: "inputs".
    HiddenEndsButton(const Look& look, bool isAbove, QString plural, QWidget* parent);

    /// How many lines end here; sizes and names the button.
    void setCount(std::size_t count);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const bool isAbove_;
    const QString plural_;
};

}  // namespace corvel::ui
