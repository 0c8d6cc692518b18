#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/controls/LookButton.hpp"

#include <QColor>
#include <QDrag>
#include <QPixmap>
#include <QPoint>
#include <QVariantAnimation>

#include <cstdint>
#include <optional>

namespace corvel::ui {

/// One input or output: a tab at the edge of the stage. An input can be dragged onto an output, an output onto an
/// input.
class EndpointRow final : public LookButton {
    Q_OBJECT

public:
    static constexpr int kHeight = 40;

    EndpointRow(const Look& look, MIDIEndpointModel endpoint, QWidget* parent);

    [[nodiscard]] const MIDIEndpointModel& endpoint() const { return endpoint_; }
    void setEndpoint(const MIDIEndpointModel& endpoint);

    /// The user's own name for the endpoint, shown instead of the system's; empty if there is none.
    void setAlias(const QString& alias);

    /// The brightness of the light of the latest message, 0 to 1.
    void setLight(double level);

    [[nodiscard]] bool isSelected() const { return isSelected_; }
    void setSelected(bool isSelected);

    /// Marks the row as an end of the selected connection: a bar in the connection's colour, where its line begins.
    /// This is independent of the row's own selection, which is for the next connection.
    void setConnectionMark(const std::optional<QColor>& colour);
    [[nodiscard]] const std::optional<QColor>& connectionMark() const { return connectionMark_; }

    /// Whether a drag that this row accepts is over it.
    [[nodiscard]] bool isDropTarget() const { return isDropTarget_; }

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::ListItem; }
    void addAccessibleState(QAccessible::State& state) const override;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, kHeight}; }

    /// The card that is shown during the row's drag.
    [[nodiscard]] QPixmap dragPicture() const;

signals:
    /// A drag has started. It is destroyed on a turn of the main loop after its end.
    void dragStarted(QDrag* drag);

    /// An endpoint of the other direction was dropped here. Emitted after the drag has ended, on a later turn of the
    /// main loop.
    void endpointDropped(std::int32_t endpointID);

    /// The user asks for the endpoint's menu at this screen position.
    void menuRequested(const QPoint& place);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    /// The state that is drawn. The picture of a drag has another one than the row.
    struct State {
        QColor fill;
        bool isSelected = false;
        bool isDropTarget = false;
        bool showsFocus = false;
    };

    [[nodiscard]] bool isInput() const { return endpoint_.direction == MIDIEndpointDirection::source; }
    void paint(QPainter& painter, const QRectF& whole, const State& state) const;
    void paintContent(QPainter& painter, const QRectF& whole, const State& state) const;
    void paintConnectionMark(QPainter& painter, const QRectF& whole) const;
    [[nodiscard]] static QRectF statusDot(const QRectF& whole);
    void paintStatusDot(QPainter& painter, const QRectF& whole) const;
    void paintLight(QPainter& painter, const QPointF& middle) const;
    /// The endpoint in a drag, if this row accepts it.
    [[nodiscard]] std::optional<std::int32_t> droppableEndpoint(const QDropEvent& event) const;
    void drag();
    void setDropTarget(bool isDropTarget);
    void describe();

    MIDIEndpointModel endpoint_;
    QString alias_;
    /// In steps, so that a fading light repaints only when the difference is visible.
    int lightLevel_ = 0;
    bool isSelected_ = false;
    bool isDropTarget_ = false;
    std::optional<QColor> connectionMark_;
    QVariantAnimation selection_;
    QPoint pressedAt_;
};

}  // namespace corvel::ui
