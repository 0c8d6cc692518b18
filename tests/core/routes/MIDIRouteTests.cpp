#include "core/routes/MIDIRoute.hpp"

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
using testing::IsNull;
using tests::makeID;
using tests::makeRoute;
using tests::makeVariant;

/// The connection of two assignments that most tests here edit: "Lead" (10), the active one, and "Drums" (11).
MIDIRoute twoAssignments() {
    return makeRoute(
        {.id = makeID(1),
         .activeVariantID = makeID(10),
         .variants = {makeVariant({.id = makeID(10),
                                   .name = "Lead",
                                   .shortcut = KeyboardShortcutSpec("1", {KeyboardShortcutModifier::command}),
                                   .channelMode = ChannelMode::asIs(),
                                   .sourceID = 101,
                                   .destinationID = 102,
                                   .sourceName = "Keys",
                                   .destinationManufacturer = "Synth Maker"}),
                      makeVariant({.id = makeID(11),
                                   .name = "Drums",
                                   .channelMode = ChannelMode::force(10),
                                   .sourceID = 111,
                                   .destinationID = 112,
                                   .sourceManufacturer = "Keys Maker",
                                   .destinationName = "Drum Box"})}});
}

TEST(MIDIRouteVariant, IsNamedAfterItsMode) {
    EXPECT_EQ(MIDIRouteVariant::defaultName(ChannelMode::asIs()), "As Is");
    EXPECT_EQ(MIDIRouteVariant::defaultName(ChannelMode::force(1)), "Ch 1");
    EXPECT_EQ(MIDIRouteVariant::defaultName(ChannelMode::force(17)), "Ch 17");
}

TEST(MIDIRouteVariant, EqualsAndHashesByEveryField) {
    const MIDIRouteVariant variant = makeVariant({.id = makeID(1), .name = "Lead"});
    const std::hash<MIDIRouteVariant> hash;
    const std::vector<std::function<void(MIDIRouteVariant&)>> edits{
        [](MIDIRouteVariant& edited) { edited.id = makeID(2); },
        [](MIDIRouteVariant& edited) { edited.name = "lead"; },
        [](MIDIRouteVariant& edited) { edited.shortcut = KeyboardShortcutSpec("a", {}); },
        [](MIDIRouteVariant& edited) { edited.channelMode = ChannelMode::force(1); },
        [](MIDIRouteVariant& edited) { edited.channelMode = std::nullopt; },
        [](MIDIRouteVariant& edited) { edited.sourceID = -1; },
        [](MIDIRouteVariant& edited) { edited.destinationID = -1; },
        [](MIDIRouteVariant& edited) { edited.sourceName = ""; },
        [](MIDIRouteVariant& edited) { edited.sourceManufacturer = ""; },
        [](MIDIRouteVariant& edited) { edited.destinationName = ""; },
        [](MIDIRouteVariant& edited) { edited.destinationManufacturer = ""; }};
    for (std::size_t index = 0; index < edits.size(); ++index) {
        MIDIRouteVariant edited = variant;
        EXPECT_EQ(edited, variant);
        EXPECT_EQ(hash(edited), hash(variant));
        edits[index](edited);
        EXPECT_NE(edited, variant) << "edit " << index;
        EXPECT_NE(hash(edited), hash(variant)) << "edit " << index;
    }
}

TEST(MIDIRoute, MadeWithoutAssignmentsGetsOneOfItsOwnFields) {
    const MIDIRoute route(makeID(1), 5, -6, "Keys", "Keys Maker", "Synth", "Synth Maker", ChannelMode::force(10), false,
                          std::nullopt, {});
    EXPECT_EQ(route.id, makeID(1));
    EXPECT_EQ(route.sourceID, 5);
    EXPECT_EQ(route.destinationID, -6);
    EXPECT_EQ(route.sourceName, "Keys");
    EXPECT_EQ(route.sourceManufacturer, "Keys Maker");
    EXPECT_EQ(route.destinationName, "Synth");
    EXPECT_EQ(route.destinationManufacturer, "Synth Maker");
    EXPECT_EQ(route.channelMode, ChannelMode::force(10));
    EXPECT_FALSE(route.isEnabled);
    ASSERT_EQ(route.variants.size(), 1U);
    const UUID variantID = route.variants.front().id;
    EXPECT_NE(variantID, UUID{});
    EXPECT_NE(variantID, makeID(1));
    EXPECT_EQ(route.activeVariantID, variantID);
    EXPECT_EQ(route.variants.front(), makeVariant({.id = variantID,
                                                   .name = "Ch 10",
                                                   .channelMode = ChannelMode::force(10),
                                                   .sourceID = 5,
                                                   .destinationID = -6,
                                                   .sourceName = "Keys",
                                                   .sourceManufacturer = "Keys Maker",
                                                   .destinationName = "Synth",
                                                   .destinationManufacturer = "Synth Maker"}));
}

