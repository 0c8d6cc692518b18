#include "tests/app/ModelFixture.hpp"
#include "tests/app/ReferenceModel.hpp"
#include "tests/support/RandomSource.hpp"
#include "tests/support/SaveCounter.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

/// The model and its reference through the same random commands, compared in full after each.
class MIDIRouterViewModelReference : public ModelFixture, public ::testing::WithParamInterface<std::uint32_t> {
protected:
    /// The endpoints that the host lists, in the order of their names, which are in ASCII here.
    [[nodiscard]] std::vector<MIDIEndpointModel> listed(const std::vector<MIDIObjectRef>& refs,
                                                        MIDIEndpointDirection direction) const {
        std::vector<MIDIEndpointModel> endpoints;
        for (const MIDIObjectRef ref : refs) {
            const FakeMIDIProperties& of = host->properties.at(ref);
            endpoints.push_back({of.uniqueID.value(), ref, of.displayName.value(), of.manufacturer, direction, true});
        }
        const auto lowered = [](const MIDIEndpointModel& endpoint) {
            std::string name = endpoint.displayName;
            std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
            return name;
        };
        std::ranges::stable_sort(endpoints, {}, lowered);
        return endpoints;
    }

    void takeSnapshot(ReferenceModel& reference) const {
        reference.snapshot(listed(host->sources, MIDIEndpointDirection::source),
                           listed(host->destinations, MIDIEndpointDirection::destination));
    }

    /// Everything observable that can be compared, by property.
    [[nodiscard]] std::map<Property, std::function<bool()>> unchangedSince() const {
        return {
            {Property::sources, [&, old = model->sources()] { return model->sources() == old; }},
            {Property::destinations, [&, old = model->destinations()] { return model->destinations() == old; }},
            {Property::routeSets, [&, old = model->routeSets()] { return model->routeSets() == old; }},
            {Property::selectedRouteSetID,
             [&, old = model->selectedRouteSetID()] { return model->selectedRouteSetID() == old; }},
            {Property::routes, [&, old = model->routes()] { return model->routes() == old; }},
            {Property::activityEvents, [&, old = model->activityEvents()] { return model->activityEvents() == old; }},
            {Property::selectedSourceID,
             [&, old = model->selectedSourceID()] { return model->selectedSourceID() == old; }},
            {Property::selectedDestinationID,
             [&, old = model->selectedDestinationID()] { return model->selectedDestinationID() == old; }},
            {Property::selectedRouteID,
             [&, old = model->selectedRouteID()] { return model->selectedRouteID() == old; }},
            {Property::statusMessage, [&, old = model->statusMessage()] { return model->statusMessage() == old; }},
        };
    }

    /// Runs a command and sees to it that no property changes before it was told of.
    void watched(const std::function<void()>& command) {
        std::map<Property, std::function<bool()>> untold = unchangedSince();
        const auto check = [&] {
            for (const auto& [property, isUnchanged] : untold) {
                EXPECT_TRUE(isUnchanged()) << "property " << static_cast<int>(property) << " changed untold";
            }
        };
        const Observation observation = model->observe([&](Property property) {
            check();
            untold.erase(property);
        });
        command();
        check();
    }

    UUID anyRoute() {
        const std::vector<MIDIRoute>& routes = model->routes();
        return routes.empty() || random.below(12) == 0 ? UUID::random() : routes[random.below(routes.size())].id;
    }
    ChannelMode anyMode() {
        return random.below(4) == 0 ? ChannelMode::asIs() : ChannelMode::force(static_cast<int>(1 + random.below(5)));
    }
    std::optional<KeyboardShortcutSpec> anyShortcut() { return random.flag() ? std::optional(anyKey()) : std::nullopt; }
    KeyboardShortcutSpec anyKey() {
        return {std::string(1, static_cast<char>('a' + random.below(3))), {KeyboardShortcutModifier::shift}};
    }
    std::int32_t anyID(const std::vector<MIDIEndpointModel>& endpoints) {
        return endpoints.empty() || random.below(12) == 0 ? 77 : endpoints[random.below(endpoints.size())].id;
    }

