#include "ui/RouterWindow/RouteTexts.hpp"

#include "tests/support/RouteBuilders.hpp"

#include <gtest/gtest.h>

namespace corvel::ui {
namespace {

using tests::makeID;
using tests::makeRoute;
using tests::makeVariant;
using enum KeyboardShortcutModifier;

MIDIRouteVariant assignment(std::uint32_t number, std::optional<ChannelMode> mode) {
    return makeVariant({.id = makeID(number), .name = "My Lead", .channelMode = mode});
}

TEST(RouteTexts, CallsAnAssignmentByItsModeAndShortcutAndNeverByItsName) {
    MIDIRouteVariant variant = assignment(1, ChannelMode::force(3));
    EXPECT_EQ(channelPickerTitle(variant), "Ch 3");
    variant.shortcut = KeyboardShortcutSpec("p", {shift, option});
    EXPECT_EQ(channelPickerTitle(variant), "Ch 3 (⌥⇧P)");
    variant.channelMode = std::nullopt;
    EXPECT_EQ(channelPickerTitle(variant), "As Is (⌥⇧P)");
}

TEST(RouteTexts, TakesAnAssignmentWithoutAModeForAsIs) {
    const MIDIRoute route =
        makeRoute({.channelMode = ChannelMode::force(5),
                   .variants = {assignment(1, std::nullopt), assignment(2, ChannelMode::force(6))}});
    EXPECT_FALSE(hasForcedChannel(route));
    EXPECT_FALSE(canDeleteActiveChannelAssignment(route));
    EXPECT_EQ(editButtonHelp(route), "As Is output cannot be edited");
    EXPECT_EQ(deleteButtonHelp(route), "As Is output cannot be deleted");
}

TEST(RouteTexts, LetsGoOfTheActiveAssignmentWhileThereIsAnother) {
    MIDIRoute route =
        makeRoute({.variants = {assignment(1, ChannelMode::force(5)), assignment(2, ChannelMode::asIs())}});
    EXPECT_TRUE(canDeleteActiveChannelAssignment(route));
    EXPECT_EQ(deleteButtonHelp(route), "Delete selected output channel");
    route.variants.pop_back();
    EXPECT_FALSE(canDeleteActiveChannelAssignment(route));
    EXPECT_EQ(deleteButtonHelp(route), "A connection needs at least one output channel");
    EXPECT_EQ(editButtonHelp(route), "Edit selected output channel");
}

TEST(RouteTexts, HasNothingToEditOrDeleteWithoutAnActiveAssignment) {
    MIDIRoute route =
        makeRoute({.variants = {assignment(1, ChannelMode::force(5)), assignment(2, ChannelMode::force(6))}});
    route.activeVariantID = makeID(3);
    EXPECT_FALSE(hasForcedChannel(route));
    EXPECT_FALSE(canDeleteActiveChannelAssignment(route));
    EXPECT_EQ(deleteButtonHelp(route), "As Is output cannot be deleted");
}

}  // namespace
}  // namespace corvel::ui
