#include "tests/app/ModelFixture.hpp"

#include <algorithm>
#include <iterator>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class MIDIRouterViewModelConnections : public ModelFixture {
protected:
    MIDIRouterViewModelConnections() { startModel(); }

    /// Connects the keys to the synth and returns the connection's ID.
    UUID connectKeys() {
        model->connect(1011, 1021);
        return model->routes().back().id;
    }

    [[nodiscard]] const MIDIRoute& routeWith(const UUID& id) const { return *model->route(id); }

    [[nodiscard]] std::vector<std::string> variantNames(const UUID& id) const {
        std::vector<std::string> names;
        std::ranges::transform(routeWith(id).variants, std::back_inserter(names), &MIDIRouteVariant::name);
        return names;
    }

    const KeyboardShortcutSpec optionP{"p", {KeyboardShortcutModifier::option}};
    const KeyboardShortcutSpec optionQ{"q", {KeyboardShortcutModifier::option}};
};

// Connections

TEST_F(MIDIRouterViewModelConnections, ConnectsAnInputToAnOutput) {
    model->connect(1011, 1021);
    ASSERT_THAT(model->routes(), SizeIs(1));
    const MIDIRoute& route = model->routes().front();
    EXPECT_EQ(route.sourceName, "Keys");
    EXPECT_EQ(route.sourceManufacturer, "Acme");
    EXPECT_EQ(route.destinationName, "Synth");
    EXPECT_EQ(route.destinationManufacturer, "Acme");
    EXPECT_EQ(route.channelMode, ChannelMode::asIs());
    EXPECT_TRUE(route.isEnabled);
    EXPECT_THAT(variantNames(route.id), ElementsAre("As Is"));
    EXPECT_EQ(model->selectedSourceID(), 1011);
    EXPECT_EQ(model->selectedDestinationID(), 1021);
    EXPECT_EQ(model->selectedRouteID(), route.id);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
    EXPECT_EQ(store->loadDocument(), document());
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x90, 60, 100})));
}

TEST_F(MIDIRouterViewModelConnections, RefusesASecondConnectionButSelectsItsEndpoints) {
    connectKeys();
    model->setSelectedSourceID(std::nullopt);
    model->setSelectedDestinationID(std::nullopt);
    model->connect(1011, 1021);
    EXPECT_EQ(model->statusMessage(), "Connection already exists");
    EXPECT_EQ(model->selectedSourceID(), 1011);
    EXPECT_EQ(model->selectedDestinationID(), 1021);
    EXPECT_THAT(model->routes(), SizeIs(1));
}

TEST_F(MIDIRouterViewModelConnections, RefusesEndpointsThatAreGone) {
    model->connect(1011, 5);
    EXPECT_EQ(model->statusMessage(), "Output endpoint is no longer available");
    model->connect(6, 1021);
    EXPECT_EQ(model->statusMessage(), "Input endpoint is no longer available");
    model->connect(6, 5);
    EXPECT_EQ(model->statusMessage(), "Input endpoint is no longer available");
    EXPECT_EQ(model->selectedSourceID(), std::nullopt);
    EXPECT_THAT(model->routes(), IsEmpty());
}

