#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"
#include "ui/RouterWindow/EndpointViewports.hpp"
#include "ui/RouterWindow/RouteLine.hpp"

#include <QPointF>

#include <array>
#include <cstddef>
#include <optional>

namespace corvel::ui {

/// Finds the heights at which the lines of a stage end. If a row is scrolled out of sight, its lines end at the edge
/// that hides it, and are counted there.
class RouteLineEnds {
public:
    /// The ends on one side that one edge hides.
    struct Hidden {
        std::size_t count = 0;
        /// The endpoint with the nearest row, and the distance of the row from the edge.
        EndpointPositionKey nearest;
        double distance = 0;
        /// The height in the stage where these lines end.
        double y = 0;

        bool operator==(const Hidden&) const = default;
    };

    /// An end's height in the stage, and what it is at.
    struct End {
        double y = 0;
        RouteLine::EndKind kind = RouteLine::EndKind::row;
    };

    /// Distance from the edge to the lines that end there: the middle of the chevron.
    static constexpr double kEdgeInset = 14;

    /// `stageTop` is the stage's top in the window; `lineCount` is the number of lines.
    RouteLineEnds(const EndpointConnectorYPositions& positions, const EndpointViewports& viewports, double stageTop,
                  double stageHeight, std::size_t lineCount);

    /// The end of the line at this position of the list. `isMissing` means that the endpoint does not exist.
    [[nodiscard]] End place(const EndpointPositionKey& key, std::size_t position, bool isMissing);

    /// The hidden ends that `place` has found.
    [[nodiscard]] const Hidden& hidden(MIDIEndpointDirection direction, RouteLine::EndKind edge) const;

private:
    [[nodiscard]] static std::size_t index(MIDIEndpointDirection direction, RouteLine::EndKind edge);

    const EndpointConnectorYPositions& positions_;
    const EndpointViewports& viewports_;
    const double stageTop_;
    const double stageHeight_;
    const std::size_t lineCount_;
    std::array<Hidden, 4> hidden_;
};

}  // namespace corvel::ui
