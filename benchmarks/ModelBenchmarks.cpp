// The time of the application model on the main thread: for a routed event when all its lists are full, for a change of
// the endpoints, and for loading, switching and saving connection sets.

#include "app/InMemorySettings.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "benchmarks/Benchmarks.hpp"
#include "benchmarks/support/SampleDocument.hpp"
#include "core/messages/MIDIMessageParser.hpp"
#include "core/storage/RouteStore.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualQueue.hpp"

#include <benchmark/benchmark.h>
#include <boost/circular_buffer.hpp>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

/// Whether the endpoints of the connections are present.
enum class Endpoints : std::uint8_t {
    /// All are present, with the IDs that the connections have.
    known,
    /// None is present, so that every connection searches for its labels without success.
    unknown,
};

/// A model over a document on the disk and an engine over a fake host.
class ModelRig {
public:
    ModelRig(const DocumentSize& size, Endpoints endpoints)
        : folder_(std::filesystem::temp_directory_path() / ("corvel-benchmark-model-" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(folder_);
        const auto store = std::make_shared<RouteStore>(folder_ / "routes.json");
        store->saveDocument(makeDocument(size));
        addEndpoints(size.endpointsPerDirection, endpoints);
        const std::shared_ptr<const Clock> clock = makeSystemClock();
        engine_ = CoreMIDIRouterEngine::create(host_, queue_, mainQueue_, clock);
        model_ = MIDIRouterViewModel::create(engine_, store, std::make_shared<InMemorySettings>(), clock, mainQueue_);
        model_->startIfNeeded();
        queue_->runAll();
        mainQueue_->runAll();
        model_->applyEndpointSnapshot();
    }
    ModelRig(const ModelRig&) = delete;
    ModelRig& operator=(const ModelRig&) = delete;
    ~ModelRig() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    [[nodiscard]] MIDIRouterViewModel& model() { return *model_; }
    [[nodiscard]] CoreMIDIRouterEngine& engine() { return *engine_; }

    /// Runs what a command has posted to the engine.
    void runQueues() {
        queue_->runAll();
        mainQueue_->runAll();
    }

private:
    void addEndpoints(std::int32_t count, Endpoints endpoints) {
        constexpr std::int32_t kDestinationReferences = 1'000'000;
        const bool areKnown = endpoints == Endpoints::known;
        // In reverse order, so that there is something to sort.
        for (std::int32_t id = count; id >= 1; --id) {
            const std::int32_t shown = areKnown ? id : -id;
            host_->addSource(
                static_cast<MIDIObjectRef>(id),
                {.displayName = sourceLabel(shown), .manufacturer = kManufacturerLabel, .uniqueID = shown});
            host_->addDestination(
                static_cast<MIDIObjectRef>(kDestinationReferences + id),
                {.displayName = destinationLabel(shown), .manufacturer = kManufacturerLabel, .uniqueID = shown});
        }
    }

    std::filesystem::path folder_;
    std::shared_ptr<tests::FakeMIDIHost> host_ = std::make_shared<tests::FakeMIDIHost>();
    std::shared_ptr<tests::ManualQueue> queue_ = std::make_shared<tests::ManualQueue>();
    std::shared_ptr<tests::ManualQueue> mainQueue_ =
        std::make_shared<tests::ManualQueue>(tests::ManualQueue::Current::onMakerThread);
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
    std::shared_ptr<MIDIRouterViewModel> model_;
};

// A routed event

MIDIBytes repeatedNotes(std::size_t count) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t index = 0; index < count; ++index) {
        bytes.insert(bytes.end(), {0x90, 0x3C, 0x64});
    }
    return MIDIBytes(bytes);
}

void recordEvent(benchmark::State& state, std::size_t notes) {
    ModelRig rig({.sets = 1}, Endpoints::known);
    const MIDIBytes bytes = repeatedNotes(notes);
    const UUID routeID = rig.model().routes().front().id;
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    std::size_t notified = 0;
    const Observation observation = rig.model().observe([&notified](MIDIRouterViewModel::Property) { ++notified; });
    const auto record = [&] {
        const MIDIActivityEvent event(UUID::random(), routeID, clock->now(), bytes);
        rig.model().midiRouterEngineDidRoute(rig.engine(), event);
    };
    for (std::size_t index = 0; index < MIDIRouterViewModel::kGraphActivityLimit; ++index) {
        record();
    }
    notified = 0;
    for ([[maybe_unused]] const auto _ : state) {
        record();
    }
    if (notified != 2 * static_cast<std::size_t>(state.iterations()) ||
        rig.model().activityEvents().size() != MIDIRouterViewModel::kActivityLimit) {
        state.SkipWithError("events were lost");
    }
}

