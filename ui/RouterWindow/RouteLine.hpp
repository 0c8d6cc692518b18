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

/// A connection's line across the stage: where it runs, how it looks and what moves on it. Lengths are logical pixels
/// from the stage's upper left corner.
struct RouteLine {
    /// How long a signal takes from input to output.
    static constexpr std::chrono::nanoseconds kSignalDuration{625'000'000};
    /// How long it takes to fade there.
    static constexpr std::chrono::nanoseconds kSignalFadeDuration{180'000'000};
    /// How long the ring at the output lasts, from the signal's arrival on.
    static constexpr std::chrono::nanoseconds kOutputPulseDuration{267'500'000};
    static constexpr double kConnectorWidth = 8;
    static constexpr double kConnectorHeight = 10;
    /// The width of the band around the curve in which a click means this connection.
    static constexpr double kHitWidth = 18;

    /// What there is at an end: the endpoint's row, an edge of the rows behind which the row is scrolled, or nothing
    /// because there is no such endpoint.
    enum class EndKind : std::uint8_t { row, above, below, missing };

    UUID routeID;
    /// The stage's.
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

    /// The height of a connector whose endpoint is not shown: such ends of `count` connections spread evenly over the
    /// stage's height, this being that of the one at `position`.
    [[nodiscard]] static double spreadY(std::size_t position, std::size_t count, double stageHeight);

    /// A message's colour by its kind.
    [[nodiscard]] static QColor signalColor(MIDIMessageKind kind);

    [[nodiscard]] QPointF start() const;
    [[nodiscard]] QPointF end() const;
    /// The point of the curve at a signal's progress.
    [[nodiscard]] QPointF pointAt(double progress) const;
    [[nodiscard]] QPainterPath path() const;
    /// The connector marks.
    [[nodiscard]] QRectF startMark() const;
    [[nodiscard]] QRectF endMark() const;
    /// Whether the point lies in the band that catches clicks.
    [[nodiscard]] bool catches(const QPointF& point) const;

    [[nodiscard]] double strokeWidth() const { return isSelected ? 4 : 2.5; }
    [[nodiscard]] bool isDashed() const { return availability != RouteAvailability::active; }
    /// The connection's own colour, or grey if an endpoint is missing; opaque.
    [[nodiscard]] QColor baseColor(const Theme& theme) const;
    [[nodiscard]] QColor lineColor(const Theme& theme) const;
    [[nodiscard]] QColor markColor(const Theme& theme) const;

    /// The signal of one of the connection's events; none before it is due or after it has faded, and none unless the
    /// connection is active.
    [[nodiscard]] std::optional<RouteSignal> activeSignal(const MIDIActivityEvent& event, Instant now) const;

    /// The ring of one of the connection's events; none before the signal's arrival or after the ring has gone, and
    /// none unless the connection is active.
    [[nodiscard]] std::optional<RouteOutputPulse> outputPulse(const MIDIActivityEvent& event, Instant now) const;

private:
    /// Where the curve's control points stand from the ends, inwards.
    [[nodiscard]] double pull() const;
    /// The right end of the curve, the left edge of the right mark.
    [[nodiscard]] double endX() const;
};

}  // namespace corvel::ui
