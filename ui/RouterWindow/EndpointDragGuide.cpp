#include "ui/RouterWindow/EndpointDragGuide.hpp"

#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"

#include <QApplication>
#include <QDrag>
#include <QDragMoveEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvel::ui {

namespace {

constexpr qreal kLineWidth = 2.5;
constexpr qreal kMaxPull = 120;
constexpr qreal kEndRadius = 4;
/// Distance from the pointer to the card, and from the card to the column where it can be dropped.
constexpr int kCardDistance = 12;
constexpr int kCardGap = 16;
constexpr int kWindowMargin = 8;

constexpr int kScrollInterval = 16;
/// Height of the scrolling zone at the edge of the rows, and maximum number of pixels that a column scrolls at a time.
constexpr int kScrollZone = 36;
constexpr int kMaxScrolled = 12;
constexpr int kWheelStep = 120;
constexpr int kPixelsPerLine = 20;

}  // namespace

EndpointDragGuide::EndpointDragGuide(const Look& look, EndpointColumn& inputs, EndpointColumn& outputs, QWidget* parent)
    : QWidget(parent), look_(look), inputs_(inputs), outputs_(outputs) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    scrolling_.setInterval(kScrollInterval);
    connect(&scrolling_, &QTimer::timeout, this, &EndpointDragGuide::scrollAtEdge);
    for (EndpointColumn* const column : {&inputs_, &outputs_}) {
        connect(column, &EndpointColumn::dragStarted, this, &EndpointDragGuide::follow);
        connect(column, &EndpointColumn::connectorPositionsChanged, this, &EndpointDragGuide::place);
    }
    hide();
}

EndpointColumn& EndpointDragGuide::ownColumn() const {
    return isFromInput() ? inputs_ : outputs_;
}

EndpointColumn& EndpointDragGuide::otherColumn() const {
    return isFromInput() ? outputs_ : inputs_;
}

EndpointColumn* EndpointDragGuide::columnAt(QPoint point) const {
    for (EndpointColumn* const column : {&inputs_, &outputs_}) {
        if (QRect(column->mapTo(window(), QPoint()), column->size()).contains(point)) {
            return column;
        }
    }
    return nullptr;
}

void EndpointDragGuide::follow(QDrag* drag, const EndpointRow* row) {
    drag_ = drag;
    direction_ = row->endpoint().direction;
    endpointID_ = row->endpoint().id;
    card_ = row->dragPicture();
    lineStart_ = connector(ownColumn(), *row);
    connect(drag, &QObject::destroyed, this, &EndpointDragGuide::end);
    qApp->installEventFilter(this);
    isFirst_ = false;
}

void EndpointDragGuide::end() {
    qApp->removeEventFilter(this);
    leave();
}

void EndpointDragGuide::leave() {
    pointer_.reset();
    scrolling_.stop();
    hide();
}

bool EndpointDragGuide::eventFilter(QObject* watched, QEvent* event) {
    if (!drag_) {
        return false;
    }
    if (event->type() == QEvent::Wheel && watched->isWindowType()) {
        // During a drag the event may arrive at the window of the drag's picture.
        scrollByWheel(static_cast<const QWheelEvent&>(*event));
        return true;
    }
    if (watched != window()->windowHandle()) {
        return false;
    }
    switch (event->type()) {
        case QEvent::DragEnter:
        case QEvent::DragMove:
            moveTo(static_cast<QDropEvent*>(event)->position().toPoint());
            break;
        case QEvent::DragLeave:
        case QEvent::Drop:
            leave();
            break;
        default:
            break;
    }
    return false;
}

void EndpointDragGuide::moveTo(QPoint point) {
    if (!std::exchange(isFirst_, true)) {
        // The drag has installed the toolkit's own filter, which discards the wheel. Installing this one again puts it
        // first.
        qApp->installEventFilter(this);
    }
    pointer_ = point;
    if (!isVisible()) {
        setGeometry(parentWidget()->rect());
        raise();
        show();
        scrolling_.start();
    }
    place();
}

