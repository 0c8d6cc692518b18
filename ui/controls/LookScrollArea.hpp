#pragma once

#include "ui/Look.hpp"

#include <QScrollArea>

namespace corvel::ui {

class ScrollHandle;

/// Scrolls what is taller than its room. All that shows of it is a slim handle, which lies over the content at one side
/// and takes no room from it; there is none while everything fits.
class LookScrollArea final : public QScrollArea {
    Q_OBJECT

public:
    explicit LookScrollArea(const Look& look, QWidget* parent = nullptr);

    /// Puts the handle at the left or the right (the default), so many pixels from the edge.
    void setScrollBarSide(Qt::Edge side, int distance);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    ScrollHandle* handle_;
};

}  // namespace corvel::ui
