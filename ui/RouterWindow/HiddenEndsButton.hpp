#pragma once

#include "ui/controls/LookButton.hpp"

#include <cstddef>

namespace corvel::ui {

/// A chevron where lines end whose row is scrolled out of sight. It points to the rows and shows the number of lines.
/// Not in the tab order, because the keyboard scrolls the column itself.
class HiddenEndsButton final : public LookButton {
    Q_OBJECT

public:
    static constexpr int kHeight = 24;

    /// `isAbove` gives the direction of the rows, `plural` their name: "inputs".
    HiddenEndsButton(const Look& look, bool isAbove, QString plural, QWidget* parent);

    /// The number of lines that end here; determines size and name of the button.
    void setCount(std::size_t count);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const bool isAbove_;
    const QString plural_;
};

}  // namespace corvel::ui
