#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "ui/Look.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"
#include "ui/RouterWindow/RouteLineEnds.hpp"

#include <QObject>

#include <array>
#include <vector>

class QWidget;

namespace corvel::ui {

class HiddenEndsButton;

/// The chevrons of a stage: one for each edge that hides rows with a line.
class RouteGraphEdges final : public QObject {
    Q_OBJECT

public:
    RouteGraphEdges(const Look& look, QWidget* stage);

    /// Shows a chevron at each edge with hidden ends.
    void show(const RouteLineEnds& ends);

    /// The visible chevrons.
    [[nodiscard]] std::vector<HiddenEndsButton*> shown() const;

signals:
    /// A chevron was pressed. `endpoint` has the nearest row behind its edge.
    void endpointRequested(const corvel::ui::EndpointPositionKey& endpoint);

private:
    struct Edge {
        MIDIEndpointDirection direction;
        RouteLine::EndKind kind;
        HiddenEndsButton* button;
        EndpointPositionKey nearest;
    };

    [[nodiscard]] Edge makeEdge(const Look& look, MIDIEndpointDirection direction, RouteLine::EndKind kind);

    QWidget* stage_;
    std::array<Edge, 4> edges_;
};

}  // namespace corvel::ui