TEST_F(MIDIRouterViewModelConnections, DeletesTheSelectedConnectionAndSelectsTheFirst) {
    const UUID first = connectKeys();
    model->connect(1011, 1022);
    model->deleteSelectedRoute();
    EXPECT_EQ(model->selectedRouteID(), first);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
    model->setSelectedRouteID(makeID(99));
    model->deleteSelectedRoute();
    EXPECT_EQ(model->selectedRouteID(), first) << "a selection that names nothing removes nothing";
    model->deleteSelectedRoute();
    EXPECT_EQ(model->selectedRouteID(), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (0 connections)");
    std::filesystem::remove(store->fileURL());
    model->deleteSelectedRoute();
    EXPECT_FALSE(std::filesystem::exists(store->fileURL())) << "without a selection nothing happens";
    EXPECT_THAT(playKeys(), IsEmpty());
}

TEST_F(MIDIRouterViewModelConnections, SwitchesAConnectionOffAndOn) {
    const UUID id = connectKeys();
    model->setRouteEnabled(id, false);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
    EXPECT_THAT(playKeys(), IsEmpty());
    EXPECT_EQ(store->loadDocument(), document());
    std::filesystem::remove(store->fileURL());
    model->setRouteEnabled(makeID(99), true);
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
    model->setRouteEnabled(id, false);
    EXPECT_TRUE(std::filesystem::exists(store->fileURL())) << "written even when unchanged";
    model->setRouteEnabled(id, true);
    EXPECT_THAT(playKeys(), SizeIs(1));
}

TEST_F(MIDIRouterViewModelConnections, WarnsOfAConnectionThatFeedsBack) {
    host->properties[11].port = 5;
    host->properties[21].port = 5;
    model->applyEndpointSnapshot();
    const UUID id = connectKeys();
    EXPECT_EQ(model->statusMessage(), "This connection feeds back");
    model->setRouteEnabled(id, false);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
    model->setRouteEnabled(id, true);
    EXPECT_EQ(model->statusMessage(), "This connection feeds back");
    breakStore();
    model->setRouteEnabled(id, true);
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: ")) << "which matters more";
}

// Channel assignments

TEST_F(MIDIRouterViewModelConnections, AddsAnAssignmentAndActivatesIt) {
    const UUID id = connectKeys();
    report(id, {0x90, 60, 100});
    model->addChannelAssignment(id, ChannelMode::force(3), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 3");
    EXPECT_THAT(variantNames(id), ElementsAre("As Is", "Ch 3"));
    EXPECT_EQ(routeWith(id).activeVariantID, routeWith(id).variants[1].id);
    EXPECT_EQ(routeWith(id).variants[1].destinationName, "Synth");
    EXPECT_EQ(routeWith(id).channelMode, ChannelMode::force(3));
    EXPECT_THAT(model->graphActivities(id), IsEmpty());
    EXPECT_EQ(store->loadDocument(), document());
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x92, 60, 100})));
    model->addChannelAssignment(id, ChannelMode::force(4), optionP);
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 4 with \u2325P");
}

TEST_F(MIDIRouterViewModelConnections, RefusesTheSameAssignmentForTheSameEndpoints) {
    const UUID id = connectKeys();
    model->addChannelAssignment(id, ChannelMode::asIs(), optionP);
    EXPECT_EQ(model->statusMessage(), "Channel assignment already exists");
    EXPECT_EQ(routeWith(id).variants[0].shortcut, std::nullopt);
    EXPECT_THAT(routeWith(id).variants, SizeIs(1));
}

