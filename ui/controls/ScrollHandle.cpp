#include "ui/controls/ScrollHandle.hpp"

#include "ui/controls/Painting.hpp"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace corvel::ui {

namespace {

constexpr int kWidth = 4;
constexpr int kHoveredWidth = 6;
constexpr qreal kRadius = 2;
/// Margin above and below the handle at the ends of its range.
constexpr int kMargin = 2;
constexpr int kShortest = 24;
/// The handle can be grabbed this far beside it.
constexpr int kReach = 3;

}  // namespace

ScrollHandle::ScrollHandle(const Look& look, QScrollBar& bar, QWidget* parent)
    : QWidget(parent), look_(look), bar_(bar) {
    connect(&bar, &QScrollBar::valueChanged, this, &ScrollHandle::follow);
    connect(&bar, &QScrollBar::rangeChanged, this, &ScrollHandle::follow);
    connect(&look, &Look::changed, this, [this] { update(); });
    follow();
}

void ScrollHandle::setSide(Qt::Edge side, int distance) {
    side_ = side;
    distance_ = distance;
    follow();
}

int ScrollHandle::trackLength() const {
    return parentWidget()->height() - 2 * kMargin;
}

int ScrollHandle::handleLength() const {
    const double shown = static_cast<double>(bar_.pageStep()) / (bar_.maximum() + bar_.pageStep());
    return std::max(kShortest, static_cast<int>(std::lround(trackLength() * shown)));
}

void ScrollHandle::follow() {
    if (bar_.maximum() <= 0 || trackLength() <= handleLength()) {
        hide();
        return;
    }
    show();
    const int way = trackLength() - handleLength();
    const int width = distance_ + kHoveredWidth + kReach;
    const int y = kMargin + static_cast<int>(std::lround(static_cast<double>(way) * bar_.value() / bar_.maximum()));
    setGeometry(side_ == Qt::LeftEdge ? 0 : parentWidget()->width() - width, y, width, handleLength());
    raise();
}

void ScrollHandle::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int thickness = underMouse() || drag_ ? kHoveredWidth : kWidth;
    const int x = side_ == Qt::LeftEdge ? distance_ : width() - distance_ - thickness;
    painter.fillPath(roundedPath(QRectF(x, 0, thickness, height()), kRadius), look_.theme().edge);
}

void ScrollHandle::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    update();
}

void ScrollHandle::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    update();
}

void ScrollHandle::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        drag_ = Drag{event->globalPosition().y(), bar_.value()};
    }
}

void ScrollHandle::mouseMoveEvent(QMouseEvent* event) {
    const int way = trackLength() - handleLength();
    if (drag_ && way > 0) {
        const double moved = event->globalPosition().y() - drag_->y;
        bar_.setValue(drag_->value + static_cast<int>(std::lround(moved * bar_.maximum() / way)));
    }
}

void ScrollHandle::mouseReleaseEvent(QMouseEvent*) {
    drag_.reset();
    update();
}

}  // namespace corvel::ui
