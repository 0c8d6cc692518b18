#include "ui/RouterWindow/RouteGraphEdges.hpp"

#include "ui/RouterWindow/HiddenEndsButton.hpp"

#include <QWidget>

#include <cmath>

namespace corvel::ui {

namespace {

using Direction = MIDIEndpointDirection;
using Kind = RouteLine::EndKind;

}  // namespace

RouteGraphEdges::RouteGraphEdges(const Look& look, QWidget* stage)
    : QObject(stage),
      stage_(stage),
      edges_{makeEdge(look, Direction::source, Kind::above), makeEdge(look, Direction::source, Kind::below),
             makeEdge(look, Direction::destination, Kind::above), makeEdge(look, Direction::destination, Kind::below)} {
    for (const Edge& edge : edges_) {
        connect(edge.button, &QAbstractButton::clicked, this, [this, &edge] { emit endpointRequested(edge.nearest); });
    }
}

RouteGraphEdges::Edge RouteGraphEdges::makeEdge(const Look& look, Direction direction, Kind kind) {
    const QString plural = direction == Direction::source ? QStringLiteral("inputs") : QStringLiteral("outputs");
    return {direction, kind, new HiddenEndsButton(look, kind == Kind::above, plural, stage_), {}};
}

void RouteGraphEdges::show(const RouteLineEnds& ends) {
    for (Edge& edge : edges_) {
        const RouteLineEnds::Hidden& hidden = ends.hidden(edge.direction, edge.kind);
        edge.button->setVisible(hidden.count > 0);
        if (hidden.count == 0) {
            continue;
        }
        edge.nearest = hidden.nearest;
        edge.button->setCount(hidden.count);
        // Beside the connector marks, so that it never covers one.
        constexpr auto kInset = static_cast<int>(RouteLine::kConnectorWidth);
        const int x = edge.direction == Direction::source ? kInset : stage_->width() - kInset - edge.button->width();
        edge.button->move(x, static_cast<int>(std::lround(hidden.y)) - HiddenEndsButton::kHeight / 2);
    }
}

std::vector<HiddenEndsButton*> RouteGraphEdges::shown() const {
    std::vector<HiddenEndsButton*> shown;
    for (const Edge& edge : edges_) {
        if (!edge.button->isHidden()) {
            shown.push_back(edge.button);
        }
    }
    return shown;
}

}  // namespace corvel::ui