TEST_F(MIDIRouterViewModelConnections, TakesTheSameModeForOtherEndpointsUnderAnotherName) {
    MIDIRouteVariant toDrums = makeVariant({.id = makeID(2),
                                            .name = "Ch 3",
                                            .channelMode = ChannelMode::force(3),
                                            .sourceID = 1011,
                                            .destinationID = 1022});
    MIDIRouteVariant toSynth = makeVariant({.id = makeID(3), .name = "As Is", .sourceID = 1011, .destinationID = 1021});
    makeModel(MIDIRouteSetDocument::singleSet(
        {makeRoute({.id = makeID(1), .activeVariantID = makeID(3), .variants = {toDrums, toSynth}})}, "Default"));
    model->addChannelAssignment(makeID(1), ChannelMode::force(3), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 3");
    EXPECT_THAT(variantNames(makeID(1)), ElementsAre("Ch 3", "As Is", "Ch 3 2"));
    EXPECT_EQ(routeWith(makeID(1)).destinationID, 1021);
}

TEST_F(MIDIRouterViewModelConnections, TakesTheSameModeForAnotherSource) {
    const MIDIRouteVariant fromPads =
        makeVariant({.id = makeID(2), .channelMode = ChannelMode::force(3), .sourceID = 1012, .destinationID = 1021});
    const MIDIRouteVariant fromKeys = makeVariant({.id = makeID(3), .sourceID = 1011, .destinationID = 1021});
    makeModel(MIDIRouteSetDocument::singleSet(
        {makeRoute({.id = makeID(1), .activeVariantID = makeID(3), .variants = {fromPads, fromKeys}})}, "Default"));
    model->addChannelAssignment(makeID(1), ChannelMode::force(3), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 3");
    EXPECT_EQ(routeWith(makeID(1)).variants.size(), 3U);
}

TEST_F(MIDIRouterViewModelConnections, MovesAShortcutWithinAConnectionOnly) {
    const UUID synth = connectKeys();
    model->addChannelAssignment(synth, ChannelMode::force(1), optionP);
    model->connect(1011, 1022);
    const UUID drums = model->routes().back().id;
    model->addChannelAssignment(drums, ChannelMode::force(1), optionP);
    model->addChannelAssignment(synth, ChannelMode::force(2), optionP);
    EXPECT_EQ(routeWith(synth).variants[1].shortcut, std::nullopt);
    EXPECT_EQ(routeWith(synth).variants[2].shortcut, optionP);
    EXPECT_EQ(routeWith(drums).variants[1].shortcut, optionP);
}

TEST_F(MIDIRouterViewModelConnections, TakesAShortcutThatIsOneOfItsOwn) {
    const UUID id = connectKeys();
    model->addChannelAssignment(id, ChannelMode::force(1), optionP);
    model->addChannelAssignment(id, ChannelMode::force(2), routeWith(id).variants[1].shortcut);
    EXPECT_EQ(routeWith(id).variants[2].shortcut, optionP);
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 2 with \u2325P");
}

TEST_F(MIDIRouterViewModelConnections, UpdatesTheActiveAssignment) {
    const UUID id = connectKeys();
    model->addChannelAssignment(id, ChannelMode::force(1), optionQ);
    model->addChannelAssignment(id, ChannelMode::force(2), optionP);
    model->updateActiveChannelAssignment(id, ChannelMode::force(1), optionP);
    EXPECT_EQ(model->statusMessage(), "Channel assignment already exists");
    model->updateActiveChannelAssignment(id, ChannelMode::force(2), optionQ);
    EXPECT_EQ(model->statusMessage(), "Updated output channel Ch 2 with \u2325Q") << "its own mode is no duplicate";
    EXPECT_EQ(routeWith(id).variants[1].shortcut, std::nullopt);
    report(id, {0x90, 60, 100});
    model->updateActiveChannelAssignment(id, ChannelMode::force(5), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Updated output channel Ch 5");
    EXPECT_EQ(routeWith(id).variants[2].shortcut, std::nullopt);
    EXPECT_EQ(routeWith(id).channelMode, ChannelMode::force(5));
    EXPECT_THAT(variantNames(id), ElementsAre("As Is", "Ch 1", "Ch 5"));
    EXPECT_THAT(model->graphActivities(id), IsEmpty());
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelConnections, NamesAnUpdatedAssignmentAfterItsModeAgain) {
    makeModel(MIDIRouteSetDocument::singleSet(
        {makeRoute({.id = makeID(1), .variants = {makeVariant({.name = "Lead"})}})}, "Default"));
    model->updateActiveChannelAssignment(makeID(1), ChannelMode::asIs(), std::nullopt);
    EXPECT_THAT(variantNames(makeID(1)), ElementsAre("As Is"));
}

TEST_F(MIDIRouterViewModelConnections, ActivatesAnAssignment) {
    const UUID id = connectKeys();
    model->addChannelAssignment(id, ChannelMode::force(2), std::nullopt);
    const UUID asIs = routeWith(id).variants[0].id;
    model->setSelectedRouteID(std::nullopt);
    report(id, {0x90, 60, 100});
    model->setActiveVariant(asIs, id);
    EXPECT_EQ(model->statusMessage(), "Selected output channel As Is");
    EXPECT_EQ(model->selectedRouteID(), id);
    EXPECT_THAT(model->graphActivities(id), IsEmpty());
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x90, 60, 100})));
    EXPECT_EQ(store->loadDocument(), document());
    std::filesystem::remove(store->fileURL());
    model->setActiveVariant(asIs, id);
    EXPECT_TRUE(std::filesystem::exists(store->fileURL())) << "once more goes all the way";
    std::filesystem::remove(store->fileURL());
    model->setActiveVariant(makeID(98), id);
    model->setActiveVariant(asIs, makeID(99));
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
}

