#include "benchmarks/support/EngineRig.hpp"

#include "core/support/Clock.hpp"

#include <string>
#include <utility>

namespace corvel::benchmarks {

namespace {

constexpr std::int32_t kOtherSources = 16;

MIDIRoute makeRoute(std::int32_t sourceID, std::int32_t destinationID) {
    return {UUID::random(),
            sourceID,
            destinationID,
            "Input " + std::to_string(sourceID),
            "Maker of Instruments",
            "Output " + std::to_string(destinationID),
            "Maker of Instruments",
            ChannelMode::force(10),
            true,
            std::nullopt,
            {}};
}

}  // namespace

std::vector<MIDIRoute> makeRoutes(const RoutingLayout& layout) {
    std::vector<MIDIRoute> routes;
    const auto addOthers = [&](std::size_t count) {
        for (std::size_t index = 0; index < count; ++index) {
            const auto number = static_cast<std::int32_t>(index);
            routes.push_back(makeRoute(kSource + 1 + number % kOtherSources, kFirstDestination));
        }
    };
    addOthers(layout.others / 2);
    for (std::size_t index = 0; index < layout.matching; ++index) {
        routes.push_back(makeRoute(kSource, kFirstDestination + static_cast<std::int32_t>(index)));
    }
    addOthers(layout.others - layout.others / 2);
    return routes;
}

void addEndpoints(tests::FakeMIDIHost& host, const RoutingLayout& layout) {
    host.keepsSent = false;
    const auto properties = [](std::int32_t id) {
        return tests::FakeMIDIProperties{.displayName = "Endpoint " + std::to_string(id), .uniqueID = id};
    };
    for (std::int32_t id = kSource; id <= kSource + kOtherSources; ++id) {
        host.addSource(static_cast<MIDIObjectRef>(id), properties(id));
    }
    for (std::size_t index = 0; index < layout.matching; ++index) {
        const std::int32_t id = kFirstDestination + static_cast<std::int32_t>(index);
        host.addDestination(static_cast<MIDIObjectRef>(id), properties(id));
    }
}

EngineRig::EngineRig(const RoutingLayout& layout, std::shared_ptr<DispatchQueue> queue, bool releasesHeldNotes) {
    addEndpoints(*host_, layout);
    engine_ = CoreMIDIRouterEngine::create(host_, std::move(queue), mainQueue_, makeSystemClock());
    engine_->setDelegate(delegate_);
    engine_->setReleasesHeldNotes(releasesHeldNotes);
    engine_->updateRoutes(makeRoutes(layout));
    engine_->start();
}

}  // namespace corvel::benchmarks
