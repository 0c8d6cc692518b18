#pragma once

#include "ui/Look.hpp"

#include <QScrollArea>

namespace corvel::ui {

class ScrollHandle;

/// A scroll area with a slim handle that lies over the content at one side and takes no room from it. There is no
/// handle if everything fits.
class LookScrollArea final : public QScrollArea {
    Q_OBJECT

public:
    explicit LookScrollArea(const Look& look, QWidget* parent = nullptr);

    /// Puts the handle at the left or the right (the default), at this distance from the edge in pixels.
    void setScrollBarSide(Qt::Edge side, int distance);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    ScrollHandle* handle_;
};

}  // namespace corvel::ui