TEST_F(MIDIRouterViewModelConnections, DeletesTheActiveAssignmentButNotTheOnlyOne) {
    const UUID id = connectKeys();
    model->deleteActiveVariant(id);
    EXPECT_EQ(model->statusMessage(), "A connection needs at least one output channel");
    model->addChannelAssignment(id, ChannelMode::force(2), std::nullopt);
    model->addChannelAssignment(id, ChannelMode::force(3), std::nullopt);
    model->setActiveVariant(routeWith(id).variants[1].id, id);
    model->deleteActiveVariant(id);
    EXPECT_EQ(model->statusMessage(), "Deleted output channel Ch 2");
    EXPECT_THAT(variantNames(id), ElementsAre("As Is", "Ch 3"));
    EXPECT_EQ(routeWith(id).activeVariantID, routeWith(id).variants[0].id);
    EXPECT_EQ(routeWith(id).channelMode, ChannelMode::asIs());
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelConnections, KeepsTheLastAssignmentsWhenTheyShareAnID) {
    makeModel(MIDIRouteSetDocument::singleSet(
        {makeRoute({.id = makeID(1),
                    .variants = {makeVariant({.id = makeID(2)}), makeVariant({.id = makeID(2), .name = "B"})}})},
        "Default"));
    model->deleteActiveVariant(makeID(1));
    EXPECT_EQ(model->statusMessage(), "A connection needs at least one output channel");
    EXPECT_THAT(variantNames(makeID(1)), ElementsAre("As Is", "B"));
}

TEST_F(MIDIRouterViewModelConnections, DoesNothingForUnknownConnections) {
    std::filesystem::remove(store->fileURL());
    model->addChannelAssignment(makeID(99), ChannelMode::force(1), std::nullopt);
    model->updateActiveChannelAssignment(makeID(99), ChannelMode::force(1), std::nullopt);
    model->deleteActiveVariant(makeID(99));
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
}

TEST_F(MIDIRouterViewModelConnections, ReplacesAFailedSaveByTheTextOfAnAssignmentCommandOnly) {
    breakStore();
    const UUID id = connectKeys();
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
    model->addChannelAssignment(id, ChannelMode::force(1), std::nullopt);
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 1");
    EXPECT_THAT(model->saveFailure().value_or(""), StartsWith("Could not save sets: "));
    model->setRouteEnabled(id, false);
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
    model->deleteActiveVariant(id);
    EXPECT_EQ(model->statusMessage(), "Deleted output channel Ch 1");
    model->deleteSelectedRoute();
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
}

