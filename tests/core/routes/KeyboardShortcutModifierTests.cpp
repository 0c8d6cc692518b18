#include "core/routes/KeyboardShortcutModifier.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace corvel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using enum KeyboardShortcutModifier;

TEST(KeyboardShortcutModifier, ListsAllInDeclaredOrder) {
    EXPECT_THAT(kAllKeyboardShortcutModifiers, ElementsAre(command, option, control, shift));
}

TEST(KeyboardShortcutModifier, HasARawValueAndASymbol) {
    EXPECT_EQ(rawValue(command), "command");
    EXPECT_EQ(rawValue(option), "option");
    EXPECT_EQ(rawValue(control), "control");
    EXPECT_EQ(rawValue(shift), "shift");
    EXPECT_EQ(title(command), "\xE2\x8C\x98");
    EXPECT_EQ(title(option), "\xE2\x8C\xA5");
    EXPECT_EQ(title(control), "\xE2\x8C\x83");
    EXPECT_EQ(title(shift), "\xE2\x87\xA7");
}

TEST(KeyboardShortcutModifier, IsFoundByExactlyItsRawValue) {
    EXPECT_EQ(keyboardShortcutModifierFromRawValue("command"), command);
    EXPECT_EQ(keyboardShortcutModifierFromRawValue("option"), option);
    EXPECT_EQ(keyboardShortcutModifierFromRawValue("control"), control);
    EXPECT_EQ(keyboardShortcutModifierFromRawValue("shift"), shift);
    for (const std::string_view text :
         {"", "Command", "COMMAND", "cmd", "alt", "ctrl", "shift ", " shift", "⌘", "meta"}) {
        EXPECT_EQ(keyboardShortcutModifierFromRawValue(text), std::nullopt) << text;
    }
}

TEST(KeyboardShortcutModifier, SortsAsMenusShowThem) {
    EXPECT_THAT(sorted({command, option, control, shift}), ElementsAre(control, option, shift, command));
    EXPECT_THAT(sorted({command, shift}), ElementsAre(shift, command));
    EXPECT_THAT(sorted({option, control}), ElementsAre(control, option));
    EXPECT_THAT(sorted({shift}), ElementsAre(shift));
}

TEST(KeyboardShortcutModifier, SortsEveryPermutationAlike) {
    std::vector<KeyboardShortcutModifier> modifiers{command, option, control, shift};
    std::ranges::sort(modifiers);
    int permutations = 0;
    do {
        EXPECT_THAT(sorted(modifiers), ElementsAre(control, option, shift, command));
        ++permutations;
    } while (std::ranges::next_permutation(modifiers).found);
    EXPECT_EQ(permutations, 24);
}

TEST(KeyboardShortcutModifier, SortsDuplicatesIntoOne) {
    EXPECT_THAT(sorted({command, shift, command, shift, shift}), ElementsAre(shift, command));
    EXPECT_THAT(sorted({option, option}), ElementsAre(option));
}

TEST(KeyboardShortcutModifier, SortsNothingIntoNothing) {
    EXPECT_THAT(sorted({}), IsEmpty());
}

}  // namespace
}  // namespace corvel
