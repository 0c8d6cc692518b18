#include "tests/app/ModelFixture.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Names that are blank, in use or unusual, and documents that were edited by hand.
class MIDIRouterViewModelSetEdges : public ModelFixture {
protected:
    /// Starts the program on empty sets with these names and the IDs 1, 2, 3 and so on; the first is current.
    void startWithSets(const std::vector<std::string>& names) {
        std::vector<MIDIRouteSet> sets;
        for (const std::string& name : names) {
            sets.push_back({makeID(static_cast<std::uint32_t>(sets.size() + 1)), name, {}});
        }
        makeModel(MIDIRouteSetDocument(makeID(1), std::move(sets)));
        startModel();
    }

    [[nodiscard]] std::vector<std::string> setNames() const {
        std::vector<std::string> names;
        std::ranges::transform(model->routeSets(), std::back_inserter(names), &MIDIRouteSet::name);
        return names;
    }
};

// Names

TEST_F(MIDIRouterViewModelSetEdges, CallsBlankSetsNewSetAndNumbersThem) {
    for (int count = 0; count < 3; ++count) {
        model->createRouteSet("  ");
    }
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set", "New Set 2", "New Set 3"));
    EXPECT_EQ(model->statusMessage(), "Created set \"New Set 3\"");
}

TEST_F(MIDIRouterViewModelSetEdges, CopiesDefaultTwiceWhenItIsSelectedAgainInBetween) {
    const UUID original = model->selectedRouteSetID();
    model->duplicateSelectedRouteSet("  ");
    EXPECT_EQ(model->statusMessage(), "Duplicated set \"Default Copy\"");
    model->selectRouteSet(original);
    model->duplicateSelectedRouteSet("");
    EXPECT_EQ(model->statusMessage(), "Duplicated set \"Default Copy 2\"");
    model->duplicateSelectedRouteSet("\n");
    EXPECT_EQ(model->statusMessage(), "Duplicated set \"Default Copy 2 Copy\"");
}

TEST_F(MIDIRouterViewModelSetEdges, TrimsWhiteSpaceOfEveryKindFromBothEndsOnly) {
    model->createRouteSet("\u3000\u2028 \u2003Big  Band\u0085\r\n\v\f\u1680");
    EXPECT_EQ(model->selectedRouteSetName(), "Big  Band");
    model->createRouteSet("\u00A0\u202F\u205F\u2029\t");
    EXPECT_EQ(model->selectedRouteSetName(), "New Set") << "nothing is left";
    model->createRouteSet("\u200B");
    EXPECT_EQ(model->selectedRouteSetName(), "\u200B") << "a zero-width space is not white space";
    model->createRouteSet("\uFEFFx\uFEFF");
    EXPECT_EQ(model->selectedRouteSetName(), "\uFEFFx\uFEFF");
}

TEST_F(MIDIRouterViewModelSetEdges, LeavesTheNameItFallsBackToUntrimmed) {
    startWithSets({" Live "});
    model->renameSelectedRouteSet(" ");
    EXPECT_EQ(model->statusMessage(), "Renamed set \" Live \"");
    model->duplicateSelectedRouteSet("");
    EXPECT_EQ(model->statusMessage(), "Duplicated set \" Live  Copy\"");
}

TEST_F(MIDIRouterViewModelSetEdges, NumbersANameThatEndsInANumberAnew) {
    startWithSets({"Live", "Live 2", "Live 3"});
    model->createRouteSet("Live 2");
    EXPECT_EQ(model->selectedRouteSetName(), "Live 2 2");
    model->createRouteSet("Live");
    EXPECT_EQ(model->selectedRouteSetName(), "Live 4");
}

TEST_F(MIDIRouterViewModelSetEdges, CountsPastNine) {
    startWithSets({"A", "A 2", "A 3", "A 4", "A 5", "A 6", "A 7", "A 8", "A 9"});
    EXPECT_EQ(model->uniqueRouteSetName("A"), "A 10");
}

TEST_F(MIDIRouterViewModelSetEdges, ComparesNamesByteByByte) {
    startWithSets({"\u00E9", "live"});
    model->createRouteSet("e\u0301");
    EXPECT_EQ(model->selectedRouteSetName(), "e\u0301") << "written otherwise, so another name";
    model->createRouteSet("LIVE");
    EXPECT_EQ(model->selectedRouteSetName(), "LIVE");
}

