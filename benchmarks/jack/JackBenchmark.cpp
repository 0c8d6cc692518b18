// Measures Corvel between two clients of the running JACK server, compared with a direct connection of the two: the
// delay that Corvel adds, in periods, its jitter, and the lost messages; and the time that its process callback takes.
//
// usage: jack_benchmark wire MESSAGES PER-PERIOD
//        jack_benchmark callback SECONDS
// Exit status: 1 if Corvel exceeds a limit.

#include "benchmarks/jack/JackWire.hpp"
#include "benchmarks/jack/TimedJackLibrary.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/jack/JackMIDIHost.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace corvel::benchmarks {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 30s;
/// The maximum delay that Corvel may add to a direct connection, in periods.
constexpr double kDelayLimit = 1.0;
constexpr std::int64_t kJitterLimit = 0;
/// The maximum share of a period of 32 frames at 48 kHz, whatever the server's period is.
constexpr double kCallbackLimit = 0.05;
constexpr double kShortestPeriod = 32.0 / 48'000 * 1e9;
constexpr auto kMaxCallback = static_cast<std::int64_t>(kCallbackLimit * kShortestPeriod);
constexpr std::size_t kCallbackMessages = 10;

void print(const char* name, const JackRun& run) {
    std::printf(
        "%5u frames, %-10s | delay %8.3f periods | jitter %5lld frames | lost %zu of %zu, repeated %zu%s | xruns %zu\n",
        run.period, name, run.meanDelay / run.period, static_cast<long long>(run.maximumDelay - run.minimumDelay),
        run.sent - run.received, run.sent, run.repeated, run.isClean ? "" : ", WITH OTHER EVENTS", run.xruns);
    std::fflush(stdout);
}

/// Corvel without its window, with a connection from the player to the listener.
class Corvel {
public:
    Corvel() {
        const std::string document = folder_ / "routes.json";
        const std::vector<std::string> program{
            "env",   "XDG_CONFIG_HOME=" + folder_.path().string(), CORVEL_PROGRAM, "--midi", "jack", "--document",
            document};
        std::vector<std::string> command = program;
        command.insert(command.end(), {"--connect", JackWire::kPlayer, JackWire::kListener});
        tests::ChildProcess connecting(command);
        if (connecting.wait(kPatience) != 0) {
            throw std::runtime_error(connecting.standardError());
        }
        std::vector<std::string> routing = program;
        routing.emplace_back("--headless");
        router_ = std::make_unique<tests::ChildProcess>(routing);
    }

private:
    tests::TemporaryFolder folder_;
    std::unique_ptr<tests::ChildProcess> router_;
};

int measureWire(std::size_t messages, std::size_t perPeriod) {
    JackWire wire;
    wire.connectDirectly();
    wire.waitForRouter();
    const JackRun direct = wire.play(messages, perPeriod);
    print("direct", direct);
    wire.disconnect();

    const Corvel corvel;
    wire.waitForRouter();
    const JackRun routed = wire.play(messages, perPeriod);
    print("Corvel", routed);
    const double added = (routed.meanDelay - direct.meanDelay) / routed.period;
    const std::int64_t jitter =
        (routed.maximumDelay - routed.minimumDelay) - (direct.maximumDelay - direct.minimumDelay);
    const bool isMet = routed.received == messages && routed.repeated == 0 && routed.isClean && added <= kDelayLimit &&
                       jitter <= kJitterLimit && routed.xruns <= direct.xruns;
    std::printf("    added %.3f periods (limit %.2f), %lld frames of jitter (limit %lld): %s\n", added, kDelayLimit,
                static_cast<long long>(jitter), static_cast<long long>(kJitterLimit), isMet ? "within" : "BEYOND");
    return isMet ? 0 : 1;
}

int measureCallback(std::chrono::seconds duration) {
    JackWire wire;
    const auto times = std::make_shared<CallbackTimes>();
    const auto queue = EventLoop::withThread("engine");
    const auto mainQueue = EventLoop::withThread("main");
    const auto host = hosts::makeJackMIDIHost(queue, mainQueue, makeTimedJackLibrary(times, kMaxCallback), false);
    const auto engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, makeSystemClock());
    engine->start();
    // The server's thread finds the endpoints a moment later.
    MIDIEndpoints endpoints;
    for (int wait = 0; wait < 100 && endpoints.destinations.empty(); ++wait) {
        std::this_thread::sleep_for(100ms);
        endpoints = engine->endpoints();
    }
    const auto find = [](const std::vector<MIDIEndpointModel>& all, std::string_view name) {
        for (const MIDIEndpointModel& endpoint : all) {
            if (endpoint.displayName == name) {
                return endpoint.id;
            }
        }
        throw std::runtime_error("the measuring clients are not found");
    };
    engine->updateRoutes({tests::makeRoute({.id = tests::makeID(1),
                                            .sourceID = find(endpoints.sources, JackWire::kPlayer),
                                            .destinationID = find(endpoints.destinations, JackWire::kListener)})});
    const std::uint32_t period = wire.waitForRouter().period;
    // The first periods do work that later ones need not do, so they do not count.
    times->maximum = 0;
    times->sum = 0;
    times->periods = 0;
    times->beyond = 0;
    const auto periods = static_cast<std::size_t>(duration.count()) * wire.frameRate() / period;
    const JackRun run = wire.play(periods * kCallbackMessages, kCallbackMessages);
    print("Corvel", run);
    const double share = static_cast<double>(times->maximum) / kShortestPeriod;
    const bool isMet = share <= kCallbackLimit && run.xruns == 0 && run.received == run.sent && run.repeated == 0;
    std::printf("    process callback with %zu messages: mean %.2f us, worst %.2f us of %llu periods\n",
                kCallbackMessages, static_cast<double>(times->sum) / static_cast<double>(times->periods) / 1000,
                static_cast<double>(times->maximum) / 1000, static_cast<unsigned long long>(times->periods));
    std::printf(
        "    worst, of a period of 32 frames: %.1f %% (limit %.0f %%, beyond it %llu periods), none lost, no "
        "xruns: %s\n",
        100 * share, 100 * kCallbackLimit, static_cast<unsigned long long>(times->beyond), isMet ? "within" : "BEYOND");
    return isMet ? 0 : 1;
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() == 3 && arguments[0] == "wire") {
        return measureWire(std::stoul(arguments[1]), std::stoul(arguments[2]));
    }
    if (arguments.size() == 2 && arguments[0] == "callback") {
        return measureCallback(std::chrono::seconds(std::stoul(arguments[1])));
    }
    std::fprintf(stderr, "usage: jack_benchmark wire MESSAGES PER-PERIOD | callback SECONDS\n");
    return 2;
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int argc, char** argv) {
    try {
        return corvel::benchmarks::run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "jack_benchmark: %s\n", error.what());
        return 1;
    }
}
