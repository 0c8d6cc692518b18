#include "ui/controls/LookScrollArea.hpp"

#include "ui/controls/ScrollHandle.hpp"

#include <QScrollBar>

namespace corvel::ui {

LookScrollArea::LookScrollArea(const Look& look, QWidget* parent)
    : QScrollArea(parent), handle_(new ScrollHandle(look, *verticalScrollBar(), this)) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
}

void LookScrollArea::setScrollBarSide(Qt::Edge side, int distance) {
    handle_->setSide(side, distance);
}

void LookScrollArea::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    handle_->follow();
}

}  // namespace corvel::ui
