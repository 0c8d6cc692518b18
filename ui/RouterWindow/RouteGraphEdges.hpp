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

/// The chevrons of a stage: one for each edge behind which rows lie that have a line.
class RouteGraphEdges final : public QObject {
    Q_OBJECT

public:
    RouteGraphEdges(const Look& look, QWidget* stage);

    /// Shows a chevron at each edge where ends are hidden.
    void show(const RouteLineEnds& ends);

    /// The chevrons that are shown.
    [[nodiscard]] std::vector<HiddenEndsButton*> shown() const;

signals:
    /// A chevron was pressed: this row is the nearest behind its edge.
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