TEST(MIDIRoute, MadePlainGetsAnAssignmentNamedAsIs) {
    const MIDIRoute route = makeRoute();
    ASSERT_EQ(route.variants.size(), 1U);
    EXPECT_EQ(route.variants.front().name, "As Is");
    EXPECT_EQ(route.variants.front().shortcut, std::nullopt);
}

TEST(MIDIRoute, GivesEveryAssignmentOfItsOwnANewIdentity) {
    EXPECT_NE(makeRoute().variants.front().id, makeRoute().variants.front().id);
}

TEST(MIDIRoute, MadeWithoutAssignmentsIgnoresAnActiveIDThatCannotMatch) {
    const MIDIRoute route = makeRoute({.activeVariantID = makeID(99)});
    ASSERT_EQ(route.variants.size(), 1U);
    EXPECT_EQ(route.activeVariantID, route.variants.front().id);
    EXPECT_NE(route.activeVariantID, makeID(99));
}

TEST(MIDIRoute, MadeWithAssignmentsTakesOnTheActiveOne) {
    const MIDIRoute route = makeRoute({.sourceID = 1,
                                       .destinationID = 2,
                                       .sourceName = "Other",
                                       .destinationManufacturer = "Other Maker",
                                       .channelMode = ChannelMode::force(3),
                                       .activeVariantID = makeID(11),
                                       .variants = {makeVariant({.id = makeID(10), .sourceID = 8}),
                                                    makeVariant({.id = makeID(11),
                                                                 .name = "Drums",
                                                                 .channelMode = ChannelMode::force(10),
                                                                 .sourceID = 111,
                                                                 .destinationID = 112,
                                                                 .sourceManufacturer = "Keys Maker",
                                                                 .destinationName = "Drum Box"})}});
    EXPECT_EQ(route.activeVariantID, makeID(11));
    EXPECT_EQ(route.sourceID, 111);
    EXPECT_EQ(route.destinationID, 112);
    EXPECT_EQ(route.sourceName, std::nullopt);
    EXPECT_EQ(route.sourceManufacturer, "Keys Maker");
    EXPECT_EQ(route.destinationName, "Drum Box");
    EXPECT_EQ(route.destinationManufacturer, std::nullopt);
    EXPECT_EQ(route.channelMode, ChannelMode::force(10));
    ASSERT_EQ(route.variants.size(), 2U);
}

TEST(MIDIRoute, FallsBackToTheFirstAssignment) {
    const std::vector variants{makeVariant({.id = makeID(10), .sourceID = 8}),
                               makeVariant({.id = makeID(11), .sourceID = 9})};
    const MIDIRoute withoutID = makeRoute({.sourceID = 1, .variants = variants});
    EXPECT_EQ(withoutID.activeVariantID, makeID(10));
    EXPECT_EQ(withoutID.sourceID, 8);
    const MIDIRoute withUnknownID = makeRoute({.sourceID = 1, .activeVariantID = makeID(99), .variants = variants});
    EXPECT_EQ(withUnknownID.activeVariantID, makeID(10));
    EXPECT_EQ(withUnknownID.sourceID, 8);
}

TEST(MIDIRoute, KeepsItsModeWhenTheActiveAssignmentHasNone) {
    const MIDIRoute route =
        makeRoute({.channelMode = ChannelMode::force(4),
                   .variants = {makeVariant({.id = makeID(10), .name = "Default", .channelMode = std::nullopt})}});
    EXPECT_EQ(route.channelMode, ChannelMode::force(4));
    EXPECT_EQ(route.variants.front().channelMode, std::nullopt);
    EXPECT_EQ(route.variants.front().name, "Default");
}