TEST_F(MIDIRouterViewModelConnections, SuggestsTheOwnChannelOrTheNextFreeOrTheLowest) {
    const auto suggested = [](ChannelMode own, const std::vector<int>& used) {
        std::vector<MIDIRouteVariant> variants{makeVariant({.id = makeID(50), .channelMode = std::nullopt})};
        for (const int channel : used) {
            variants.push_back(makeVariant(
                {.id = makeID(static_cast<std::uint32_t>(100 + channel)), .channelMode = ChannelMode::force(channel)}));
        }
        return MIDIRouterViewModel::suggestedVariantChannelMode(makeRoute({.channelMode = own, .variants = variants}));
    };
    EXPECT_EQ(suggested(ChannelMode::asIs(), {}), ChannelMode::force(1));
    EXPECT_EQ(suggested(ChannelMode::asIs(), {1, 2, 4}), ChannelMode::force(3));
    EXPECT_EQ(suggested(ChannelMode::force(5), {1}), ChannelMode::force(5));
    EXPECT_EQ(suggested(ChannelMode::force(5), {5, 6}), ChannelMode::force(7));
    EXPECT_EQ(suggested(ChannelMode::force(15), {15, 16, 1}), ChannelMode::force(2));
    EXPECT_EQ(suggested(ChannelMode::force(3), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}),
              ChannelMode::asIs());
    EXPECT_EQ(suggested(ChannelMode::force(17), {1}), ChannelMode::force(2));
    EXPECT_EQ(suggested(ChannelMode::force(0), {0, 17}), ChannelMode::force(1));
    EXPECT_EQ(suggested(ChannelMode::force(-4), {1}), ChannelMode::force(2));
    EXPECT_EQ(suggested(ChannelMode::force(0), {}), ChannelMode::force(1));
    EXPECT_EQ(suggested(ChannelMode::force(16), {}), ChannelMode::force(16));
}

// Shortcuts

TEST_F(MIDIRouterViewModelConnections, LeavesAKeyThatBelongsToNoAssignment) {
    connectKeys();
    const std::string before = model->statusMessage();
    EXPECT_FALSE(model->handleShortcut(optionP));
    EXPECT_EQ(model->statusMessage(), before);
}

TEST_F(MIDIRouterViewModelConnections, ActivatesByShortcutAlsoInAConnectionThatIsOffOrNotSelected) {
    const UUID synth = connectKeys();
    model->addChannelAssignment(synth, ChannelMode::force(2), optionP);
    model->setActiveVariant(routeWith(synth).variants[0].id, synth);
    model->setRouteEnabled(synth, false);
    model->connect(1011, 1022);
    EXPECT_TRUE(model->handleShortcut(optionP));
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 2");
    EXPECT_EQ(model->selectedRouteID(), synth);
    EXPECT_EQ(routeWith(synth).channelMode, ChannelMode::force(2));
}

TEST_F(MIDIRouterViewModelConnections, AsksForASelectionWhenAShortcutIsAmbiguous) {
    const UUID synth = connectKeys();
    model->addChannelAssignment(synth, ChannelMode::force(2), optionP);
    model->connect(1011, 1022);
    const UUID drums = model->routes().back().id;
    model->addChannelAssignment(drums, ChannelMode::force(2), optionP);
    model->setActiveVariant(routeWith(drums).variants[0].id, drums);
    model->connect(1012, 1022);
    EXPECT_TRUE(model->handleShortcut(optionP)) << "the selected connection does not have it";
    EXPECT_EQ(model->statusMessage(), "\u2325P is assigned to multiple connections; select a connection first");
    EXPECT_EQ(routeWith(drums).channelMode, ChannelMode::asIs());
    model->setSelectedRouteID(drums);
    EXPECT_TRUE(model->handleShortcut(optionP));
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 2");
    EXPECT_EQ(routeWith(drums).channelMode, ChannelMode::force(2));
}

TEST_F(MIDIRouterViewModelConnections, CountsAssignmentsNotConnectionsForAnAmbiguousShortcut) {
    makeModel(MIDIRouteSetDocument::singleSet(
        {makeRoute({.id = makeID(1),
                    .variants = {makeVariant({.id = makeID(2), .shortcut = optionP}),
                                 makeVariant({.id = makeID(3), .shortcut = optionP})}})},
        "Default"));
    EXPECT_TRUE(model->handleShortcut(optionP));
    EXPECT_EQ(model->statusMessage(), "\u2325P is assigned to multiple connections; select a connection first");
}

}  // namespace
}  // namespace corvel::tests