TEST_F(MIDIRouterViewModelSetEdges, DoesNotCountTheRenamedSetItself) {
    startWithSets({"Live", "Live 2"});
    model->selectRouteSet(makeID(2));
    model->renameSelectedRouteSet("Live");
    EXPECT_THAT(setNames(), ElementsAre("Live", "Live 2")) << "its own number is free for it";
    model->renameSelectedRouteSet("Live 3");
    model->renameSelectedRouteSet("Live");
    EXPECT_THAT(setNames(), ElementsAre("Live", "Live 2"));
}

TEST_F(MIDIRouterViewModelSetEdges, NumbersABlankRenameWhoseNameAnotherSetBears) {
    startWithSets({"Live", "Live"});
    model->renameSelectedRouteSet("");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Live 2\"");
    EXPECT_THAT(setNames(), ElementsAre("Live 2", "Live"));
}

TEST_F(MIDIRouterViewModelSetEdges, QuotesANameAsItStands) {
    model->createRouteSet("\"B\" \\ C");
    EXPECT_EQ(model->statusMessage(), "Created set \"\"B\" \\ C\"");
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->statusMessage(), "Deleted set \"\"B\" \\ C\"");
}

// Sets and what they hold

TEST_F(MIDIRouterViewModelSetEdges, SelectsTheNextSetWhenOneInTheMiddleGoes) {
    startWithSets({"A", "B", "C", "D"});
    model->selectRouteSet(makeID(2));
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->selectedRouteSetID(), makeID(3));
    EXPECT_THAT(setNames(), ElementsAre("A", "C", "D"));
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelSetEdges, ForgetsTheSelectedConnectionAndTheGraphButNotTheEndpointsOrTheActivity) {
    startModel();
    const UUID first = model->selectedRouteSetID();
    const std::vector<std::function<void()>> commands{
        [&] { model->createRouteSet("A"); }, [&] { model->duplicateSelectedRouteSet("B"); },
        [&] { model->deleteSelectedRouteSet(); }, [&] { model->selectRouteSet(first); }};
    std::size_t messages = 0;
    for (const auto& command : commands) {
        model->connect(1011, 1021);
        const UUID id = model->routes().back().id;
        model->setSelectedRouteID(id);
        report(id, {0x90, 60, 100});
        ++messages;
        ASSERT_THAT(model->graphActivities(id), SizeIs(1));
        command();
        EXPECT_EQ(model->selectedRouteID(), std::nullopt);
        EXPECT_THAT(model->graphActivities(id), IsEmpty());
        EXPECT_EQ(model->selectedSourceID(), 1011);
        EXPECT_EQ(model->selectedDestinationID(), 1021);
        EXPECT_THAT(model->activityEvents(), SizeIs(messages));
    }
}

TEST_F(MIDIRouterViewModelSetEdges, KeepsSelectionsAndGraphWhenASetIsRenamed) {
    startModel();
    model->connect(1011, 1021);
    const UUID id = model->routes().front().id;
    report(id, {0x90, 60, 100});
    model->renameSelectedRouteSet("Live");
    EXPECT_EQ(model->selectedRouteID(), id);
    EXPECT_EQ(model->selectedSourceID(), 1011);
    EXPECT_THAT(model->graphActivities(id), SizeIs(1));
}

TEST_F(MIDIRouterViewModelSetEdges, LeavesTheConnectionsOfTheOldSetInTheDocument) {
    startModel();
    model->connect(1011, 1021);
    const std::vector<MIDIRoute> left = model->routes();
    model->createRouteSet("Empty");
    EXPECT_EQ(store->loadDocument().routeSets.front().routes, left);
    EXPECT_THAT(store->loadDocument().routeSets.back().routes, IsEmpty());
}

