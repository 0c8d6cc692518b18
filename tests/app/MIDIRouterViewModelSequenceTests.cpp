#include "tests/app/ModelFixture.hpp"
#include "tests/support/RandomSource.hpp"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace corvel::tests {
namespace {

/// Long sequences of random commands, hot-plugging and traffic. Checks the model's guarantees after each step.
class MIDIRouterViewModelSequences : public ModelFixture, public ::testing::WithParamInterface<std::uint32_t> {
protected:
    static ::testing::AssertionResult mirrorsActiveVariant(const MIDIRoute& route) {
        const MIDIRouteVariant* const active = route.activeVariant();
        if (active == nullptr) {
            return ::testing::AssertionFailure() << "no active assignment";
        }
        const bool isMirrored = route.sourceID == active->sourceID && route.destinationID == active->destinationID &&
                                route.sourceName == active->sourceName &&
                                route.sourceManufacturer == active->sourceManufacturer &&
                                route.destinationName == active->destinationName &&
                                route.destinationManufacturer == active->destinationManufacturer &&
                                route.channelMode == active->channelMode;
        return isMirrored ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << "not mirrored";
    }

    void checkPromises() {
        const MIDIRouteSetDocument current = document();
        ASSERT_EQ(current.selectedSetID, model->selectedRouteSetID()) << "the current set is one of the sets";
        ASSERT_EQ(current.selectedRouteSet().routes, model->routes());
        std::set<UUID> ids;
        std::size_t count = 0;
        for (const MIDIRouteSet& routeSet : model->routeSets()) {
            ids.insert(routeSet.id);
            ++count;
            for (const MIDIRoute& route : routeSet.routes) {
                ids.insert(route.id);
                ++count;
                ASSERT_FALSE(route.variants.empty());
                ASSERT_TRUE(mirrorsActiveVariant(route));
                for (const MIDIRouteVariant& variant : route.variants) {
                    ids.insert(variant.id);
                    ++count;
                }
            }
        }
        ASSERT_EQ(ids.size(), count) << "no two things share an ID";
        ASSERT_LE(model->activityEvents().size(), 200U);
        ASSERT_LE(model->diagnosticEvents().size(), 80U);
        if (std::filesystem::exists(store->fileURL())) {
            ASSERT_EQ(store->loadDocument(), current);
        }
    }

    /// Returns, for each observable property, a function that compares it with its present value.
    [[nodiscard]] std::map<Property, std::function<bool()>> unchangedSince() const {
        const auto isSame = [](const auto& now) -> std::function<bool()> {
            return [&now, old = now] { return now == old; };
        };
        return {{Property::sources, isSame(model->sources())},
                {Property::destinations, isSame(model->destinations())},
                {Property::routeSets, isSame(model->routeSets())},
                {Property::selectedRouteSetID, isSame(model->selectedRouteSetID())},
                {Property::routes, isSame(model->routes())},
                {Property::activityEvents, isSame(model->activityEvents())},
                {Property::graphActivityEvents, isSame(model->graphActivityEvents())},
                {Property::diagnosticEvents, isSame(model->diagnosticEvents())},
                {Property::selectedSourceID, isSame(model->selectedSourceID())},
                {Property::selectedDestinationID, isSame(model->selectedDestinationID())},
                {Property::selectedRouteID, isSame(model->selectedRouteID())},
                {Property::statusMessage, isSame(model->statusMessage())}};
    }

    /// One step. Checks that no property changes before its notification.
    void watchedStep() {
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
        step();
        check();
    }

    UUID anyRoute() {
        if (model->routes().empty() || random.below(10) == 0) {
            return UUID::random();
        }
        return model->routes()[random.below(model->routes().size())].id;
    }

    std::optional<KeyboardShortcutSpec> anyShortcut() {
        if (random.flag()) {
            return std::nullopt;
        }
        return KeyboardShortcutSpec(std::string(1, static_cast<char>('a' + random.below(3))),
                                    {KeyboardShortcutModifier::option});
    }

    ChannelMode anyMode() {
        return random.below(4) == 0 ? ChannelMode::asIs() : ChannelMode::force(static_cast<int>(1 + random.below(16)));
    }

    void replug(std::vector<MIDIObjectRef>& refs, MIDIObjectRef ref) {
        if (std::erase(refs, ref) == 0) {
            refs.push_back(ref);
            if (random.flag()) {
                host->properties[ref].uniqueID = 5000 + static_cast<std::int32_t>(random.below(100'000));
            }
        }
        model->refreshDevices();
        settle();
    }

    std::int32_t anyID(const std::vector<MIDIEndpointModel>& endpoints) {
        return endpoints.empty() || random.below(10) == 0 ? 77 : endpoints[random.below(endpoints.size())].id;
    }

    void step() {
        static const std::vector<std::string> kNames{"", "  ", "Live", "Live 2", "Studio", " Studio "};
        const std::string name = kNames[random.below(kNames.size())];
        switch (random.below(16)) {
            case 0:
                model->createRouteSet(name);
                break;
            case 1:
                model->duplicateSelectedRouteSet(name);
                break;
            case 2:
                model->renameSelectedRouteSet(name);
                break;
            case 3:
            case 4:
                model->deleteSelectedRouteSet();
                break;
            case 5:
                model->selectRouteSet(model->routeSets()[random.below(model->routeSets().size())].id);
                break;
            case 6:
            case 7:
                model->connect(anyID(model->sources()), anyID(model->destinations()));
                break;
            case 8:
                model->setSelectedRouteID(anyRoute());
                model->deleteSelectedRoute();
                break;
            case 9:
                model->setRouteEnabled(anyRoute(), random.flag());
                break;
            case 10:
                model->addChannelAssignment(anyRoute(), anyMode(), anyShortcut());
                break;
            case 11:
                model->updateActiveChannelAssignment(anyRoute(), anyMode(), anyShortcut());
                break;
            case 12:
                model->deleteActiveVariant(anyRoute());
                break;
            case 13:
                if (const auto shortcut = anyShortcut()) {
                    static_cast<void>(model->handleShortcut(*shortcut));
                }
                break;
            case 14:
                replug(host->sources, random.flag() ? 11 : 12);
                replug(host->destinations, random.flag() ? 21 : 22);
                break;
            default:
                clock->advance(std::chrono::milliseconds(random.below(4000)));
                static_cast<void>(playKeys());
                break;
        }
    }

    RandomSource random{GetParam()};
};

TEST_P(MIDIRouterViewModelSequences, KeepTheModelsPromisesAfterEveryStep) {
    startModel();
    for (int count = 0; count < 500; ++count) {
        watchedStep();
        ASSERT_NO_FATAL_FAILURE(checkPromises()) << "step " << count;
        ASSERT_FALSE(HasFailure()) << "step " << count;
        if (random.below(100) == 0) {
            makeModel();
            startModel();
            ASSERT_NO_FATAL_FAILURE(checkPromises()) << "restart after step " << count;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MIDIRouterViewModelSequences, ::testing::Range(1U, 5U));

}  // namespace
}  // namespace corvel::tests
