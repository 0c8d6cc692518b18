#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/controls/LookButton.hpp"

#include <QPoint>
#include <QVariantAnimation>

#include <cstdint>

namespace corvel::ui {

/// One input or output: a tab docked at the stage's edge. An input can be dragged, an output takes what is dropped.
class EndpointRow final : public LookButton {
    Q_OBJECT

public:
    static constexpr int kHeight = 40;

    EndpointRow(const Look& look, MIDIEndpointModel endpoint, QWidget* parent);

    [[nodiscard]] const MIDIEndpointModel& endpoint() const { return endpoint_; }
    void setEndpoint(const MIDIEndpointModel& endpoint);

    [[nodiscard]] bool isSelected() const { return isSelected_; }
    void setSelected(bool isSelected);

    /// Whether a drag that this row would take hovers over it.
    [[nodiscard]] bool isDropTarget() const { return isDropTarget_; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, kHeight}; }

signals:
    void dragStarted();

    /// An input was dropped here. Comes after the drag has ended, on a later turn of the main loop.
    void sourceDropped(std::int32_t sourceID);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    /// What a row shows besides its endpoint; the picture under the pointer of a drag shows another state than the row.
    struct State {
        QColor fill;
        bool isSelected = false;
        bool isDropTarget = false;
        bool showsFocus = false;
    };

    [[nodiscard]] bool isInput() const { return endpoint_.direction == MIDIEndpointDirection::source; }
    void paint(QPainter& painter, const QRectF& whole, const State& state) const;
    void paintContent(QPainter& painter, const QRectF& whole, const State& state) const;
    void paintStatusDot(QPainter& painter, const QRectF& whole) const;
    [[nodiscard]] QPixmap dragPicture() const;
    void drag();
    void setDropTarget(bool isDropTarget);
    void describe();

    MIDIEndpointModel endpoint_;
    bool isSelected_ = false;
    bool isDropTarget_ = false;
    QVariantAnimation selection_;
    QPoint pressedAt_;
};

}  // namespace corvel::ui