TEST_F(MIDIRouterViewModelSetEdges, CopiesEveryFieldAndTheOrderUnderIDsThatNoSetHas) {
    const KeyboardShortcutSpec odd("x", {KeyboardShortcutModifier::shift});
    MIDIRouteVariant lead = makeVariant({.id = makeID(31),
                                         .name = "Lead",
                                         .shortcut = odd,
                                         .channelMode = ChannelMode::force(7),
                                         .sourceID = 1,
                                         .destinationID = 2,
                                         .sourceName = "Away",
                                         .sourceManufacturer = "Gone",
                                         .destinationName = "Lost",
                                         .destinationManufacturer = std::nullopt});
    MIDIRouteVariant bass = makeVariant({.id = makeID(32), .name = "Lead", .sourceID = 3, .destinationID = 4});
    const MIDIRoute paused =
        makeRoute({.id = makeID(21), .isEnabled = false, .activeVariantID = makeID(32), .variants = {lead, bass}});
    const MIDIRoute plain = makeRoute({.id = makeID(22), .sourceID = 5, .destinationID = 6});
    makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {paused, plain}}}));
    const std::vector<MIDIRoute> originals = model->routes();
    model->duplicateSelectedRouteSet("Copy");
    ASSERT_THAT(model->routes(), SizeIs(2));
    EXPECT_EQ(model->routeSets()[0].routes, originals);
    EXPECT_EQ(model->routeSets()[1].routes, model->routes());
    std::set<UUID> ids{makeID(1), model->routeSets()[1].id};
    std::size_t count = 2;
    for (const MIDIRouteSet& set : model->routeSets()) {
        for (const MIDIRoute& route : set.routes) {
            ids.insert(route.id);
            ++count;
            for (const MIDIRouteVariant& variant : route.variants) {
                ids.insert(variant.id);
                ++count;
            }
        }
    }
    EXPECT_THAT(ids, SizeIs(count));
    for (std::size_t index = 0; index < originals.size(); ++index) {
        MIDIRoute copy = model->routes()[index];
        ASSERT_NE(copy.activeVariant(), nullptr);
        copy.id = originals[index].id;
        for (std::size_t variant = 0; variant < copy.variants.size(); ++variant) {
            if (copy.activeVariantID == copy.variants[variant].id) {
                copy.activeVariantID = originals[index].variants[variant].id;
            }
            copy.variants[variant].id = originals[index].variants[variant].id;
        }
        EXPECT_EQ(copy, originals[index]);
    }
}

TEST_F(MIDIRouterViewModelSetEdges, LeavesTheSourceSetAloneWhenAnAssignmentOfTheCopyChanges) {
    startModel();
    model->connect(1011, 1021);
    const std::vector<MIDIRoute> originals = model->routes();
    model->duplicateSelectedRouteSet("");
    const UUID copy = model->routes().front().id;
    model->addChannelAssignment(copy, ChannelMode::force(4), std::nullopt);
    model->updateActiveChannelAssignment(copy, ChannelMode::force(5), std::nullopt);
    EXPECT_EQ(model->routeSets()[0].routes, originals);
    EXPECT_EQ(store->loadDocument().routeSets[0].routes, originals);
}

TEST_F(MIDIRouterViewModelSetEdges, TakesTheFirstOfTwoSetsThatShareAnID) {
    const MIDIRoute first = makeRoute({.id = makeID(11), .sourceID = 1011, .destinationID = 1021});
    const MIDIRoute second = makeRoute({.id = makeID(12), .sourceID = 1011, .destinationID = 1022});
    makeModel(
        MIDIRouteSetDocument(makeID(1), {{makeID(1), "A", {first}}, {makeID(1), "B", {second}}, {makeID(2), "C", {}}}));
    model->renameSelectedRouteSet("D");
    EXPECT_THAT(setNames(), ElementsAre("D", "B", "C"));
    model->setRouteEnabled(makeID(11), false);
    EXPECT_EQ(model->routeSets()[1].routes.front().id, makeID(12)) << "the other one is left alone";
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->statusMessage(), "Deleted set \"D\"");
    EXPECT_EQ(model->selectedRouteSetID(), makeID(1));
    ASSERT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(model->routes().front().id, makeID(12));
}

TEST_F(MIDIRouterViewModelSetEdges, RebindsTheSetThatTakesTheDeletedOnesPlace) {
    const MIDIRoute stored = makeRoute({.id = makeID(11),
                                        .sourceID = 77,
                                        .destinationID = 1021,
                                        .sourceName = "Keys",
                                        .sourceManufacturer = "Acme",
                                        .destinationName = "Synth",
                                        .destinationManufacturer = "Acme"});
    makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "A", {}}, {makeID(2), "B", {stored}}}));
    startModel();
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->routes().front().sourceID, 1011);
    EXPECT_EQ(model->statusMessage(), "Deleted set \"A\"");
    EXPECT_EQ(store->loadDocument(), document());
    EXPECT_THAT(playKeys(), SizeIs(1));
}

}  // namespace
}  // namespace corvel::tests
