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

/// Draws the drag of an endpoint's row: a line from the row to the pointer, or to the row under the pointer, and the
/// row as a card beside the pointer, never over the column where it can be dropped. During the drag the column under
/// the pointer scrolls at its upper and lower edge and by the wheel.
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
    /// Computes line and card and repaints what has changed.
    void place();
    [[nodiscard]] QPointF lineEnd() const;
    [[nodiscard]] QRect cardRect() const;
    /// The place of a row's connector, limited to the visible part of its column.
    [[nodiscard]] static QPointF connector(const EndpointColumn& column, const EndpointRow& row);

    void scrollAtEdge();
    void scrollByWheel(const QWheelEvent& event);
    /// Makes the toolkit search again for the row under the pointer, because a drop goes to the row that it found last.
    void repeatMove();

    const Look& look_;
    EndpointColumn& inputs_;
    EndpointColumn& outputs_;
    QPointer<QDrag> drag_;
    MIDIEndpointDirection direction_ = MIDIEndpointDirection::source;
    std::int32_t endpointID_ = 0;
    QPixmap card_;
    /// The pointer's position in the window; no value while it is outside.
    std::optional<QPoint> pointer_;
    QPointF lineStart_;
    QPainterPath line_;
    QRect cardRect_;
    QTimer scrolling_;
    int nudge_ = -1;
    /// Whether this event filter comes before all others.
    bool isFirst_ = false;
};

}  // namespace corvel::ui
