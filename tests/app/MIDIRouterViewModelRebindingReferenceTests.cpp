#include "tests/app/ModelFixture.hpp"
#include "tests/app/ReferenceModel.hpp"
#include "tests/support/RandomSource.hpp"
#include "tests/support/SaveCounter.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

/// Re-binding of documents whose IDs and labels are drawn from so few values that everything clashes with everything:
/// known IDs under other names, names without and with manufacturers, names and IDs that several endpoints bear.
class MIDIRouterViewModelRebindingReference : public ModelFixture, public ::testing::WithParamInterface<std::uint32_t> {
protected:
    template <typename Value>
    Value oneOf(const std::vector<Value>& values) {
        return values[random.below(values.size())];
    }
    std::string anyName() { return oneOf<std::string>({"Keys", "keys", "Pads", "Synth"}); }
    std::optional<std::string> anyLabel() {
        return oneOf<std::optional<std::string>>({"Keys", "keys", "Pads", "Synth", "", std::nullopt});
    }
    std::optional<std::string> anyMaker() { return oneOf<std::optional<std::string>>({"Acme", "Other", std::nullopt}); }
    std::int32_t anyEndpointID() { return oneOf<std::int32_t>({-2'147'483'648, -1, 0, 1, 2, 3, 4, 2'147'483'647}); }

    MIDIRoute anyRoute() {
        std::vector<MIDIRouteVariant> variants;
        for (std::size_t count = 1 + random.below(3); count > 0; --count) {
            variants.push_back({makeID(nextID++), "A", std::nullopt,
                                ChannelMode::force(static_cast<int>(1 + random.below(16))), anyEndpointID(),
                                anyEndpointID(), anyLabel(), anyMaker(), anyLabel(), anyMaker()});
        }
        const UUID active = variants[random.below(variants.size())].id;
        return makeRoute({.id = makeID(nextID++),
                          .isEnabled = random.flag(),
                          .activeVariantID = active,
                          .variants = std::move(variants)});
    }

    MIDIRouteSetDocument anyDocument() {
        std::vector<MIDIRouteSet> sets;
        for (int number = 0; number < 6; ++number) {
            MIDIRouteSet set{makeID(nextID++), "Set " + std::to_string(number), {}};
            for (std::size_t count = random.below(5); count > 0; --count) {
                set.routes.push_back(anyRoute());
            }
            sets.push_back(std::move(set));
        }
        const UUID selected = sets[random.below(sets.size())].id;
        return {selected, std::move(sets)};
    }

    void plugAnything() {
        host->sources.clear();
        host->destinations.clear();
        for (MIDIObjectRef ref = 100, end = ref + static_cast<MIDIObjectRef>(random.below(5)); ref < end; ++ref) {
            host->addSource(ref, anyProperties());
        }
        for (MIDIObjectRef ref = 200, end = ref + static_cast<MIDIObjectRef>(random.below(5)); ref < end; ++ref) {
            host->addDestination(ref, anyProperties());
        }
    }
    FakeMIDIProperties anyProperties() {
        return {.displayName = anyName(),
                .manufacturer = anyMaker(),
                .uniqueID = anyEndpointID(),
                .isOffline = random.below(4) == 0};
    }

    /// In the order of the names, which are in ASCII here.
    static std::vector<MIDIEndpointModel> sorted(std::vector<MIDIEndpointModel> endpoints) {
        std::ranges::stable_sort(endpoints, {}, [](const MIDIEndpointModel& endpoint) {
            std::string name = endpoint.displayName;
            std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
            return name;
        });
        return endpoints;
    }

    void expectEqual(ReferenceModel& reference) {
        ASSERT_EQ(model->sources(), reference.sources);
        ASSERT_EQ(model->destinations(), reference.destinations);
        ASSERT_EQ(model->routes(), reference.routes);
        ASSERT_EQ(model->routeSets(), reference.sets);
        ASSERT_EQ(model->selectedRouteSetID(), reference.currentSet);
        ASSERT_EQ(model->statusMessage(), reference.status);
        changes += reference.saves > 0 ? 1 : 0;
        ASSERT_EQ(counter.take(), std::exchange(reference.saves, 0));
        ASSERT_EQ(RouteStore(store->fileURL()).loadDocument(), document());
    }

    RandomSource random{GetParam()};
    std::uint32_t nextID = 1;
    std::size_t changes = 0;
    SaveCounter counter{store->fileURL()};
};

TEST_P(MIDIRouterViewModelRebindingReference, IsWhatEverySnapshotAndSetAreBoundAs) {
    for (int round = 0; round < 10; ++round) {
        makeModel(anyDocument());
        ReferenceModel reference(document());
        static_cast<void>(counter.take());
        for (int number = 0; number < 50; ++number) {
            plugAnything();
            const MIDIEndpoints endpoints = engine->endpoints();
            model->applyEndpointSnapshot();
            reference.snapshot(sorted(endpoints.sources), sorted(endpoints.destinations));
            ASSERT_NO_FATAL_FAILURE(expectEqual(reference)) << "snapshot " << number << " of round " << round;
            const UUID next = reference.sets[random.below(reference.sets.size())].id;
            model->selectRouteSet(next);
            reference.selectSet(next);
            ASSERT_NO_FATAL_FAILURE(expectEqual(reference)) << "set " << number << " of round " << round;
            settle();
        }
    }
    EXPECT_GT(changes, 500U) << "the values do not clash often enough";
}

INSTANTIATE_TEST_SUITE_P(Seeds, MIDIRouterViewModelRebindingReference, ::testing::Range(21U, 25U));

}  // namespace
}  // namespace corvel::tests
