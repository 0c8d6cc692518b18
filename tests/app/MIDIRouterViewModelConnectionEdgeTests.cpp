#include "tests/app/ModelFixture.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Edge cases of connections and assignments: shared IDs, missing endpoints, shortcuts that are not normalised.
class MIDIRouterViewModelConnectionEdges : public ModelFixture {
protected:
    MIDIRouterViewModelConnectionEdges() { startModel(); }

    void startWith(std::vector<MIDIRoute> routes) {
        makeModel(MIDIRouteSetDocument::singleSet(std::move(routes), "Default"));
        startModel();
    }

    static MIDIRouteVariant variant(std::uint32_t id, ChannelMode mode,
                                    std::optional<KeyboardShortcutSpec> shortcut = std::nullopt,
                                    std::int32_t destinationID = 1021) {
        return makeVariant({.id = makeID(id),
                            .name = mode.title(),
                            .shortcut = std::move(shortcut),
                            .channelMode = mode,
                            .sourceID = 1011,
                            .destinationID = destinationID});
    }

    /// A connection whose first assignment is active.
    static MIDIRoute route(std::uint32_t id, std::vector<MIDIRouteVariant> variants, bool isEnabled = true) {
        return makeRoute({.id = makeID(id), .isEnabled = isEnabled, .variants = std::move(variants)});
    }

    [[nodiscard]] std::vector<UUID> variantIDs(std::size_t index) const {
        std::vector<UUID> ids;
        std::ranges::transform(model->routes()[index].variants, std::back_inserter(ids), &MIDIRouteVariant::id);
        return ids;
    }

    const KeyboardShortcutSpec optionP{"p", {KeyboardShortcutModifier::option}};
    const KeyboardShortcutSpec optionQ{"q", {KeyboardShortcutModifier::option}};
};

// Connecting and deleting

TEST_F(MIDIRouterViewModelConnectionEdges, ConnectsWhatOnlyAnAssignmentThatIsNotActiveConnects) {
    startWith({route(1, {variant(10, ChannelMode::asIs(), {}, 1022), variant(11, ChannelMode::force(1), {}, 1021)})});
    model->connect(1011, 1021);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (2 connections)");
    model->setActiveVariant(makeID(11), makeID(1));
    model->connect(1011, 1022);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (3 connections)");
}

TEST_F(MIDIRouterViewModelConnectionEdges, StoresTheLabelsThatTheEndpointsHave) {
    host->properties[11].manufacturer = std::nullopt;
    host->properties[22].isOffline = true;
    model->applyEndpointSnapshot();
    model->connect(1011, 1022);
    ASSERT_THAT(model->routes(), SizeIs(1));
    const MIDIRoute& made = model->routes().front();
    EXPECT_EQ(made.sourceName, "Keys");
    EXPECT_EQ(made.sourceManufacturer, std::nullopt);
    EXPECT_EQ(made.destinationName, "Drums");
    ASSERT_THAT(made.variants, SizeIs(1));
    EXPECT_EQ(made.variants[0].name, "As Is");
    EXPECT_EQ(made.variants[0].channelMode, ChannelMode::asIs());
    EXPECT_EQ(made.variants[0].sourceID, 1011);
    EXPECT_EQ(made.variants[0].destinationID, 1022);
    EXPECT_EQ(made.variants[0].destinationManufacturer, "Acme");
    EXPECT_EQ(made.activeVariantID, made.variants[0].id);
    EXPECT_NE(made.id, made.variants[0].id);
}

TEST_F(MIDIRouterViewModelConnectionEdges, KeepsTheSelectionOfAnEndpointThatHasGone) {
    model->setSelectedSourceID(1011);
    model->setSelectedDestinationID(1021);
    unplugSource(11);
    unplugDestination(21);
    model->applyEndpointSnapshot();
    EXPECT_EQ(model->selectedSourceID(), 1011);
    EXPECT_EQ(model->selectedDestinationID(), 1021);
    model->connect(1011, 1021);
    EXPECT_EQ(model->statusMessage(), "Input endpoint is no longer available");
    model->connect(1012, 1021);
    EXPECT_EQ(model->statusMessage(), "Output endpoint is no longer available");
    EXPECT_EQ(model->selectedSourceID(), 1011) << "a refusal selects nothing";
}

