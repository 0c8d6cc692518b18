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

/// The stage: a line for each connection from its input's row to its output's row, and a signal on it for each message.
/// A click on a line selects the connection. With the focus, Up, Down, Home and End also select, and Delete deletes the
/// selected one.
///
/// The lines are a picture that is repainted only when they change. A tick copies the signals onto it, and paints
/// nothing if nothing moves.
class RouteGraph : public QWidget {
    Q_OBJECT

public:
    RouteGraph(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
               QWidget* parent = nullptr);

    /// Reads again what may have changed. Traffic need not be reported: every tick reads it.
    void refresh(const ModelChanges& changes);

    /// Takes the heights of the endpoint rows in the window. Connectors of endpoints without a row are spread over the
    /// stage's height; lines to a row that is out of sight end at a chevron.
    void setConnectorPositions(const EndpointConnectorYPositions& positions, const EndpointViewports& viewports = {});

    /// The lines at their current places.
    [[nodiscard]] const RouteLines& lines() const { return lines_; }

    /// The clock of the animation; runs while the stage is shown.
    [[nodiscard]] RouteAnimationTicker& ticker() { return ticker_; }

    /// The chevrons where lines end whose row is out of sight.
    [[nodiscard]] const RouteGraphEdges& edges() const { return edges_; }

    /// The connections in list order.
    [[nodiscard]] const std::vector<UUID>& routeIDs() const { return routeIDs_; }

    /// The names of a connection's endpoints: "Keys to Synth".
    [[nodiscard]] QString routeName(const UUID& routeID) const;

    /// The bounds of a connection's line; empty if it has none.
    [[nodiscard]] QRect routeRect(const UUID& routeID) const;

    [[nodiscard]] bool isSelected(const UUID& routeID) const;

    /// Makes this connection the selected one.
    void selectRoute(const UUID& routeID);

    /// Highlights one connection's line; no value highlights none.
    void setEmphasizedRoute(const std::optional<UUID>& routeID);

signals:
    /// The user asks to scroll to this endpoint's row.
    void endpointRequested(const corvel::ui::EndpointPositionKey& endpoint);

    /// The user asks for the menu of a connection's line at this screen position.
    void menuRequested(const corvel::UUID& routeID, const QPoint& place);

    /// The user clicked where there is no line.
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
    /// Takes the connections from the model, and tells assistive technologies which lines are new or deleted.
    void takeRoutes();
    /// Computes the places of the lines, and repaints if they have changed.
    void placeLines();
    [[nodiscard]] RouteLines makeLines(RouteLineEnds& ends) const;
    void placePlaceholder();
    /// Makes everything be painted again, lines and sprites.
    void forgetPictures();
    void repaintLines();

    /// Shows the ticker's instant.
    void showInstant();
    /// Whether no event has come since all had passed, so that searching them again would find nothing.
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
    /// Whether all events had passed at the latest tick, and which was the newest then.
    bool hasPassed_ = false;
    Instant passedAt_;
    UUID newestPassed_;
    std::optional<UUID> hoveredRoute_;
    /// Whether the mouse button was pressed on the stage, and on which line.
    bool isPressed_ = false;
    std::optional<UUID> pressedRoute_;
    std::optional<UUID> emphasizedRoute_;
    /// Whether the focus came by keyboard; a ring is drawn only then.
    bool isKeyboardFocus_ = false;

    /// Device pixels per logical pixel of the pictures; 0 if there are none in this appearance.
    qreal ratio_ = 0;
    /// Null if it must be painted again.
    QPixmap linesPicture_;
    SignalSprites sprites_;
};

}  // namespace corvel::ui