void EndpointDragGuide::place() {
    if (!pointer_) {
        return;
    }
    const auto bounds = [this] {
        constexpr int kReach = static_cast<int>(kEndRadius) + 2;
        const QRect line = line_.boundingRect().toAlignedRect().adjusted(-kReach, -kReach, kReach, kReach);
        return QRegion(line) + cardRect_;
    };
    const QRegion before = bounds();
    if (const EndpointRow* const row = ownColumn().row(endpointID_); row != nullptr) {
        lineStart_ = connector(ownColumn(), *row);
    }
    const QPointF end = lineEnd();
    const QPointF pull(std::min(std::abs(end.x() - lineStart_.x()) / 2, kMaxPull) * (isFromInput() ? 1 : -1), 0);
    line_ = QPainterPath(lineStart_);
    line_.cubicTo(lineStart_ + pull, end - pull, end);
    line_.translate(-mapTo(window(), QPointF()));
    cardRect_ = cardRect().translated(-mapTo(window(), QPoint()));
    update(before + bounds());
}

QPointF EndpointDragGuide::connector(const EndpointColumn& column, const EndpointRow& row) {
    const bool isInput = row.endpoint().direction == MIDIEndpointDirection::source;
    const QRect seen = column.rowsRect();
    const QPointF middle = row.mapTo(column.window(), QPointF(isInput ? row.width() : 0, row.height() / 2.0));
    return {middle.x(), std::clamp<qreal>(middle.y(), seen.top(), std::max(seen.top(), seen.bottom()))};
}

QPointF EndpointDragGuide::lineEnd() const {
    const EndpointRow* const target = otherColumn().rowAt(*pointer_);
    return target != nullptr ? connector(otherColumn(), *target) : QPointF(*pointer_);
}

QRect EndpointDragGuide::cardRect() const {
    const QSize size = card_.deviceIndependentSize().toSize();
    const int column = otherColumn().mapTo(window(), QPoint(isFromInput() ? 0 : otherColumn().width(), 0)).x();
    const int left = isFromInput() ? std::min(pointer_->x() - kCardDistance, column - kCardGap) - size.width()
                                   : std::max(pointer_->x() + kCardDistance, column + kCardGap);
    const QRect room(parentWidget()->mapTo(window(), QPoint()), parentWidget()->size());
    return {QPoint(std::clamp(left, room.left() + kWindowMargin, room.right() - kWindowMargin - size.width()),
                   std::min(pointer_->y() + kCardDistance, room.bottom() - kWindowMargin - size.height())),
            size};
}

void EndpointDragGuide::scrollAtEdge() {
    EndpointColumn* const column = pointer_ ? columnAt(*pointer_) : nullptr;
    if (column == nullptr) {
        return;
    }
    const QRect rows = column->rowsRect();
    const int above = rows.top() + kScrollZone - pointer_->y();
    const int below = pointer_->y() - (rows.bottom() - kScrollZone);
    const int depth = std::max(above, below);
    if (depth <= 0) {
        return;
    }
    const int step = std::clamp(kMaxScrolled * depth / kScrollZone, 1, kMaxScrolled);
    if (column->scrollBy(above > below ? -step : step)) {
        repeatMove();
    }
}

void EndpointDragGuide::scrollByWheel(const QWheelEvent& event) {
    EndpointColumn* const column = pointer_ ? columnAt(*pointer_) : nullptr;
    const int pixels = -event.angleDelta().y() * QApplication::wheelScrollLines() * kPixelsPerLine / kWheelStep;
    if (column != nullptr && column->scrollBy(pixels)) {
        repeatMove();
    }
}

void EndpointDragGuide::repeatMove() {
    QWindow* const handle = window()->windowHandle();
    if (!drag_ || !pointer_ || handle == nullptr) {
        return;
    }
    QDragMoveEvent move(*pointer_, Qt::CopyAction, drag_->mimeData(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(handle, &move);
    // On X11 a drop also depends on the window's last answer, and the window is asked again only for another position.
    nudge_ = -nudge_;
    const QPointF place = *pointer_ + QPointF(nudge_, 0);
    QMouseEvent mouse(QEvent::MouseMove, place, handle->mapToGlobal(place), Qt::NoButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(handle, &mouse);
}

void EndpointDragGuide::paintEvent(QPaintEvent*) {
    if (!pointer_) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawPixmap(cardRect_.topLeft(), card_);
    painter.setPen(QPen(look_.theme().accent, kLineWidth));
    painter.drawPath(line_);
    painter.setPen(Qt::NoPen);
    painter.setBrush(look_.theme().accent);
    painter.drawEllipse(line_.currentPosition(), kEndRadius, kEndRadius);
}

}  // namespace corvel::ui
