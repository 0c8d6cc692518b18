// The cost of the stage: the time of a frame and the processor load with as much traffic as the model keeps, at the
// usual device pixel ratios, and the processor load while nothing is played.

#include "benchmarks/ui/Figures.hpp"
#include "benchmarks/ui/ModelRig.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"

#include <QApplication>
#include <QTimer>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::benchmarks {

namespace {

using namespace std::chrono_literals;

/// The number of connections and endpoints on a stage.
struct Load {
    std::uint32_t connections = 64;
    /// The number of inputs, and of outputs.
    std::int32_t endpoints = 16;
};
/// More devices than the window can show at once, so that some lines end at chevrons.
constexpr Load kLargeLoad{.connections = 300, .endpoints = 65};
/// The stage of a window of 1180 by 760.
constexpr QSize kStage(578, 404);
/// The time for which an event is visible: the signal and the ring.
constexpr std::chrono::nanoseconds kEventLife = 892'500us;
constexpr std::chrono::nanoseconds kFrame = 16'666'667ns;
constexpr std::chrono::nanoseconds kEventGap = kEventLife / MIDIRouterViewModel::kGraphActivityLimit;

/// A shown stage with its connections.
class StageRig {
public:
    explicit StageRig(std::shared_ptr<const Clock> clock, Load load = {}) : load_(load), rig_(std::move(clock)) {
        rig_.addDevices(1, load_.endpoints);
        ui::EndpointConnectorYPositions positions;
        for (std::int32_t index = 0; index < load_.endpoints; ++index) {
            const double height = 12 + 24.0 * index;
            positions[{MIDIEndpointDirection::source, index + 1}] = height;
            positions[{MIDIEndpointDirection::destination, ModelRig::kFirstDestination + index + 1}] = height;
        }
        rig_.start(MIDIRouteSetDocument::singleSet(makeRoutes(), "Set"));
        rig_.model().setSelectedRouteID(tests::makeID(1));
        graph_ = std::make_unique<ui::RouteGraph>(rig_.model(), rig_.look(), rig_.clock());
        graph_->resize(kStage);
        const ui::EndpointViewports::Range range{0, kStage.height()};
        graph_->setConnectorPositions(positions, {.inputs = range, .outputs = range});
        graph_->show();
        QCoreApplication::processEvents();
    }

    [[nodiscard]] ui::RouteGraph& graph() { return *graph_; }

    /// Plays the next message, on every connection in turn.
    void play(Instant instant) {
        static constexpr std::uint8_t kStatuses[] = {0x90, 0xB0, 0xC0, 0xE0};
        const std::uint32_t number = played_++;
        const MIDIBytes bytes{kStatuses[number / load_.connections % 4], 60, 100};
        rig_.play(tests::makeID(number % load_.connections + 1), instant, bytes);
    }

    void select(std::uint32_t connection) {
        rig_.model().setSelectedRouteID(tests::makeID(connection));
        graph_->refresh(ui::ModelChanges::all());
    }

private:
    [[nodiscard]] std::vector<MIDIRoute> makeRoutes() const {
        std::vector<MIDIRoute> routes;
        for (std::uint32_t index = 0; index < load_.connections; ++index) {
            // Every input goes to four outputs, near and far.
            const auto input = static_cast<std::int32_t>(index % static_cast<std::uint32_t>(load_.endpoints));
            const auto output =
                static_cast<std::int32_t>((index * 5 + index / static_cast<std::uint32_t>(load_.endpoints)) %
                                          static_cast<std::uint32_t>(load_.endpoints));
            routes.push_back(tests::makeRoute({.id = tests::makeID(index + 1),
                                               .sourceID = input + 1,
                                               .destinationID = ModelRig::kFirstDestination + output + 1}));
        }
        return routes;
    }

    const Load load_;
    ModelRig rig_;
    std::unique_ptr<ui::RouteGraph> graph_;
    std::uint32_t played_ = 0;
};

/// The durations of actions in milliseconds: by the clock, and in processor time, which other work on the machine
/// influences little.
class Durations {
public:
    template <typename Action>
    void measure(const Action& action) {
        const double processor = processorSeconds();
        const auto start = std::chrono::steady_clock::now();
        action();
        const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - start;
        elapsed_.push_back(passed.count());
        processor_.push_back(1000 * (processorSeconds() - processor));
    }