TEST_F(MIDIRouterViewModelConnectionEdges, SelectsTheFirstConnectionAfterADeletionAndKeepsTheEvents) {
    model->connect(1011, 1021);
    model->connect(1011, 1022);
    model->connect(1012, 1022);
    const UUID first = model->routes()[0].id;
    const UUID middle = model->routes()[1].id;
    report(middle, {0x90, 60, 100});
    model->setSelectedRouteID(middle);
    model->deleteSelectedRoute();
    EXPECT_EQ(model->selectedRouteID(), first);
    EXPECT_THAT(model->graphActivities(middle), SizeIs(1));
    EXPECT_THAT(model->activityEvents(), SizeIs(1));
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x90, 60, 100})));
}

TEST_F(MIDIRouterViewModelConnectionEdges, DeletesEveryConnectionOfTheIDButSwitchesTheFirstOnly) {
    startWith({route(1, {variant(10, ChannelMode::asIs())}), route(2, {variant(20, ChannelMode::force(1))}),
               route(1, {variant(11, ChannelMode::force(2))})});
    model->setRouteEnabled(makeID(1), false);
    EXPECT_FALSE(model->routes()[0].isEnabled);
    EXPECT_TRUE(model->routes()[2].isEnabled);
    model->setSelectedRouteID(makeID(1));
    model->deleteSelectedRoute();
    ASSERT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
}

TEST_F(MIDIRouterViewModelConnectionEdges, KeepsTheGraphWhenAConnectionIsSwitched) {
    model->connect(1011, 1021);
    const UUID id = model->routes().front().id;
    report(id, {0x90, 60, 100});
    model->setRouteEnabled(id, false);
    EXPECT_THAT(model->graphActivities(id), SizeIs(1));
    EXPECT_EQ(model->routeAvailability(model->routes().front()), RouteAvailability::paused);
}

// Assignments

TEST_F(MIDIRouterViewModelConnectionEdges, ForgetsTheGraphOfTheChangedConnectionOnly) {
    startWith({route(1, {variant(10, ChannelMode::asIs()), variant(11, ChannelMode::force(1))}),
               route(2, {variant(20, ChannelMode::asIs(), {}, 1022)})});
    const std::vector<std::function<void()>> commands{
        [&] { model->setActiveVariant(makeID(10), makeID(1)); },
        [&] { model->addChannelAssignment(makeID(1), ChannelMode::force(5), std::nullopt); },
        [&] { model->updateActiveChannelAssignment(makeID(1), ChannelMode::force(6), std::nullopt); },
        [&] { model->deleteActiveVariant(makeID(1)); }};
    std::size_t messages = 0;
    for (const auto& command : commands) {
        report(makeID(1), {0x90, 60, 100});
        report(makeID(2), {0x90, 60, 100});
        ASSERT_THAT(model->graphActivities(makeID(1)), SizeIs(1));
        command();
        EXPECT_THAT(model->graphActivities(makeID(1)), IsEmpty());
        EXPECT_THAT(model->graphActivities(makeID(2)), SizeIs(++messages));
    }
}

TEST_F(MIDIRouterViewModelConnectionEdges, LeavesTheSelectionToTheUserExceptWhenActivating) {
    startWith({route(1, {variant(10, ChannelMode::asIs())}), route(2, {variant(20, ChannelMode::asIs(), {}, 1022)})});
    model->setSelectedRouteID(makeID(2));
    model->addChannelAssignment(makeID(1), ChannelMode::force(5), std::nullopt);
    model->updateActiveChannelAssignment(makeID(1), ChannelMode::force(6), std::nullopt);
    model->deleteActiveVariant(makeID(1));
    model->setRouteEnabled(makeID(1), false);
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    model->setActiveVariant(makeID(10), makeID(1));
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
}

