#include "tests/app/ModelFixture.hpp"

#include <algorithm>
#include <iterator>
#include <set>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class MIDIRouterViewModelSets : public ModelFixture {
protected:
    MIDIRouterViewModelSets() {
        makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {keysTo(1021, 11)}},
                                                   {makeID(2), "Studio", {keysTo(1022, 12)}},
                                                   {makeID(3), "Home", {}}}));
        startModel();
    }

    static MIDIRoute keysTo(std::int32_t destinationID, std::uint32_t id) {
        return makeRoute({.id = makeID(id),
                          .sourceID = 1011,
                          .destinationID = destinationID,
                          .sourceName = "Keys",
                          .sourceManufacturer = "Acme",
                          .destinationName = destinationID == 1021 ? "Synth" : "Drums",
                          .destinationManufacturer = "Acme"});
    }

    [[nodiscard]] std::vector<std::string> setNames() const {
        std::vector<std::string> names;
        std::ranges::transform(model->routeSets(), std::back_inserter(names), &MIDIRouteSet::name);
        return names;
    }
};

TEST_F(MIDIRouterViewModelSets, SelectsASetWithItsConnections) {
    model->setSelectedRouteID(makeID(11));
    report(makeID(11), {0x90, 60, 100});
    model->selectRouteSet(makeID(2));
    EXPECT_EQ(model->selectedRouteSetID(), makeID(2));
    EXPECT_EQ(model->routes(), model->routeSets()[1].routes);
    EXPECT_EQ(model->routes().front().id, makeID(12));
    EXPECT_EQ(model->selectedRouteID(), std::nullopt);
    EXPECT_THAT(model->graphActivities(makeID(11)), IsEmpty());
    EXPECT_EQ(model->statusMessage(), "Loaded set \"Studio\"");
    EXPECT_EQ(store->loadDocument().selectedSetID, makeID(2));
    EXPECT_EQ(store->loadDocument(), document());
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(22U, std::vector<std::uint8_t>{0x90, 60, 100})));
}

TEST_F(MIDIRouterViewModelSets, DoesNothingWhenTheCurrentOrAnUnknownSetIsSelected) {
    std::filesystem::remove(store->fileURL());
    model->selectRouteSet(makeID(1));
    model->selectRouteSet(makeID(99));
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_EQ(model->selectedRouteSetID(), makeID(1));
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
}

TEST_F(MIDIRouterViewModelSets, CreatesEmptySetsUnderNamesOfTheirOwn) {
    model->createRouteSet("  ");
    EXPECT_EQ(model->statusMessage(), "Created set \"New Set\"");
    EXPECT_THAT(model->routes(), IsEmpty());
    EXPECT_THAT(playKeys(), IsEmpty());
    model->createRouteSet("");
    model->createRouteSet("New Set");
    model->createRouteSet(" \u00A0Club\n");
    EXPECT_EQ(model->statusMessage(), "Created set \"Club\"");
    EXPECT_THAT(setNames(), ElementsAre("Live", "Studio", "Home", "New Set", "New Set 2", "New Set 3", "Club"));
    EXPECT_EQ(model->selectedRouteSetID(), model->routeSets().back().id);
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelSets, NumbersFromTwoAndFillsGaps) {
    model->createRouteSet("Live 2");
    model->createRouteSet("Live 5");
    EXPECT_EQ(model->uniqueRouteSetName("Live"), "Live 3");
    EXPECT_EQ(model->uniqueRouteSetName("live"), "live") << "letter case distinguishes";
    EXPECT_EQ(model->uniqueRouteSetName("Live", makeID(1)), "Live");
    EXPECT_EQ(model->uniqueRouteSetName("Live", makeID(2)), "Live 3");
}

