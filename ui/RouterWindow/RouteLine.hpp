#pragma once

#include "app/RouteAvailability.hpp"
#include "core/engine/MIDIActivityEvent.hpp"
#include "core/messages/MIDIMessageKind.hpp"
#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"
#include "ui/RouterWindow/RouteOutputPulse.hpp"
#include "ui/RouterWindow/RouteSignal.hpp"
#include "ui/Theme.hpp"

#include <QColor>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace corvel::ui {

/// A connection's line across the stage: its course, its look and the signals on it. Lengths are in logical pixels from
/// the stage's upper left corner.
struct RouteLine {
    /// The time that a signal takes from input to output.
    static constexpr std::chrono::nanoseconds kSignalDuration{625'000'000};
    /// The time that it takes to fade there.
    static constexpr std::chrono::nanoseconds kSignalFadeDuration{180'000'000};
    /// How long the ring at the output is shown, from the arrival of the signal.
    static constexpr std::chrono::nanoseconds kOutputPulseDuration{267'500'000};
    static constexpr double kConnectorWidth = 8;
    static constexpr double kConnectorHeight = 10;
    /// The width of the band around the curve in which a click selects this connection.
    static constexpr double kHitWidth = 18;

    /// Where an end is: at the endpoint's row, at the edge above or below which the row is hidden, or, for a missing
    /// endpoint, at any height.
    enum class EndKind : std::uint8_t { row, above, below, missing };

    UUID routeID;
    /// The size of the stage.
    QSizeF size;
    /// The middles of the two connectors.
    double startY = 0;
    double endY = 0;
    QColor routeColor;
    bool isSelected = false;
    RouteAvailability availability = RouteAvailability::active;
    EndKind startKind = EndKind::row;
    EndKind endKind = EndKind::row;

    bool operator==(const RouteLine&) const = default;

    /// The height of the connector of a missing endpoint. The ends of `count` connections are spread evenly over the
    /// stage's height; this is the one at `position`.
    [[nodiscard]] static double spreadY(std::size_t position, std::size_t count, double stageHeight);

    /// The colour of a message of this kind.
    [[nodiscard]] static QColor signalColor(MIDIMessageKind kind);

    [[nodiscard]] QPointF start() const;
    [[nodiscard]] QPointF end() const;
    /// The point of the curve at this progress, 0 to 1.
    [[nodiscard]] QPointF pointAt(double progress) const;
    [[nodiscard]] QPainterPath path() const;
    /// The connector marks.
    [[nodiscard]] QRectF startMark() const;
    [[nodiscard]] QRectF endMark() const;
    /// Whether the point is in the band that catches clicks.
    [[nodiscard]] bool catches(const QPointF& point) const;

    [[nodiscard]] double strokeWidth() const { return isSelected ? 4 : 2.5; }
    [[nodiscard]] bool isDashed() const { return availability != RouteAvailability::active; }
    /// The connection's own colour, or grey if an endpoint is missing; opaque.
    [[nodiscard]] QColor baseColor(const Theme& theme) const;
    [[nodiscard]] QColor lineColor(const Theme& theme) const;
    [[nodiscard]] QColor markColor(const Theme& theme) const;

    /// The signal of an event of the connection; no value before it starts, after it has faded, or if the connection is
    /// not active.
    [[nodiscard]] std::optional<RouteSignal> activeSignal(const MIDIActivityEvent& event, Instant now) const;

    /// The ring of an event of the connection; no value before the signal arrives, after the ring has faded, or if the
    /// connection is not active.
    [[nodiscard]] std::optional<RouteOutputPulse> outputPulse(const MIDIActivityEvent& event, Instant now) const;

private:
    /// Horizontal distance of the curve's control points from the ends.
    [[nodiscard]] double pull() const;
    /// The right end of the curve: the left edge of the right mark.
    [[nodiscard]] double endX() const;
};

}  // namespace corvel::ui
