#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/Look.hpp"

#include <QPainterPath>
#include <QPixmap>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QTimer>
#include <QWidget>

#include <cstdint>
#include <optional>

class QDrag;
class QWheelEvent;

namespace corvel::ui {

class EndpointColumn;
class EndpointRow;

/// What the window shows of the drag of an endpoint's row: a line from the row to the pointer, or to the row on which
/// the pointer stands, and the row as a card beside it, never over the column in which it can be dropped. Meanwhile the
/// column under the pointer scrolls at its upper and lower edge and by the wheel.
class EndpointDragGuide final : public QWidget {
    Q_OBJECT

public:
    EndpointDragGuide(const Look& look, EndpointColumn& inputs, EndpointColumn& outputs, QWidget* parent);

    /// Shows this drag of this row until the drag is destroyed.
    void follow(QDrag* drag, const EndpointRow* row);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] EndpointColumn& ownColumn() const;
    [[nodiscard]] EndpointColumn& otherColumn() const;
    /// The column under the pointer, or null.
    [[nodiscard]] EndpointColumn* columnAt(QPoint point) const;
    [[nodiscard]] bool isFromInput() const { return direction_ == MIDIEndpointDirection::source; }

    void moveTo(QPoint point);
    void leave();
    void end();
    /// Computes line and card, and repaints what has changed.
    void place();
    [[nodiscard]] QPointF lineEnd() const;
    [[nodiscard]] QRect cardRect() const;
    /// Where a row's connector is, as near as its column's scrolling lets it be seen.
    [[nodiscard]] static QPointF connector(const EndpointColumn& column, const EndpointRow& row);

    void scrollAtEdge();
    void scrollByWheel(const QWheelEvent& event);
    /// Has the toolkit look again which row is under the pointer: a drop goes to the one that it found last.
    void repeatMove();

    const Look& look_;
    EndpointColumn& inputs_;
    EndpointColumn& outputs_;
    QPointer<QDrag> drag_;
    MIDIEndpointDirection direction_ = MIDIEndpointDirection::source;
    std::int32_t endpointID_ = 0;
    QPixmap card_;
    /// In the window; none while the pointer is outside.
    std::optional<QPoint> pointer_;
    QPointF lineStart_;
    QPainterPath line_;
    QRect cardRect_;
    QTimer scrolling_;
    int nudge_ = -1;
    /// Whether this is the first filter to see events.
    bool isFirst_ = false;
};

}  // namespace corvel::ui
