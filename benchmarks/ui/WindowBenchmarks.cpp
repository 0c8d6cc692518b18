// What the whole window costs, without a display: 200 endpoints a side from the service's list to the screen, and heavy
// traffic, in the main thread's time for a message and in how late a message is drawn.

#include "app/InMemorySettings.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "benchmarks/ui/Figures.hpp"
#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/storage/RouteStore.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "ui/Look.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"
#include "ui/RouterWindow/RouterWindow.hpp"

#include <QApplication>
#include <QEvent>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int32_t kEndpoints = 200;
constexpr std::uint32_t kConnections = 64;
constexpr std::int32_t kFirstDestination = 1000;

/// A shown window over a service with many endpoints.
class WindowRig {
public:
    WindowRig() {
        addEndpoints("First");
        std::vector<MIDIRoute> routes;
        for (std::uint32_t index = 0; index < kConnections; ++index) {
            const auto id = static_cast<std::int32_t>(index + 1);
            routes.push_back(tests::makeRoute(
                {.id = tests::makeID(index + 1), .sourceID = id, .destinationID = kFirstDestination + id}));
        }
        const auto store = std::make_shared<RouteStore>(folder_ / "routes.json");
        store->saveDocument(MIDIRouteSetDocument::singleSet(routes, "Set"));
        engine_ = CoreMIDIRouterEngine::create(host_, queue_, mainQueue_, clock_);
        model_ = MIDIRouterViewModel::create(engine_, store, std::make_shared<InMemorySettings>(), clock_, mainQueue_);
        model_->startIfNeeded();
        settle();
        window_ = std::make_unique<ui::RouterWindow>(*model_, look_, clock_, QList<QAction*>(), QString());
        window_->show();
        runLoop(300ms);
    }

    [[nodiscard]] ui::RouterWindow& window() { return *window_; }
    [[nodiscard]] Instant now() const { return clock_->now(); }

    /// All endpoints go, and as many others come.
    void replaceEndpoints(const std::string& name) {
        host_->sources.clear();
        host_->destinations.clear();
        firstID_ += kEndpoints;
        addEndpoints(name);
        model_->refreshDevices();
        settle();
    }

    void play(std::uint32_t number) {
        model_->midiRouterEngineDidRoute(
            *engine_, MIDIActivityEvent(UUID::random(), tests::makeID(number % kConnections + 1), clock_->now(),
                                        MIDIBytes{0x90, 60, 100}));
    }

private:
    void addEndpoints(const std::string& name) {
        for (std::int32_t index = 1; index <= kEndpoints; ++index) {
            const std::int32_t id = firstID_ + index;
            const std::int32_t destination = kFirstDestination + id;
            host_->addSource(static_cast<MIDIObjectRef>(id),
                             {.displayName = name + " input " + std::to_string(index), .uniqueID = id});
            host_->addDestination(static_cast<MIDIObjectRef>(destination),
                                  {.displayName = name + " output " + std::to_string(index), .uniqueID = destination});
        }
    }

    void settle() {
        queue_->runAll();
        mainQueue_->runAll();
    }

    tests::TemporaryFolder folder_;
    std::int32_t firstID_ = 0;
    const std::shared_ptr<const Clock> clock_ = makeSystemClock();
    const std::shared_ptr<tests::FakeMIDIHost> host_ = std::make_shared<tests::FakeMIDIHost>();
    const std::shared_ptr<tests::ManualQueue> queue_ = std::make_shared<tests::ManualQueue>();
    const std::shared_ptr<tests::ManualQueue> mainQueue_ =
        std::make_shared<tests::ManualQueue>(tests::ManualQueue::Current::onMakerThread);
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
    std::shared_ptr<MIDIRouterViewModel> model_;
    const ui::Look look_{AppAppearanceMode::dark};
    std::unique_ptr<ui::RouterWindow> window_;
};

/// Notes when the stage is painted.
class PaintWatch final : public QObject {
public:
    explicit PaintWatch(WindowRig& rig) : rig_(rig) {
        rig.window().findChild<ui::RouteGraph*>()->installEventFilter(this);
    }

    /// A message has come that is to be drawn.
    void expect() { waiting_.push_back(rig_.now()); }

    /// How long messages waited until the stage was next painted, in milliseconds.
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
        rig.replaceEndpoints("Round " + std::to_string(round));
        // The views read it on the next turn of the loop, and are laid out and painted on those after it.
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