TEST_F(MIDIRouterViewModelConnectionEdges, AddsWithTheEndpointsAndLabelsOfTheActiveAssignment) {
    model->connect(1011, 1022);
    const UUID id = model->routes().front().id;
    model->addChannelAssignment(id, ChannelMode::force(16), optionP);
    const MIDIRouteVariant& added = model->routes().front().variants.back();
    EXPECT_EQ(added.name, "Ch 16");
    EXPECT_EQ(added.shortcut, optionP);
    EXPECT_EQ(added.channelMode, ChannelMode::force(16));
    EXPECT_EQ(added.sourceID, 1011);
    EXPECT_EQ(added.destinationID, 1022);
    EXPECT_EQ(added.sourceName, "Keys");
    EXPECT_EQ(added.sourceManufacturer, "Acme");
    EXPECT_EQ(added.destinationName, "Drums");
    EXPECT_EQ(added.destinationManufacturer, "Acme");
}

TEST_F(MIDIRouterViewModelConnectionEdges, AddsAModeUnderTheNextFreeNameWhereOthersBearIt) {
    MIDIRouteVariant second = variant(11, ChannelMode::force(2));
    second.name = "Ch 9";
    MIDIRouteVariant third = variant(12, ChannelMode::force(3));
    third.name = "Ch 9 2";
    startWith({route(1, {variant(10, ChannelMode::asIs()), second, third})});
    model->addChannelAssignment(makeID(1), ChannelMode::force(9), std::nullopt);
    EXPECT_EQ(model->routes().front().variants.back().name, "Ch 9 3");
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 9") << "the text tells the mode, not the name";
}

TEST_F(MIDIRouterViewModelConnectionEdges, LetsNamesRepeatAfterAnUpdate) {
    MIDIRouteVariant other = variant(11, ChannelMode::force(2));
    other.name = "Ch 9";
    startWith({route(1, {variant(10, ChannelMode::asIs()), other})});
    model->updateActiveChannelAssignment(makeID(1), ChannelMode::force(9), std::nullopt);
    EXPECT_EQ(model->routes().front().variants[0].name, "Ch 9");
    EXPECT_EQ(model->routes().front().variants[1].name, "Ch 9");
}

TEST_F(MIDIRouterViewModelConnectionEdges, UpdatesToAModeThatAnotherAssignmentHasForOtherEndpoints) {
    startWith({route(1, {variant(10, ChannelMode::asIs()), variant(11, ChannelMode::force(2), {}, 1022)})});
    model->updateActiveChannelAssignment(makeID(1), ChannelMode::force(2), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Updated output channel Ch 2");
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x91, 60, 100})));
}

TEST_F(MIDIRouterViewModelConnectionEdges, ChangesNothingWhenAnUpdateIsRefused) {
    startWith({route(1, {variant(10, ChannelMode::asIs(), optionP), variant(11, ChannelMode::force(2), optionQ)})});
    const std::vector<MIDIRoute> before = model->routes();
    model->updateActiveChannelAssignment(makeID(1), ChannelMode::force(2), optionQ);
    EXPECT_EQ(model->statusMessage(), "Channel assignment already exists");
    EXPECT_EQ(model->routes(), before);
    model->addChannelAssignment(makeID(1), ChannelMode::force(2), optionP);
    EXPECT_EQ(model->statusMessage(), "Channel assignment already exists");
    EXPECT_EQ(model->routes(), before);
}

TEST_F(MIDIRouterViewModelConnectionEdges, KeepsAShortcutThatIsWrittenOtherwise) {
    KeyboardShortcutSpec unnormalised;
    unnormalised.key = "P";
    unnormalised.modifiers = {KeyboardShortcutModifier::option};
    startWith({route(1, {variant(10, ChannelMode::asIs(), unnormalised)})});
    EXPECT_FALSE(model->handleShortcut(optionP)) << "as stored it is another shortcut";
    model->addChannelAssignment(makeID(1), ChannelMode::force(2), optionP);
    EXPECT_EQ(model->routes().front().variants[0].shortcut, unnormalised);
    EXPECT_EQ(model->routes().front().variants[1].shortcut, optionP);
}