TEST(MIDIRoute, KnowsItsActiveAssignment) {
    MIDIRoute route = twoAssignments();
    ASSERT_NE(route.activeVariant(), nullptr);
    EXPECT_EQ(route.activeVariant()->name, "Lead");
    route.activeVariantID = makeID(11);
    ASSERT_NE(route.activeVariant(), nullptr);
    EXPECT_EQ(route.activeVariant()->name, "Drums");
    route.activeVariantID = makeID(99);
    EXPECT_THAT(route.activeVariant(), IsNull());
}

TEST(MIDIRoute, TakesTheFirstOfAssignmentsWithTheSameID) {
    MIDIRoute route = makeRoute({.activeVariantID = makeID(10),
                                 .variants = {makeVariant({.id = makeID(10), .name = "First", .sourceID = 5}),
                                              makeVariant({.id = makeID(10), .name = "Second", .sourceID = 6})}});
    EXPECT_EQ(route.variants.size(), 2U);
    EXPECT_EQ(route.activeVariant()->name, "First");
    EXPECT_EQ(route.sourceID, 5);
    EXPECT_TRUE(route.setActiveVariant(makeID(10)));
    EXPECT_EQ(route.sourceID, 5);
    route.sourceID = 7;
    route.updateActiveVariantFromRoute();
    EXPECT_EQ(route.variants[0].sourceID, 7);
    EXPECT_EQ(route.variants[1].sourceID, 6);
}

TEST(MIDIRoute, AppliesTheActiveAssignment) {
    MIDIRoute route = twoAssignments();
    const MIDIRoute before = route;
    route.sourceID = 1;
    route.destinationID = 2;
    route.sourceName = std::nullopt;
    route.sourceManufacturer = "x";
    route.destinationName = "x";
    route.destinationManufacturer = "x";
    route.channelMode = ChannelMode::force(5);
    route.applyActiveVariant();
    EXPECT_EQ(route, before);
}

TEST(MIDIRoute, LeavesIdentityAndSwitchAloneWhenApplying) {
    MIDIRoute route = twoAssignments();
    route.id = makeID(77);
    route.isEnabled = false;
    route.applyActiveVariant();
    EXPECT_EQ(route.id, makeID(77));
    EXPECT_FALSE(route.isEnabled);
}

TEST(MIDIRoute, AppliesNothingWhenNoAssignmentIsActive) {
    MIDIRoute route = twoAssignments();
    route.activeVariantID = makeID(99);
    route.sourceID = 1;
    route.channelMode = ChannelMode::force(5);
    const MIDIRoute before = route;
    route.applyActiveVariant();
    EXPECT_EQ(route, before);
}

TEST(MIDIRoute, StoresItsFieldsInTheActiveAssignment) {
    MIDIRoute route = twoAssignments();
    const MIDIRouteVariant otherBefore = route.variants[1];
    route.sourceID = 1;
    route.destinationID = 2;
    route.sourceName = "a";
    route.sourceManufacturer = "b";
    route.destinationName = "c";
    route.destinationManufacturer = std::nullopt;
    route.channelMode = ChannelMode::force(5);
    route.updateActiveVariantFromRoute();
    EXPECT_EQ(route.variants[0],
              makeVariant({.id = makeID(10),
                           .name = "Lead",
                           .shortcut = KeyboardShortcutSpec("1", {KeyboardShortcutModifier::command}),
                           .channelMode = ChannelMode::force(5),
                           .sourceID = 1,
                           .destinationID = 2,
                           .sourceName = "a",
                           .sourceManufacturer = "b",
                           .destinationName = "c"}));
    EXPECT_EQ(route.variants[1], otherBefore);
}

TEST(MIDIRoute, GivesAnAssignmentWithoutModeItsOwnWhenStoring) {
    MIDIRoute route =
        makeRoute({.channelMode = ChannelMode::force(4), .variants = {makeVariant({.channelMode = std::nullopt})}});
    route.updateActiveVariantFromRoute();
    EXPECT_EQ(route.variants.front().channelMode, ChannelMode::force(4));
}

