// The cost of switching to another set of 300 connections between 65 devices: the time to the frame that shows it, the
// time for which the main thread is blocked afterwards, and the work of the engine's thread.

#include "benchmarks/ui/Figures.hpp"
#include "benchmarks/ui/ModelRig.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"
#include "ui/RouterWindow/RouterWindow.hpp"

#include <QApplication>
#include <QEvent>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

namespace corvel::benchmarks {

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int32_t kDevices = 65;
constexpr std::uint32_t kConnections = 300;
constexpr int kSwitches = 12;

/// A shown window over 65 devices, with two sets.
class SetsRig {
public:
    SetsRig() {
        rig_.addDevices(1, kDevices);
        const std::vector<MIDIRouteSet> sets{{tests::makeID(9001), "First", makeRoutes(1)},
                                             {tests::makeID(9002), "Second", makeRoutes(1001)}};
        rig_.start(MIDIRouteSetDocument(sets.front().id, sets));
        window_ =
            std::make_unique<ui::RouterWindow>(rig_.model(), rig_.look(), rig_.clock(), QList<QAction*>(), QString());
        window_->show();
        runLoop(3s);
    }

    [[nodiscard]] ui::RouterWindow& window() { return *window_; }

    void selectOtherSet() {
        isSecond_ = !isSecond_;
        rig_.model().selectRouteSet(tests::makeID(isSecond_ ? 9002 : 9001));
    }

    /// Runs the tasks of the engine's thread.
    void settle() { rig_.settle(); }

private:
    static std::vector<MIDIRoute> makeRoutes(std::uint32_t firstID) {
        std::vector<MIDIRoute> routes;
        for (std::uint32_t index = 0; index < kConnections; ++index) {
            const auto input = static_cast<std::int32_t>(index % kDevices);
            const auto output = static_cast<std::int32_t>((index * 7 + firstID) % kDevices);
            routes.push_back(tests::makeRoute({.id = tests::makeID(firstID + index),
                                               .sourceID = input + 1,
                                               .destinationID = ModelRig::kFirstDestination + output + 1}));
        }
        return routes;
    }

    ModelRig rig_;
    std::unique_ptr<ui::RouterWindow> window_;
    bool isSecond_ = false;
};

/// Records when the stage is first painted after it was armed.
class FirstPaint final : public QObject {
public:
    explicit FirstPaint(ui::RouterWindow& window) { window.findChild<ui::RouteGraph*>()->installEventFilter(this); }

    void arm() { at_.reset(); }
    [[nodiscard]] const std::optional<std::chrono::steady_clock::time_point>& at() const { return at_; }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && !at_) {
            at_ = std::chrono::steady_clock::now();
        }
        return false;
    }

private:
    std::optional<std::chrono::steady_clock::time_point> at_;
};

void measureSwitches() {
    SetsRig rig;
    FirstPaint paint(rig.window());
    std::vector<double> frames;
    std::vector<double> engine;
    std::vector<double> delays;
    for (int number = 0; number < kSwitches; ++number) {
        paint.arm();
        const auto start = std::chrono::steady_clock::now();
        rig.selectOtherSet();
        while (!paint.at()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        // The other views of the same frame are painted after the stage.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
        frames.push_back(Milliseconds(std::chrono::steady_clock::now() - start).count());

        // From here on the main thread should be free for messages.
        auto previous = std::chrono::steady_clock::now();
        double longest = 0;
        QTimer beat;
        beat.setTimerType(Qt::PreciseTimer);
        QObject::connect(&beat, &QTimer::timeout, &beat, [&] {
            const auto now = std::chrono::steady_clock::now();
            longest = std::max(longest, Milliseconds(now - previous).count() - 1);
            previous = now;
        });
        beat.start(1ms);
        runLoop(2s);
        delays.push_back(longest);

        const auto engineStart = std::chrono::steady_clock::now();
        rig.settle();
        engine.push_back(Milliseconds(std::chrono::steady_clock::now() - engineStart).count());
    }
    printPercentiles("another set of 300 connections, to its frame", frames, "ms", 100);
    printPercentiles("main thread held up once that is shown", delays, "ms", 1000.0 / 60);
    printPercentiles("engine's thread for 300 other connections", engine, "ms", 2);
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int argumentCount, char** arguments) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QApplication application(argumentCount, arguments);
    corvel::benchmarks::measureSwitches();
    return 0;
}
