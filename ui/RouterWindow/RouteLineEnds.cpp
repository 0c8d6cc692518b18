#include "ui/RouterWindow/RouteLineEnds.hpp"

namespace corvel::ui {

RouteLineEnds::RouteLineEnds(const EndpointConnectorYPositions& positions, const EndpointViewports& viewports,
                             double stageTop, double stageHeight, std::size_t lineCount)
    : positions_(positions),
      viewports_(viewports),
      stageTop_(stageTop),
      stageHeight_(stageHeight),
      lineCount_(lineCount) {}

std::size_t RouteLineEnds::index(MIDIEndpointDirection direction, RouteLine::EndKind edge) {
    return (direction == MIDIEndpointDirection::source ? 0U : 2U) + (edge == RouteLine::EndKind::above ? 0U : 1U);
}

const RouteLineEnds::Hidden& RouteLineEnds::hidden(MIDIEndpointDirection direction, RouteLine::EndKind edge) const {
    return hidden_.at(index(direction, edge));
}

RouteLineEnds::End RouteLineEnds::place(const EndpointPositionKey& key, std::size_t position, bool isMissing) {
    using Kind = RouteLine::EndKind;
    const auto found = positions_.find(key);
    if (found == positions_.end()) {
        return {RouteLine::spreadY(position, lineCount_, stageHeight_), isMissing ? Kind::missing : Kind::row};
    }
    const double y = found->second;
    const auto& range = key.direction == MIDIEndpointDirection::source ? viewports_.inputs : viewports_.outputs;
    if (!range || (y >= range->top && y <= range->bottom)) {
        return {y - stageTop_, Kind::row};
    }
    const Kind edge = y < range->top ? Kind::above : Kind::below;
    const double distance = edge == Kind::above ? range->top - y : y - range->bottom;
    Hidden& hidden = hidden_.at(index(key.direction, edge));
    if (hidden.count++ == 0 || distance < hidden.distance) {
        hidden.nearest = key;
        hidden.distance = distance;
    }
    hidden.y = (edge == Kind::above ? range->top + kEdgeInset : range->bottom - kEdgeInset) - stageTop_;
    return {hidden.y, edge};
}

}  // namespace corvel::ui