TEST(MIDIRoute, StoresNothingWhenNoAssignmentIsActive) {
    MIDIRoute route = twoAssignments();
    route.activeVariantID = makeID(99);
    route.sourceID = 1;
    const MIDIRoute before = route;
    route.updateActiveVariantFromRoute();
    EXPECT_EQ(route, before);
}

TEST(MIDIRoute, IsTheSameAfterStoringAndApplying) {
    MIDIRoute route = twoAssignments();
    route.sourceID = 1;
    route.destinationName = "Edited";
    route.channelMode = ChannelMode::force(2);
    route.updateActiveVariantFromRoute();
    const MIDIRoute before = route;
    route.applyActiveVariant();
    EXPECT_EQ(route, before);
}

TEST(MIDIRoute, MakesAnotherAssignmentActive) {
    MIDIRoute route = twoAssignments();
    const std::vector<MIDIRouteVariant> variantsBefore = route.variants;
    EXPECT_TRUE(route.setActiveVariant(makeID(11)));
    EXPECT_EQ(route.activeVariantID, makeID(11));
    EXPECT_EQ(route.sourceID, 111);
    EXPECT_EQ(route.destinationID, 112);
    EXPECT_EQ(route.sourceName, std::nullopt);
    EXPECT_EQ(route.sourceManufacturer, "Keys Maker");
    EXPECT_EQ(route.destinationName, "Drum Box");
    EXPECT_EQ(route.destinationManufacturer, std::nullopt);
    EXPECT_EQ(route.channelMode, ChannelMode::force(10));
    EXPECT_EQ(route.variants, variantsBefore);
}

TEST(MIDIRoute, AppliesTheActiveAssignmentAnewWhenItIsChosenAgain) {
    MIDIRoute route = twoAssignments();
    route.sourceID = 1;
    EXPECT_TRUE(route.setActiveVariant(makeID(10)));
    EXPECT_EQ(route.sourceID, 101);
}

TEST(MIDIRoute, RefusesAnUnknownAssignmentAndChangesNothing) {
    MIDIRoute route = twoAssignments();
    route.sourceID = 1;
    const MIDIRoute before = route;
    EXPECT_FALSE(route.setActiveVariant(makeID(99)));
    EXPECT_EQ(route, before);
}

TEST(MIDIRoute, IsCopiedAsAValue) {
    const MIDIRoute original = twoAssignments();
    MIDIRoute copy = original;
    copy.variants.front().name = "Edited";
    copy.setActiveVariant(makeID(11));
    EXPECT_EQ(original, twoAssignments());
    EXPECT_NE(copy, original);
}

TEST(MIDIRoute, EqualsAndHashesByEveryField) {
    const MIDIRoute route = twoAssignments();
    const std::hash<MIDIRoute> hash;
    const std::vector<std::function<void(MIDIRoute&)>> edits{
        [](MIDIRoute& edited) { edited.id = makeID(2); },
        [](MIDIRoute& edited) { edited.sourceID = -1; },
        [](MIDIRoute& edited) { edited.destinationID = -1; },
        [](MIDIRoute& edited) { edited.sourceName = "keys"; },
        [](MIDIRoute& edited) { edited.sourceManufacturer = ""; },
        [](MIDIRoute& edited) { edited.destinationName = ""; },
        [](MIDIRoute& edited) { edited.destinationManufacturer = std::nullopt; },
        [](MIDIRoute& edited) { edited.channelMode = ChannelMode::force(1); },
        [](MIDIRoute& edited) { edited.isEnabled = false; },
        [](MIDIRoute& edited) { edited.activeVariantID = makeID(11); },
        [](MIDIRoute& edited) { edited.variants.pop_back(); },
        [](MIDIRoute& edited) { std::swap(edited.variants[0], edited.variants[1]); },
        [](MIDIRoute& edited) { edited.variants[1].name = "drums"; }};
    for (std::size_t index = 0; index < edits.size(); ++index) {
        MIDIRoute edited = route;
        EXPECT_EQ(edited, route);
        EXPECT_EQ(hash(edited), hash(route));
        edits[index](edited);
        EXPECT_NE(edited, route) << "edit " << index;
        EXPECT_NE(hash(edited), hash(route)) << "edit " << index;
    }
}

}  // namespace
}  // namespace corvel
