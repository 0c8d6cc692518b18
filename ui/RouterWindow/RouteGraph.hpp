#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"
#include "ui/RouterWindow/EndpointViewports.hpp"
#include "ui/RouterWindow/RouteActivity.hpp"
#include "ui/RouterWindow/RouteAnimationTicker.hpp"
#include "ui/RouterWindow/RouteGraphEdges.hpp"
#include "ui/RouterWindow/RouteLines.hpp"
#include "ui/RouterWindow/SignalSprites.hpp"

#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QRegion>
#include <QString>
#include <QWidget>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace corvel::ui {

class LookLabel;

/// The routing stage: a line for each connection from its input's row to its output's row, and on it a signal for each
/// message that it carried. A click on a line selects the connection; with the focus, so do Up, Down, Home and End, and
/// Delete deletes it.
///
/// The lines are a picture that changes only with them; a tick copies the signals onto it, and where nothing moves it
/// paints nothing.
class RouteGraph : public QWidget {
    Q_OBJECT

public:
    RouteGraph(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
               QWidget* parent = nullptr);

    /// Reads again what may have changed. Traffic needs no telling: every tick reads it.
    void refresh(const ModelChanges& changes);

    /// Takes the heights of the endpoint rows in the window. An endpoint without one has its connectors spread over the
    /// stage's height; one whose row is out of sight has its lines end at a chevron.
    void setConnectorPositions(const EndpointConnectorYPositions& positions, const EndpointViewports& viewports = {});

    /// The lines as they are placed now.
    [[nodiscard]] const RouteLines& lines() const { return lines_; }

    /// What drives the animation; runs while the stage is shown.
    [[nodiscard]] RouteAnimationTicker& ticker() { return ticker_; }

    /// Where lines end whose row is out of sight.
    [[nodiscard]] const RouteGraphEdges& edges() const { return edges_; }

    /// The connections in the order of the list.
    [[nodiscard]] const std::vector<UUID>& routeIDs() const { return routeIDs_; }

    /// A connection's endpoints in words: "Keys to Synth".
    [[nodiscard]] QString routeName(const UUID& routeID) const;

    /// The bounds of a connection's line; empty if it has none.
    [[nodiscard]] QRect routeRect(const UUID& routeID) const;

    [[nodiscard]] bool isSelected(const UUID& routeID) const;

    /// Makes this connection the selected one.
    void selectRoute(const UUID& routeID);

    /// Has one connection's line stand out from all others; none treats all alike.
    void setEmphasizedRoute(const std::optional<UUID>& routeID);

signals:
    /// The user wants to see this endpoint's row.
    void endpointRequested(const corvel::ui::EndpointPositionKey& endpoint);

    /// The user wants the menu of a connection's line at this place of the screen.
    void menuRequested(const corvel::UUID& routeID, const QPoint& place);

    /// A click that meant no line.
    void emptyPlaceClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    /// Takes the connections from the model, and tells assistive technologies which lines come and go.
    void takeRoutes();
    /// Places the lines anew, and repaints if that makes a difference.
    void placeLines();
    [[nodiscard]] RouteLines makeLines(RouteLineEnds& ends) const;
    void placePlaceholder();
    /// Has everything painted anew, lines and sprites.
    void forgetPictures();
    void repaintLines();

    /// Shows the ticker's instant.
    void showInstant();
    /// Whether no event has come since all had passed, so that looking through them again would find nothing.
    [[nodiscard]] bool isAsWhenPassed() const;
    [[nodiscard]] static QRegion regionOf(const RouteActivity& before, const RouteActivity& after);

    void setHoveredRoute(std::optional<UUID> routeID);
    [[nodiscard]] std::optional<UUID> routeAt(const QPointF& point) const;

    void prepare(qreal devicePixelRatio);
    [[nodiscard]] QImage paintedLines() const;
    /// Paints everything within the painter's clip.
    void paintClip(QPainter& painter);
    void paintPlaceholderIcon(QPainter& painter) const;
    void paintActivity(QPainter& painter);
    [[nodiscard]] QPoint devicePlace(const QPointF& point) const;

    MIDIRouterViewModel& model_;
    const Look& look_;
    RouteAnimationTicker ticker_;
    LookLabel* const placeholder_;

    std::vector<UUID> routeIDs_;
    EndpointConnectorYPositions positions_;
    EndpointViewports viewports_;
    RouteGraphEdges edges_;
    RouteLines lines_;
    RouteActivity activity_;
    /// Whether all events had passed at the latest tick, and the newest of them then.
    bool hasPassed_ = false;
    Instant passedAt_;
    UUID newestPassed_;
    std::optional<UUID> hoveredRoute_;
    /// Whether the button is down on the stage, and on which line.
    bool isPressed_ = false;
    std::optional<UUID> pressedRoute_;
    std::optional<UUID> emphasizedRoute_;
    /// Whether the focus came by keyboard: only then a ring is drawn.
    bool isKeyboardFocus_ = false;

    /// Device pixels to a logical one in the pictures, 0 when there are none in this appearance.
    qreal ratio_ = 0;
    /// Null when it has to be painted anew.
    QPixmap linesPicture_;
    SignalSprites sprites_;
};

}  // namespace corvel::ui
