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

/// Finds the heights at which the lines of a stage end. An end whose row is scrolled out of sight goes to the edge
/// behind which the row lies, and is counted there.
class RouteLineEnds {
public:
    /// The ends of one side that lie behind one edge.
    struct Hidden {
        std::size_t count = 0;
        /// The endpoint whose row is the nearest, and how far it is behind the edge.
        EndpointPositionKey nearest;
        double distance = 0;
        /// Where the lines end instead, in the stage.
        double y = 0;

        bool operator==(const Hidden&) const = default;
    };

    /// An end's height in the stage and what is there.
    struct End {
        double y = 0;
        RouteLine::EndKind kind = RouteLine::EndKind::row;
    };

    /// How far from the edge of the rows lines end whose row lies behind it: the middle of the mark there.
    static constexpr double kEdgeInset = 14;

    /// The stage's top in the window and its height; `lineCount` lines are to be placed.
    RouteLineEnds(const EndpointConnectorYPositions& positions, const EndpointViewports& viewports, double stageTop,
                  double stageHeight, std::size_t lineCount);

    /// The end of the line at this position of the list. `isMissing` says that there is no such endpoint.
    [[nodiscard]] End place(const EndpointPositionKey& key, std::size_t position, bool isMissing);

    /// What `place` has found to be hidden.
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
