// The cost of the whole window, without a display: the time from a service's list of 200 endpoints on each side to the
// screen and, with heavy traffic, the main thread's time for a message and the delay until it is drawn.

#include "benchmarks/ui/Figures.hpp"
#include "benchmarks/ui/ModelRig.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"
#include "ui/RouterWindow/RouterWindow.hpp"

#include <QApplication>
#include <QEvent>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace corvel::benchmarks {

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int32_t kEndpoints = 200;
constexpr std::uint32_t kConnections = 64;

/// A shown window over a service with many endpoints.
class WindowRig {
public:
    WindowRig() {
        rig_.addDevices(1, kEndpoints);
        std::vector<MIDIRoute> routes;
        for (std::uint32_t index = 0; index < kConnections; ++index) {
            const auto id = static_cast<std::int32_t>(index + 1);
            routes.push_back(tests::makeRoute(
                {.id = tests::makeID(index + 1), .sourceID = id, .destinationID = ModelRig::kFirstDestination + id}));
        }
        rig_.start(MIDIRouteSetDocument::singleSet(routes, "Set"));
        window_ =
            std::make_unique<ui::RouterWindow>(rig_.model(), rig_.look(), rig_.clock(), QList<QAction*>(), QString());
        window_->show();
        runLoop(300ms);
    }

    [[nodiscard]] ui::RouterWindow& window() { return *window_; }
    [[nodiscard]] Instant now() const { return rig_.clock()->now(); }

    /// Replaces all endpoints by as many others.
    void replaceEndpoints() {
        rig_.removeDevices();
        firstNumber_ += kEndpoints;
        rig_.addDevices(firstNumber_, kEndpoints);
        rig_.model().refreshDevices();
        rig_.settle();
    }

    void play(std::uint32_t number) {
        rig_.play(tests::makeID(number % kConnections + 1), now(), MIDIBytes{0x90, 60, 100});
    }

private:
    std::int32_t firstNumber_ = 1;
    ModelRig rig_;
    std::unique_ptr<ui::RouterWindow> window_;
};

/// Records when the stage is painted.
class PaintWatch final : public QObject {
public:
    explicit PaintWatch(WindowRig& rig) : rig_(rig) {
        rig.window().findChild<ui::RouteGraph*>()->installEventFilter(this);
    }

    /// A message has come that must be drawn.
    void expect() { waiting_.push_back(rig_.now()); }

    /// The times from messages to the next painting of the stage, in milliseconds.
    [[nodiscard]] const std::vector<double>& delays() const { return delays_; }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            const Instant now = rig_.now();
            for (const Instant came : waiting_) {
                delays_.push_back(Milliseconds(now - came).count());
            }
            waiting_.clear();
        }
        return false;
    }

private:
    WindowRig& rig_;
    std::vector<Instant> waiting_;
    std::vector<double> delays_;
};

void measureSnapshots() {
    WindowRig rig;
    std::vector<double> durations;
    for (int round = 0; round < 30; ++round) {
        const auto start = std::chrono::steady_clock::now();
        rig.replaceEndpoints();
        // The views read it on the next turn of the loop, and get their places and are painted on later ones.
        for (int turn = 0; turn < 5; ++turn) {
            QCoreApplication::processEvents();
        }
        durations.push_back(Milliseconds(std::chrono::steady_clock::now() - start).count());
    }
    printPercentiles("200 new endpoints a side, painted", durations, "ms", 100);
}

void measureTraffic() {
    constexpr double kRate = 5000;
    constexpr auto kDuration = 5s;
    WindowRig rig;
    PaintWatch watch(rig);
    std::uint32_t played = 0;
    const auto start = std::chrono::steady_clock::now();
    QTimer player;
    player.setTimerType(Qt::PreciseTimer);
    QObject::connect(&player, &QTimer::timeout, &player, [&] {
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        for (; played < kRate * passed.count(); ++played) {
            rig.play(played);
            watch.expect();
        }
    });
    player.start(2ms);
    const double before = threadProcessorSeconds();
    runLoop(kDuration);
    const double spent = threadProcessorSeconds() - before;
    printFigure("main thread, for each of 5,000 messages a second", 1e6 * spent / played, "us", 1e6 / kRate);
    printPercentiles("from a message to its drawing", watch.delays(), "ms", 2 * 1000.0 / 60);
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int argumentCount, char** arguments) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QApplication application(argumentCount, arguments);
    corvel::benchmarks::measureSnapshots();
    corvel::benchmarks::measureTraffic();
    return 0;
}
