#include "benchmarks/ui/ModelRig.hpp"

#include "app/InMemorySettings.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/storage/RouteStore.hpp"

namespace corvel::benchmarks {

void ModelRig::addDevices(std::int32_t firstNumber, std::int32_t count) {
    for (std::int32_t id = firstNumber; id < firstNumber + count; ++id) {
        const std::int32_t destination = kFirstDestination + id;
        host_->addSource(static_cast<MIDIObjectRef>(id),
                         {.displayName = "Input " + std::to_string(id), .uniqueID = id});
        host_->addDestination(static_cast<MIDIObjectRef>(destination),
                              {.displayName = "Output " + std::to_string(id), .uniqueID = destination});
    }
}

void ModelRig::removeDevices() {
    host_->sources.clear();
    host_->destinations.clear();
}

void ModelRig::start(const MIDIRouteSetDocument& document) {
    const auto store = std::make_shared<RouteStore>(folder_ / "routes.json");
    store->saveDocument(document);
    engine_ = CoreMIDIRouterEngine::create(host_, queue_, mainQueue_, clock_);
    model_ = MIDIRouterViewModel::create(engine_, store, std::make_shared<InMemorySettings>(), clock_, mainQueue_);
    model_->startIfNeeded();
    settle();
}

void ModelRig::settle() {
    queue_->runAll();
    mainQueue_->runAll();
}

void ModelRig::play(const UUID& routeID, Instant instant, const MIDIBytes& bytes) {
    model_->midiRouterEngineDidRoute(*engine_, MIDIActivityEvent(UUID::random(), routeID, instant, bytes));
}

}  // namespace corvel::benchmarks