    void print(const std::string& what, const std::string& at, std::optional<double> limit) {
        printPercentiles(what + at + ", elapsed", elapsed_, "ms", limit);
        printPercentiles(what + at + ", processor", processor_, "ms", limit);
    }

private:
    std::vector<double> elapsed_;
    std::vector<double> processor_;
};

/// The processor load, in percent of a core, over some seconds of the program's own loop.
double processorShare(std::chrono::milliseconds duration) {
    const double before = processorSeconds();
    const auto start = std::chrono::steady_clock::now();
    runLoop(duration);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return 100 * (processorSeconds() - before) / passed.count();
}

void measureFrames(const std::string& at, double limit, Load load) {
    const auto clock = std::make_shared<tests::ManualClock>();
    StageRig rig(clock, load);
    rig.graph().ticker().stop();
    Instant next = clock->now();
    Durations frames;
    constexpr int kWarmFrames = 120;
    constexpr int kFrames = 1200;
    for (int frame = 0; frame < kWarmFrames + kFrames; ++frame) {
        clock->advance(kFrame);
        for (; next <= clock->now(); next += kEventGap) {
            rig.play(next);
        }
        const auto show = [&rig] {
            rig.graph().ticker().tick();
            QCoreApplication::processEvents();
        };
        if (frame < kWarmFrames) {
            show();
        } else {
            frames.measure(show);
        }
    }
    frames.print("frame with " + std::to_string(load.connections) + " connections", at, limit);
}

/// The time of a frame in which the lines also change: here another one is selected.
void measureLines(const std::string& at, Load load) {
    StageRig rig(std::make_shared<tests::ManualClock>(), load);
    rig.graph().ticker().stop();
    Durations frames;
    for (std::uint32_t frame = 0; frame < 2 * load.connections; ++frame) {
        frames.measure([&] {
            rig.select(frame % load.connections + 1);
            QCoreApplication::processEvents();
        });
    }
    frames.print("frame with " + std::to_string(load.connections) + " new lines", at, std::nullopt);
}

void measureTraffic(const std::string& at) {
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    StageRig rig(clock);
    Instant next = clock->now() - kEventLife;
    QTimer player;
    player.setTimerType(Qt::PreciseTimer);
    QObject::connect(&player, &QTimer::timeout, &player, [&] {
        for (const Instant now = clock->now(); next <= now; next += kEventGap) {
            rig.play(next);
        }
    });
    player.start(10ms);
    printFigure("processor with 512 live events" + at, processorShare(5s), "% of a core", std::nullopt);
}

void measureRest(const std::string& at) {
    QTimer bareTicker;
    bareTicker.setTimerType(Qt::PreciseTimer);
    bareTicker.start(16ms);
    printFigure("processor of a bare timer" + at, processorShare(10s), "% of a core", std::nullopt);
    bareTicker.stop();
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    StageRig rig(clock);
    for (std::size_t index = 0; index < MIDIRouterViewModel::kGraphActivityLimit; ++index) {
        rig.play(clock->now() - 2s);
    }
    processorShare(200ms);
    printFigure("processor without traffic" + at, processorShare(10s), "% of a core", .5);
}

/// Runs a measurement in a process of its own, because a process has only one device pixel ratio.
template <typename Measurement>
bool runAt(const char* ratio, const Measurement& measurement) {
    std::fflush(stdout);
    const ::pid_t child = ::fork();
    if (child == 0) {
        ::setenv("QT_SCALE_FACTOR", ratio, 1);
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        std::string name = "graph_benchmarks";
        char* arguments[] = {name.data(), nullptr};
        int count = 1;
        {
            const QApplication application(count, arguments);
            measurement(std::string(", ratio ") + ratio);
        }
        std::fflush(stdout);
        ::_exit(0);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace

}  // namespace corvel::benchmarks

int main() {
    using namespace corvel::benchmarks;
    bool isComplete = true;
    for (const auto& [ratio, limit] : {std::pair{"1", 4.0}, std::pair{"2", 8.0}}) {
        for (const Load load : {Load(), kLargeLoad}) {
            isComplete &= runAt(ratio, [limit, load](const std::string& at) { measureFrames(at, limit, load); });
            isComplete &= runAt(ratio, [load](const std::string& at) { measureLines(at, load); });
        }
        isComplete &= runAt(ratio, measureTraffic);
        isComplete &= runAt(ratio, measureRest);
    }
    return isComplete ? 0 : 1;
}