TEST_F(MIDIRouterViewModelSets, DuplicatesUnderFreshIDs) {
    model->addChannelAssignment(makeID(11), ChannelMode::force(3),
                                KeyboardShortcutSpec("p", {KeyboardShortcutModifier::option}));
    const MIDIRoute original = model->routes().front();
    model->duplicateSelectedRouteSet(" ");
    EXPECT_EQ(model->statusMessage(), "Duplicated set \"Live Copy\"");
    ASSERT_THAT(model->routes(), SizeIs(1));
    const MIDIRoute copy = model->routes().front();
    EXPECT_NE(copy.id, original.id);
    ASSERT_THAT(copy.variants, SizeIs(2));
    EXPECT_NE(copy.variants[0].id, original.variants[0].id);
    EXPECT_NE(copy.variants[1].id, original.variants[1].id);
    EXPECT_EQ(copy.activeVariantID, copy.variants[1].id);
    MIDIRoute renumbered = copy;
    renumbered.id = original.id;
    renumbered.activeVariantID = original.activeVariantID;
    renumbered.variants[0].id = original.variants[0].id;
    renumbered.variants[1].id = original.variants[1].id;
    EXPECT_EQ(renumbered, original);
    model->setRouteEnabled(copy.id, false);
    EXPECT_EQ(model->routeSets()[0].routes.front(), original) << "the source set stays as it was";
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelSets, NamesCopiesAfterTheCurrentSet) {
    model->duplicateSelectedRouteSet("");
    model->duplicateSelectedRouteSet("");
    model->selectRouteSet(makeID(1));
    model->duplicateSelectedRouteSet("\t");
    EXPECT_THAT(setNames(), ElementsAre("Live", "Studio", "Home", "Live Copy", "Live Copy Copy", "Live Copy 2"));
}

TEST_F(MIDIRouterViewModelSets, RenamesTheCurrentSet) {
    model->renameSelectedRouteSet("Live");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Live\"");
    model->renameSelectedRouteSet(" Studio ");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Studio 2\"");
    std::filesystem::remove(store->fileURL());
    model->renameSelectedRouteSet("  ");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Studio 2\"");
    EXPECT_THAT(setNames(), ElementsAre("Studio 2", "Studio", "Home"));
    EXPECT_EQ(model->selectedRouteSetName(), "Studio 2");
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelSets, DeletesTheCurrentSetAndSelectsItsNeighbour) {
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->statusMessage(), "Deleted set \"Live\"");
    EXPECT_EQ(model->selectedRouteSetID(), makeID(2));
    EXPECT_EQ(model->routes(), model->routeSets()[0].routes);
    EXPECT_EQ(model->routes().front().id, makeID(12));
    model->selectRouteSet(makeID(3));
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->statusMessage(), "Deleted set \"Home\"");
    EXPECT_EQ(model->selectedRouteSetID(), makeID(2)) << "the last one's place is taken by the new last";
    EXPECT_EQ(store->loadDocument(), document());
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->statusMessage(), "Deleted set \"Home\"") << "the only set stays, without a word";
    EXPECT_THAT(setNames(), ElementsAre("Studio"));
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(22U, std::vector<std::uint8_t>{0x90, 60, 100})));
}

TEST_F(MIDIRouterViewModelSets, ShowsAFailedSaveAfterCreateDuplicateAndRenameOnly) {
    breakStore();
    model->createRouteSet("A");
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
    model->selectRouteSet(makeID(1));
    EXPECT_EQ(model->statusMessage(), "Loaded set \"Live\"");
    model->duplicateSelectedRouteSet("B");
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->statusMessage(), "Deleted set \"B\"");
    model->renameSelectedRouteSet("C");
    EXPECT_THAT(model->statusMessage(), StartsWith("Could not save sets: "));
    EXPECT_THAT(setNames(), ElementsAre("Live", "Studio", "Home", "C")) << "memory goes on";
}

TEST_F(MIDIRouterViewModelSets, RebindsTheConnectionsOfTheSetSelected) {
    host->properties[22].uniqueID = 2022;
    model->applyEndpointSnapshot();
    model->selectRouteSet(makeID(2));
    EXPECT_EQ(model->statusMessage(), "Loaded set \"Studio\"");
    EXPECT_EQ(model->routes().front().destinationID, 2022);
    EXPECT_EQ(store->loadDocument(), document());
}

}  // namespace
}  // namespace corvel::tests