/// The same events, split and stored in two plain ring buffers, without observers.
void recordPlainly(benchmark::State& state, std::size_t notes) {
    const MIDIBytes bytes = repeatedNotes(notes);
    const UUID routeID = UUID::random();
    const std::shared_ptr<const Clock> clock = makeSystemClock();
    boost::circular_buffer<MIDIActivityEvent> activity(MIDIRouterViewModel::kActivityLimit);
    boost::circular_buffer<MIDIActivityEvent> pulses(MIDIRouterViewModel::kGraphActivityLimit);
    for ([[maybe_unused]] const auto _ : state) {
        const MIDIActivityEvent event(UUID::random(), routeID, clock->now(), bytes);
        activity.push_back(event);
        for (MIDIMessageFragment& fragment : MIDIMessageParser::fragments(event.bytes)) {
            pulses.push_back({UUID::random(), event.routeID, event.timestamp, std::move(fragment.bytes)});
        }
        benchmark::ClobberMemory();
    }
}

// The endpoints

/// 500 endpoints and 2,000 connections in the current set, times `scale`.
DocumentSize snapshotSize(double scale) {
    return {.sets = 1,
            .connectionsPerSet = static_cast<std::size_t>(2000 * scale),
            .assignmentsPerConnection = 1,
            .endpointsPerDirection = static_cast<std::int32_t>(250 * scale)};
}

void takeSnapshot(benchmark::State& state, double scale, Endpoints endpoints) {
    const DocumentSize size = snapshotSize(scale);
    ModelRig rig(size, endpoints);
    for ([[maybe_unused]] const auto _ : state) {
        rig.model().applyEndpointSnapshot();
    }
    const bool areKnown = endpoints == Endpoints::known;
    const RouteAvailability expected = areKnown ? RouteAvailability::active : RouteAvailability::missingEndpoints;
    if (rig.model().sources().size() != static_cast<std::size_t>(size.endpointsPerDirection) ||
        rig.model().routeAvailability(rig.model().routes().front()) != expected) {
        state.SkipWithError("the endpoints were not taken in");
    }
}

/// The engine's share of a snapshot: reading the endpoints from the service.
void listEndpoints(benchmark::State& state) {
    ModelRig rig(snapshotSize(1), Endpoints::known);
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(rig.engine().endpoints());
    }
}

// Sets

void loadDocument(benchmark::State& state, std::size_t sets) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("corvel-benchmark-load-" + std::to_string(::getpid()));
    const RouteStore store(folder / "routes.json");
    store.saveDocument(makeDocument({.sets = sets}));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(store.loadDocument());
    }
    std::filesystem::remove_all(folder);
}

void switchSets(benchmark::State& state, std::size_t sets) {
    ModelRig rig({.sets = sets}, Endpoints::known);
    const UUID ids[] = {rig.model().routeSets().front().id, rig.model().routeSets().back().id};
    std::size_t next = 1;
    for ([[maybe_unused]] const auto _ : state) {
        rig.model().selectRouteSet(ids[next]);
        rig.runQueues();
        next = 1 - next;
    }
    if (rig.model().selectedRouteSetID() != ids[1 - next] || rig.model().saveFailure()) {
        state.SkipWithError("the set was not selected");
    }
}

}  // namespace

void registerModelBenchmarks(Summary& summary) {
    for (const std::size_t notes : {std::size_t{1}, std::size_t{100}}) {
        const std::string name = "model, event of " + std::to_string(notes) + " notes";
        benchmark::RegisterBenchmark(name.c_str(), recordEvent, notes);
        benchmark::RegisterBenchmark((name + ", plain").c_str(), recordPlainly, notes);
        summary.addRatio(name, name + ", plain", std::nullopt);
    }

    const auto addSizes = [&](const std::string& what, double size, const auto& add) {
        std::vector<std::string> names;
        for (const double scale : {0.5, 1.0, 2.0}) {
            const char* suffix = scale < 1 ? ", half" : scale > 1 ? ", twice" : "";
            names.push_back("model, " + what + suffix);
            add(names.back(), scale)->Unit(benchmark::kMillisecond);
        }
        summary.addGrowth(names[0], names[1], names[2], size);
        return names[1];
    };
    const double snapshotThings = 2500;
    const std::string snapshot =
        addSizes("snapshot, all known", snapshotThings, [](const std::string& name, double scale) {
            return benchmark::RegisterBenchmark(name.c_str(), takeSnapshot, scale, Endpoints::known);
        });
    addSizes("snapshot, all missing", snapshotThings, [](const std::string& name, double scale) {
        return benchmark::RegisterBenchmark(name.c_str(), takeSnapshot, scale, Endpoints::unknown);
    });
    benchmark::RegisterBenchmark("model, listing of endpoints", listEndpoints)->Unit(benchmark::kMillisecond);
    summary.addRatio(snapshot, "model, listing of endpoints", std::nullopt);

    constexpr std::size_t kSets = 20;
    const double assignments = static_cast<double>(DocumentSize{.sets = kSets}.assignments());
    const auto scaledSets = [](double scale) { return static_cast<std::size_t>(kSets * scale); };
    addSizes("load a document", assignments, [&](const std::string& name, double scale) {
        return benchmark::RegisterBenchmark(name.c_str(), loadDocument, scaledSets(scale))->UseRealTime();
    });
    addSizes("switch sets", assignments, [&](const std::string& name, double scale) {
        return benchmark::RegisterBenchmark(name.c_str(), switchSets, scaledSets(scale))->UseRealTime();
    });
}

}  // namespace corvel::benchmarks