    /// Plugs a device in or out; one that comes may have another ID, name or manufacturer.
    void replug(std::vector<MIDIObjectRef>& refs, MIDIObjectRef ref) {
        if (std::erase(refs, ref) > 0) {
            return;
        }
        refs.insert(refs.begin() + static_cast<std::ptrdiff_t>(random.below(refs.size() + 1)), ref);
        FakeMIDIProperties& of = host->properties[ref];
        if (random.flag()) {
            of.uniqueID = nextID++;
        }
        if (random.below(4) == 0) {
            of.displayName = std::vector<std::string>{"Keys", "keys", "Synth"}[random.below(3)];
        }
        if (random.below(6) == 0) {
            of.manufacturer = random.flag() ? std::optional<std::string>("Acme") : std::nullopt;
        }
    }

    void replugAny(ReferenceModel& reference) {
        const auto number = static_cast<MIDIObjectRef>(1 + random.below(3));
        random.flag() ? replug(host->sources, 10 + number) : replug(host->destinations, 20 + number);
        model->refreshDevices();
        settle();
        takeSnapshot(reference);
    }

    void expectEqual(ReferenceModel& reference) {
        ASSERT_TRUE(reference.adoptIDs(model->routeSets())) << "other sets, or an ID that is not new";
        ASSERT_EQ(model->routeSets(), reference.sets);
        ASSERT_EQ(model->selectedRouteSetID(), reference.currentSet);
        ASSERT_EQ(model->routes(), reference.routes);
        ASSERT_EQ(model->sources(), reference.sources);
        ASSERT_EQ(model->destinations(), reference.destinations);
        ASSERT_EQ(model->selectedSourceID(), reference.selectedSource);
        ASSERT_EQ(model->selectedDestinationID(), reference.selectedDestination);
        ASSERT_EQ(model->selectedRouteID(), reference.selectedRoute);
        ASSERT_EQ(model->statusMessage(), reference.status);
        ASSERT_EQ(counter.take(), std::exchange(reference.saves, 0));
        ASSERT_EQ(RouteStore(store->fileURL()).loadDocument(),
                  MIDIRouteSetDocument(reference.currentSet, reference.sets));
        std::vector<MIDIBytes> graph;
        std::vector<MIDIBytes> expectedGraph;
        for (const MIDIRoute& route : reference.routes) {
            for (const MIDIActivityEvent& event : model->graphActivities(route.id)) {
                graph.push_back(event.bytes);
            }
            for (const MIDIActivityEvent& event : reference.graph) {
                if (event.routeID == route.id) {
                    expectedGraph.push_back(event.bytes);
                }
            }
        }
        ASSERT_EQ(graph, expectedGraph);
        ASSERT_LE(model->activityEvents().size(), 200U);
        ASSERT_LE(model->diagnosticEvents().size(), 80U);
    }

    /// A note on the keys: what leaves, what is recorded, and what the graph shows of it.
    void play(ReferenceModel& reference) {
        clock->advance(std::chrono::milliseconds(random.below(1500)));
        std::vector<std::pair<MIDIObjectRef, std::vector<std::uint8_t>>> expected;
        if (std::ranges::count(host->sources, 11U) > 0) {
            const std::int32_t keys = host->properties[11].uniqueID.value();
            for (const MIDIRoute& route : reference.routes) {
                const auto destination =
                    std::ranges::find(reference.destinations, route.destinationID, &MIDIEndpointModel::id);
                if (route.isEnabled && route.sourceID == keys && destination != reference.destinations.end()) {
                    const auto status = static_cast<std::uint8_t>(
                        0x90 + std::max(route.channelMode.forcedChannel().value_or(1) - 1, 0));
                    expected.emplace_back(destination->endpointRef, std::vector<std::uint8_t>{status, 60, 100});
                    reference.hear(MIDIActivityEvent(UUID::random(), route.id, clock->now(), {status, 60, 100}),
                                   clock->now());
                }
            }
        }
        ASSERT_EQ(playKeys(), expected);
    }

