// The time of a routed message from the receive callback to the main thread's report, compared with a minimal router.
//
// The engine's side is complete: callback, copy, post, task, lookups, transform, packet, send, activity event with
// identity and time, report, and the main thread that takes the reports in batches. The tests' queues run on this one
// thread, so each task costs a few uncontended locks. The `loop` figures add the system calls of the real event loop:
// one for each burst of packets that are read together.
//
// The plain side does the same copies, the same rewriting and the same calls of the same host, in a loop over a flat
// table with only the needed fields, and reports nothing. No router can do less. `reporting` also creates the event
// that every message needs, with identity, time and bytes, and puts it into a list. The difference between the two is
// the cost of the activity display, not of the engine.

#include "benchmarks/Benchmarks.hpp"
#include "benchmarks/support/EngineRig.hpp"
#include "core/support/EventLoop.hpp"
#include "tests/support/ManualQueue.hpp"

#include <benchmark/benchmark.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <semaphore>
#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

/// The main thread takes reports when about this many are waiting: a sixtieth of a second of dense playing.
constexpr std::size_t kReportsPerBatch = 1024;

/// Different notes, so that nothing depends on one value.
constexpr std::array<std::array<std::uint8_t, 3>, 4> kNotes{
    {{0x90, 0x3C, 0x64}, {0x80, 0x3C, 0x40}, {0x91, 0x40, 0x7F}, {0x81, 0x40, 0x00}}};

std::size_t packetsPerIteration(const RoutingLayout& layout) {
    return std::max<std::size_t>(1, kReportsPerBatch / layout.matching);
}

std::size_t messagesPerIteration(const RoutingLayout& layout) {
    return packetsPerIteration(layout) * layout.matching;
}

/// A run counts only if every message was sent and, if required, reported.
void finish(benchmark::State& state, const RoutingLayout& layout, std::size_t sent, std::size_t reported) {
    setUnitsPerIteration(state, static_cast<double>(messagesPerIteration(layout)));
    const std::size_t expected = static_cast<std::size_t>(state.iterations()) * messagesPerIteration(layout);
    if (sent != expected || reported != expected) {
        state.SkipWithError("messages were lost");
    }
}

void routeThroughEngine(benchmark::State& state, const RoutingLayout& layout, bool releasesHeldNotes) {
    const auto queue = std::make_shared<tests::ManualQueue>();
    EngineRig rig(layout, queue, releasesHeldNotes);
    queue->runAll();
    const std::size_t packets = packetsPerIteration(layout);
    for ([[maybe_unused]] const auto _ : state) {
        for (std::size_t index = 0; index < packets; ++index) {
            rig.receive(kNotes[index % kNotes.size()]);
            queue->runAll();
        }
        rig.takeReports();
    }
    finish(state, layout, rig.sent(), rig.delegate().routed);
}

/// The same on the program's real event loop, which finds `burst` packets to read in each round, on its own thread as
/// with the sequencer.
void routeThroughLoop(benchmark::State& state, const RoutingLayout& layout, std::size_t burst) {
    const std::shared_ptr<EventLoop> loop = EventLoop::withThread("benchmark");
    EngineRig rig(layout, loop);
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    const std::size_t packets = packetsPerIteration(layout);
    std::size_t left = 0;
    std::binary_semaphore isDone(0);
    const auto receiveBurst = [&] {
        for (std::size_t index = 0; index < burst && left > 0; ++index, --left) {
            rig.receive(kNotes[left % kNotes.size()]);
        }
        if (left == 0) {
            eventfd_t count = 0;
            ::eventfd_read(descriptor, &count);
            isDone.release();
        }
    };
    loop->sync([&] { loop->watch(descriptor, receiveBurst, [] {}); });
    for ([[maybe_unused]] const auto _ : state) {
        left = packets;
        ::eventfd_write(descriptor, 1);
        isDone.acquire();
        rig.takeReports();
    }
    loop->sync([&] { loop->unwatch(descriptor); });
    ::close(descriptor);
    finish(state, layout, rig.sent(), rig.delegate().routed);
}

/// The reference that the host gives the plain side's port.
constexpr MIDIObjectRef kOutputPort = 2;

/// The fields of a connection that the plain side needs.
struct Connection {
    std::int32_t sourceID = 0;
    MIDIObjectRef destination = 0;
    std::uint8_t channelBits = 0;
    UUID id;
};

std::vector<Connection> makeConnections(const RoutingLayout& layout) {
    std::vector<Connection> connections;
    for (const MIDIRoute& route : makeRoutes(layout)) {
        connections.push_back({route.sourceID, static_cast<MIDIObjectRef>(route.destinationID),
                               static_cast<std::uint8_t>(*route.channelMode.forcedChannel() - 1), route.id});
    }
    return connections;
}

