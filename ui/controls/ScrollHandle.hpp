#pragma once

#include "ui/Look.hpp"

#include <QWidget>

#include <optional>

class QScrollBar;

namespace corvel::ui {

/// The handle of a scroll area. It replaces the toolkit's scroll bar, and shows and changes the scroll bar's value.
class ScrollHandle final : public QWidget {
    Q_OBJECT

public:
    ScrollHandle(const Look& look, QScrollBar& bar, QWidget* parent);

    /// Puts the handle at the left or the right of the parent, at this distance from its edge in pixels.
    void setSide(Qt::Edge side, int distance);

    /// Moves to the place of the bar's value, or hides if there is nothing to scroll.
    void follow();

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    /// The start of a drag: the pointer's height on the screen, and the bar's value.
    struct Drag {
        double y;
        int value;
    };

    [[nodiscard]] int trackLength() const;
    [[nodiscard]] int handleLength() const;

    const Look& look_;
    QScrollBar& bar_;
    Qt::Edge side_ = Qt::RightEdge;
    int distance_ = 4;
    std::optional<Drag> drag_;
};

}  // namespace corvel::ui
