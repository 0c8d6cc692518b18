#include "core/routes/MIDIRouteSetDocument.hpp"

#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::makeID;
using tests::makeRoute;

const MIDIRouteSet kStage{makeID(1), "Stage", {}};
const MIDIRouteSet kStudio{makeID(2), "Studio", {}};

TEST(MIDIRouteSet, EqualsAndHashesByEveryField) {
    const MIDIRouteSet set{makeID(1), "Stage", {makeRoute({.variants = {tests::makeVariant()}})}};
    const std::hash<MIDIRouteSet> hash;
    const std::vector<std::function<void(MIDIRouteSet&)>> edits{
        [](MIDIRouteSet& edited) { edited.id = makeID(2); }, [](MIDIRouteSet& edited) { edited.name = "stage"; },
        [](MIDIRouteSet& edited) { edited.routes.clear(); },
        [](MIDIRouteSet& edited) { edited.routes.front().isEnabled = false; },
        [](MIDIRouteSet& edited) { edited.routes.push_back(edited.routes.front()); }};
    for (std::size_t index = 0; index < edits.size(); ++index) {
        MIDIRouteSet edited = set;
        EXPECT_EQ(edited, set);
        EXPECT_EQ(hash(edited), hash(set));
        edits[index](edited);
        EXPECT_NE(edited, set) << "edit " << index;
        EXPECT_NE(hash(edited), hash(set)) << "edit " << index;
    }
}

TEST(MIDIRouteSetDocument, WithoutSetsGetsOneEmptySetNamedDefault) {
    for (const std::optional<UUID>& selected : {std::optional<UUID>(), std::optional(makeID(9))}) {
        const MIDIRouteSetDocument document(selected, {});
        ASSERT_EQ(document.routeSets.size(), 1U);
        EXPECT_EQ(document.routeSets.front().name, "Default");
        EXPECT_THAT(document.routeSets.front().routes, IsEmpty());
        EXPECT_NE(document.routeSets.front().id, UUID{});
        EXPECT_NE(document.routeSets.front().id, makeID(9));
        EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
    }
}

TEST(MIDIRouteSetDocument, GivesEverySetOfItsOwnANewIdentity) {
    EXPECT_NE(MIDIRouteSetDocument(std::nullopt, {}).selectedSetID,
              MIDIRouteSetDocument(std::nullopt, {}).selectedSetID);
}

TEST(MIDIRouteSetDocument, KeepsASelectionThatNamesASet) {
    const MIDIRouteSetDocument document(makeID(2), {kStage, kStudio});
    EXPECT_EQ(document.selectedSetID, makeID(2));
    EXPECT_THAT(document.routeSets, ElementsAre(kStage, kStudio));
    EXPECT_EQ(document.selectedRouteSet(), kStudio);
}

TEST(MIDIRouteSetDocument, SelectsTheFirstSetWithoutAValidSelection) {
    EXPECT_EQ(MIDIRouteSetDocument(std::nullopt, {kStage, kStudio}).selectedSetID, makeID(1));
    EXPECT_EQ(MIDIRouteSetDocument(makeID(9), {kStage, kStudio}).selectedSetID, makeID(1));
}

TEST(MIDIRouteSetDocument, NormalisesAnEditedValue) {
    MIDIRouteSetDocument document(makeID(2), {kStage, kStudio});
    EXPECT_EQ(document.normalized(), document);
    document.selectedSetID = makeID(9);
    EXPECT_EQ(document.normalized(), MIDIRouteSetDocument(makeID(1), {kStage, kStudio}));
    EXPECT_EQ(document.selectedSetID, makeID(9)) << "the value itself stays as it is";
    document.routeSets.clear();
    const MIDIRouteSetDocument normalized = document.normalized();
    ASSERT_EQ(normalized.routeSets.size(), 1U);
    EXPECT_EQ(normalized.routeSets.front().name, "Default");
    EXPECT_EQ(normalized.selectedSetID, normalized.routeSets.front().id);
}

TEST(MIDIRouteSetDocument, FallsBackToTheFirstSetWhenTheSelectionDangles) {
    MIDIRouteSetDocument document(makeID(2), {kStage, kStudio});
    document.selectedSetID = makeID(9);
    EXPECT_EQ(document.selectedRouteSet(), kStage);
}

TEST(MIDIRouteSetDocument, TakesTheFirstOfSetsWithTheSameID) {
    const MIDIRouteSet twin{makeID(2), "Twin", {}};
    const MIDIRouteSetDocument document(makeID(2), {kStage, kStudio, twin});
    EXPECT_EQ(document.routeSets.size(), 3U);
    EXPECT_EQ(document.selectedRouteSet(), kStudio);
}

TEST(MIDIRouteSetDocument, ImposesNoRuleOnNames) {
    const MIDIRouteSetDocument document(std::nullopt, {{makeID(1), "", {}}, {makeID(2), "", {}}});
    EXPECT_EQ(document.routeSets[0].name, "");
    EXPECT_EQ(document.routeSets[1].name, "");
}

TEST(MIDIRouteSetDocument, MadeOfOneSetSelectsIt) {
    const MIDIRoute route = makeRoute({.id = makeID(5)});
    const MIDIRouteSetDocument document = MIDIRouteSetDocument::singleSet({route, route}, "Tour");
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Tour");
    EXPECT_THAT(document.routeSets.front().routes, ElementsAre(route, route));
    EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
    EXPECT_NE(document.selectedSetID, MIDIRouteSetDocument::singleSet({}, "Tour").selectedSetID);
}

TEST(MIDIRouteSetDocument, EqualsAndHashesByEveryField) {
    const MIDIRouteSetDocument document(makeID(1), {kStage, kStudio});
    const std::hash<MIDIRouteSetDocument> hash;
    const std::vector<std::function<void(MIDIRouteSetDocument&)>> edits{
        [](MIDIRouteSetDocument& edited) { edited.selectedSetID = makeID(2); },
        [](MIDIRouteSetDocument& edited) { edited.routeSets.pop_back(); },
        [](MIDIRouteSetDocument& edited) { std::swap(edited.routeSets[0], edited.routeSets[1]); },
        [](MIDIRouteSetDocument& edited) { edited.routeSets[1].name = "studio"; }};
    for (std::size_t index = 0; index < edits.size(); ++index) {
        MIDIRouteSetDocument edited = document;
        EXPECT_EQ(edited, document);
        EXPECT_EQ(hash(edited), hash(document));
        edits[index](edited);
        EXPECT_NE(edited, document) << "edit " << index;
        EXPECT_NE(hash(edited), hash(document)) << "edit " << index;
    }
}

}  // namespace
}  // namespace corvel