    /// One random command on both.
    void step(ReferenceModel& reference) {
        static const std::vector<std::string> kNames{"", " \t", "Live", "Live 2", " Studio\n", "live", "New Set"};
        const std::string name = kNames[random.below(kNames.size())];
        switch (random.below(17)) {
            case 0:
                model->createRouteSet(name);
                return reference.createSet(name);
            case 1:
                model->duplicateSelectedRouteSet(name);
                return reference.duplicateSet(name);
            case 2:
                model->renameSelectedRouteSet(name);
                return reference.renameSet(name);
            case 3:
            case 4:
                model->deleteSelectedRouteSet();
                return reference.deleteSet();
            case 5: {
                const UUID id =
                    random.below(8) == 0 ? UUID::random() : reference.sets[random.below(reference.sets.size())].id;
                model->selectRouteSet(id);
                return reference.selectSet(id);
            }
            case 6:
            case 7:
            case 8: {
                const std::int32_t sourceID = anyID(reference.sources);
                const std::int32_t destinationID = anyID(reference.destinations);
                model->connect(sourceID, destinationID);
                return reference.connect(sourceID, destinationID);
            }
            case 9:
                if (random.flag()) {
                    reference.selectedRoute = anyRoute();
                    model->setSelectedRouteID(reference.selectedRoute);
                }
                model->deleteSelectedRoute();
                return reference.deleteSelectedRoute();
            case 10: {
                const UUID id = anyRoute();
                const bool isEnabled = random.flag();
                model->setRouteEnabled(id, isEnabled);
                return reference.enable(id, isEnabled);
            }
            case 11:
            case 12: {
                const UUID id = anyRoute();
                const ChannelMode mode = anyMode();
                const std::optional<KeyboardShortcutSpec> shortcut = anyShortcut();
                model->addChannelAssignment(id, mode, shortcut);
                return reference.add(id, mode, shortcut);
            }
            case 13: {
                const UUID id = anyRoute();
                const ChannelMode mode = anyMode();
                const std::optional<KeyboardShortcutSpec> shortcut = anyShortcut();
                model->updateActiveChannelAssignment(id, mode, shortcut);
                return reference.update(id, mode, shortcut);
            }
            case 14: {
                const UUID id = anyRoute();
                model->deleteActiveVariant(id);
                return reference.deleteActive(id);
            }
            case 15: {
                const KeyboardShortcutSpec key = anyKey();
                const bool isConsumed = model->handleShortcut(key);
                EXPECT_EQ(isConsumed, reference.press(key));
                return;
            }
            default:
                return replugAny(reference);
        }
    }

    RandomSource random{GetParam()};
    std::int32_t nextID = 5000;
    SaveCounter counter{store->fileURL()};
};

TEST_P(MIDIRouterViewModelReference, IsWhatTheModelIsAfterEveryCommand) {
    host->properties[13] = {.displayName = "Keys", .manufacturer = "Acme", .uniqueID = 1013};
    host->properties[23] = {.displayName = "Synth", .manufacturer = "Other", .uniqueID = 1023};
    makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Default", {}}}));
    ReferenceModel reference(document());
    startModel();
    takeSnapshot(reference);
    static_cast<void>(counter.take());
    for (int number = 0; number < 500; ++number) {
        watched([&] { step(reference); });
        ASSERT_NO_FATAL_FAILURE(expectEqual(reference)) << "step " << number;
        if (random.below(3) == 0) {
            ASSERT_NO_FATAL_FAILURE(play(reference)) << "step " << number;
            ASSERT_NO_FATAL_FAILURE(expectEqual(reference)) << "play after step " << number;
        }
        ASSERT_FALSE(HasFailure()) << "step " << number;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MIDIRouterViewModelReference, ::testing::Range(11U, 16U));

}  // namespace
}  // namespace corvel::tests