/// Sends a packet through every connection from its source; calls `report` for each sent message.
template <typename Report>
void routePlainly(MIDIHost& host, const std::vector<Connection>& connections, std::span<const std::uint8_t> packet,
                  const Report& report) {
    const MIDIBytes received(packet.begin(), packet.end());
    for (const Connection& connection : connections) {
        if (connection.sourceID != kSource) {
            continue;
        }
        MIDIBytes bytes = received;
        if (bytes[0] >= 0x80 && bytes[0] < 0xF0) {
            bytes.writable()[0] = static_cast<std::uint8_t>((bytes[0] & 0xF0U) | connection.channelBits);
        }
        MIDISend message{.destination = connection.destination, .bytes = bytes};
        host.send(kOutputPort, {&message, 1});
        if (message.status == kMIDISuccess) {
            report(connection, std::move(bytes));
        }
    }
}

template <typename Report>
void runPlainly(benchmark::State& state, const RoutingLayout& layout, const Report& report) {
    const auto host = std::make_shared<tests::FakeMIDIHost>();
    addEndpoints(*host, layout);
    const MIDIObjectRef client = host->createClient("Plain", {}).ref;
    if (host->createOutputPort(client, "Plain Output").ref != kOutputPort) {
        state.SkipWithError("the port has another reference");
    }
    const std::vector<Connection> connections = makeConnections(layout);
    const std::size_t packets = packetsPerIteration(layout);
    std::size_t reported = 0;
    for ([[maybe_unused]] const auto _ : state) {
        for (std::size_t index = 0; index < packets; ++index) {
            routePlainly(*host, connections, kNotes[index % kNotes.size()],
                         [&](const Connection& connection, MIDIBytes&& bytes) {
                             report(connection, std::move(bytes));
                             ++reported;
                         });
        }
    }
    finish(state, layout, host->sentCount, reported);
}

void routePlain(benchmark::State& state, const RoutingLayout& layout) {
    runPlainly(state, layout, [](const Connection&, const MIDIBytes&) {});
}

void routePlainReporting(benchmark::State& state, const RoutingLayout& layout) {
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    std::vector<MIDIActivityEvent> events;
    runPlainly(state, layout, [&](const Connection& connection, MIDIBytes&& bytes) {
        events.emplace_back(UUID::random(), connection.id, clock->now(), std::move(bytes));
        if (events.size() == kReportsPerBatch) {
            benchmark::DoNotOptimize(events.data());
            events.clear();
        }
    });
}

// The work that every implementation needs, because each event has its own time and identity.

void readClock(benchmark::State& state) {
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(clock->now());
    }
}

void drawIdentity(benchmark::State& state) {
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(UUID::random());
    }
}

}  // namespace

void registerRoutingBenchmarks(Summary& summary) {
    constexpr double kLimit = 2.0;
    constexpr double kHeldNotesLimit = 1.05;
    struct Case {
        std::string name;
        RoutingLayout layout;
    };
    for (const Case& entry : {Case{"fan-out 1", {1, 0}}, Case{"fan-out 16", {16, 0}}, Case{"fan-out 256", {256, 0}},
                              Case{"1 of 1000 connections", {1, 999}}}) {
        const auto name = [&](const std::string& side) { return "routing, " + entry.name + ", " + side; };
        const RoutingLayout layout = entry.layout;
        const auto add = [&](const std::string& side, auto function) {
            benchmark::RegisterBenchmark(name(side).c_str(), function);
        };
        add("engine", [layout](benchmark::State& state) { routeThroughEngine(state, layout, false); });
        add("engine, held notes followed",
            [layout](benchmark::State& state) { routeThroughEngine(state, layout, true); });
        add("plain", [layout](benchmark::State& state) { routePlain(state, layout); });
        add("plain reporting", [layout](benchmark::State& state) { routePlainReporting(state, layout); });
        add("loop, bursts of 1", [layout](benchmark::State& state) { routeThroughLoop(state, layout, 1); });
        add("loop, bursts of 16", [layout](benchmark::State& state) { routeThroughLoop(state, layout, 16); });
        summary.addRatio(name("engine"), name("plain"), kLimit);
        summary.addRatio(name("engine, held notes followed"), name("engine"), kHeldNotesLimit);
        summary.addRatio(name("engine"), name("plain reporting"), std::nullopt);
        summary.addRatio(name("plain reporting"), name("plain"), std::nullopt);
        summary.addRatio(name("loop, bursts of 1"), name("plain"), std::nullopt);
        summary.addRatio(name("loop, bursts of 16"), name("plain"), std::nullopt);
    }
    const std::string minimalRouter = "routing, fan-out 1, plain";
    const auto addPart = [&](const char* name, void (*function)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, function);
        summary.addRatio(name, minimalRouter, std::nullopt);
    };
    addPart("routing, part: reading the clock", readClock);
    addPart("routing, part: drawing an identity", drawIdentity);
}

}  // namespace corvel::benchmarks