TEST_F(MIDIRouterViewModelConnectionEdges, DeletesAllAssignmentsThatShareTheActiveIDIfAnotherRemains) {
    startWith({route(1, {variant(10, ChannelMode::force(4)), variant(11, ChannelMode::force(5)),
                         variant(10, ChannelMode::force(6)), variant(12, ChannelMode::force(7))})});
    model->deleteActiveVariant(makeID(1));
    EXPECT_EQ(model->statusMessage(), "Deleted output channel Ch 4");
    EXPECT_THAT(variantIDs(0), ElementsAre(makeID(11), makeID(12)));
    EXPECT_EQ(model->routes().front().activeVariantID, makeID(11));
    EXPECT_EQ(model->routes().front().channelMode, ChannelMode::force(5));
}

TEST_F(MIDIRouterViewModelConnectionEdges, RoutesByTheAssignmentThatRemains) {
    startWith({route(1, {variant(10, ChannelMode::force(1)), variant(11, ChannelMode::force(2), {}, 1022)})});
    model->deleteActiveVariant(makeID(1));
    EXPECT_EQ(model->statusMessage(), "Deleted output channel Ch 1");
    EXPECT_EQ(model->routes().front().destinationID, 1022) << "it has other endpoints";
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(22U, std::vector<std::uint8_t>{0x91, 60, 100})));
    model->deleteActiveVariant(makeID(1));
    EXPECT_EQ(model->statusMessage(), "A connection needs at least one output channel");
}

// Shortcuts

TEST_F(MIDIRouterViewModelConnectionEdges, ActivatesTheFirstOfTheSelectedConnectionsAssignments) {
    startWith({route(1, {variant(10, ChannelMode::asIs(), optionP)}),
               route(2, {variant(20, ChannelMode::asIs()), variant(21, ChannelMode::force(1), optionP),
                         variant(22, ChannelMode::force(2), optionP)})});
    model->setSelectedRouteID(makeID(2));
    EXPECT_TRUE(model->handleShortcut(optionP));
    EXPECT_EQ(model->routes()[1].activeVariantID, makeID(21));
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 1");
}

TEST_F(MIDIRouterViewModelConnectionEdges, CountsConnectionsThatAreOffForAnAmbiguousShortcut) {
    startWith({route(1, {variant(10, ChannelMode::asIs(), optionP)}),
               route(2, {variant(20, ChannelMode::asIs(), optionP)}, false)});
    const std::vector<MIDIRoute> before = model->routes();
    model->setSelectedRouteID(makeID(99));
    EXPECT_TRUE(model->handleShortcut(optionP));
    EXPECT_EQ(model->statusMessage(), "\u2325P is assigned to multiple connections; select a connection first");
    EXPECT_EQ(model->selectedRouteID(), makeID(99));
    EXPECT_EQ(model->routes(), before);
}

TEST_F(MIDIRouterViewModelConnectionEdges, LooksBeyondASelectedConnectionThatLacksTheShortcut) {
    startWith({route(1, {variant(10, ChannelMode::asIs())}),
               route(2, {variant(20, ChannelMode::asIs()), variant(21, ChannelMode::force(8), optionP, 1022)})});
    model->setSelectedRouteID(makeID(1));
    EXPECT_TRUE(model->handleShortcut(optionP));
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 8");
}

TEST_F(MIDIRouterViewModelConnectionEdges, LeavesTheShortcutsOfOtherSetsAlone) {
    makeModel(
        MIDIRouteSetDocument(makeID(1), {{makeID(1), "A", {route(11, {variant(20, ChannelMode::asIs())})}},
                                         {makeID(2), "B", {route(12, {variant(21, ChannelMode::asIs(), optionP)})}}}));
    startModel();
    EXPECT_FALSE(model->handleShortcut(optionP));
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    model->selectRouteSet(makeID(2));
    EXPECT_TRUE(model->handleShortcut(optionP));
}

}  // namespace
}  // namespace corvel::tests
