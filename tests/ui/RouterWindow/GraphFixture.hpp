#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/routes/MIDIRouteSetDocument.hpp"
#include "tests/app/ModelFixture.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"

#include <QCoreApplication>
#include <QImage>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvel::tests {

/// A stage of 578 by 404 over a model with five connections, three of them complete:
///
/// | ID | from, at height | to, at height | |
/// |---|---|---|---|
/// | 1 | Tape Clock, 156 | Drum Machine, 108 | |
/// | 2 | Stage Piano, 108 | Warm Synth, 204 | selected |
/// | 3 | Foot Controller, 204 | String Section, 156 | paused |
/// | 4 | Drum Pads, 60 | Light Desk, which is missing | |
/// | 5 | Stage Piano, 108 | Bass Module, 60 | |
class GraphFixture : public ModelFixture {
public:
    GraphFixture(const GraphFixture&) = delete;
    GraphFixture& operator=(const GraphFixture&) = delete;
    // The view is destroyed before the model.
    ~GraphFixture() override { graph.reset(); }

protected:
    using Direction = MIDIEndpointDirection;

    GraphFixture() {
        host->sources.clear();
        host->destinations.clear();
        addSource(kDrumPads, "Drum Pads");
        addSource(kStagePiano, "Stage Piano");
        addSource(kTapeClock, "Tape Clock");
        addSource(kFootController, "Foot Controller");
        addDestination(kBassModule, "Bass Module");
        addDestination(kDrumMachine, "Drum Machine");
        addDestination(kStringSection, "String Section");
        addDestination(kWarmSynth, "Warm Synth");
        showRoutes({
            makeRoute({.id = makeID(1), .sourceID = kTapeClock, .destinationID = kDrumMachine}),
            makeRoute({.id = makeID(2), .sourceID = kStagePiano, .destinationID = kWarmSynth}),
            makeRoute(
                {.id = makeID(3), .sourceID = kFootController, .destinationID = kStringSection, .isEnabled = false}),
            makeRoute(
                {.id = makeID(4), .sourceID = kDrumPads, .destinationID = kLightDesk, .destinationName = "Light Desk"}),
            makeRoute({.id = makeID(5), .sourceID = kStagePiano, .destinationID = kBassModule}),
        });
        model->setSelectedRouteID(makeID(2));
        tell();
    }
    /// Starts the model and its view on these connections.
    void showRoutes(std::vector<MIDIRoute> routes) {
        graph.reset();
        makeModel(MIDIRouteSetDocument::singleSet(std::move(routes), "Friday Night"));
        startModel();
        graph = std::make_unique<ui::RouteGraph>(*model, look, clock);
        graph->resize(578, 404);
        graph->setConnectorPositions({
            {{Direction::source, kDrumPads}, 60},
            {{Direction::source, kStagePiano}, 108},
            {{Direction::source, kTapeClock}, 156},
            {{Direction::source, kFootController}, 204},
            {{Direction::destination, kBassModule}, 60},
            {{Direction::destination, kDrumMachine}, 108},
            {{Direction::destination, kStringSection}, 156},
            {{Direction::destination, kWarmSynth}, 204},
        });
        graph->show();
    }

    /// Tells the view to read the model again.
    void tell() {
        graph->refresh(ui::ModelChanges::all());
        QCoreApplication::processEvents();
    }

    /// Reports a message of a connection that was sent this long ago.
    void reportAgo(std::chrono::nanoseconds age, const UUID& routeID, std::vector<std::uint8_t> bytes) {
        const Instant present = clock->now();
        clock->set(present - age);
        report(routeID, std::move(bytes));
        clock->set(present);
    }

    /// The stage's picture at a device pixel ratio.
    [[nodiscard]] QImage picture(qreal ratio = 1) {
        QImage image((QSizeF(graph->size()) * ratio).toSize(), QImage::Format_RGB32);
        image.setDevicePixelRatio(ratio);
        graph->render(&image);
        return image;
    }

    static constexpr std::int32_t kDrumPads = 101;
    static constexpr std::int32_t kStagePiano = 102;
    static constexpr std::int32_t kTapeClock = 103;
    static constexpr std::int32_t kFootController = 104;
    static constexpr std::int32_t kBassModule = 201;
    static constexpr std::int32_t kDrumMachine = 202;
    static constexpr std::int32_t kStringSection = 203;
    static constexpr std::int32_t kWarmSynth = 204;
    static constexpr std::int32_t kLightDesk = 205;

    ui::Look look{AppAppearanceMode::dark};
    std::unique_ptr<ui::RouteGraph> graph;

private:
    void addSource(std::int32_t id, const std::string& name) {
        host->addSource(static_cast<MIDIObjectRef>(id), {.displayName = name, .uniqueID = id});
    }
    void addDestination(std::int32_t id, const std::string& name) {
        host->addDestination(static_cast<MIDIObjectRef>(id), {.displayName = name, .uniqueID = id});
    }
};

}  // namespace corvel::tests
