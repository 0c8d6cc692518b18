#include "core/routes/KeyboardShortcutSpec.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using enum KeyboardShortcutModifier;

constexpr std::uint64_t kShift = 0x20000;
constexpr std::uint64_t kControl = 0x40000;
constexpr std::uint64_t kOption = 0x80000;
constexpr std::uint64_t kCommand = 0x100000;

/// A key whose position has no letter or digit.
constexpr std::uint16_t kReturnKey = 36;

/// The key of the shortcut of an event with the command key down; no value if it has none.
std::optional<std::string> keyOf(std::uint16_t keyCode, std::optional<std::string_view> characters) {
    const auto spec = KeyboardShortcutSpec::fromKeyEvent(keyCode, characters, kCommand);
    return spec ? std::optional(spec->key) : std::nullopt;
}

/// A shortcut as a document may have it, without normalisation.
KeyboardShortcutSpec stored(std::string key, std::vector<KeyboardShortcutModifier> modifiers) {
    KeyboardShortcutSpec spec;
    spec.key = std::move(key);
    spec.modifiers = std::move(modifiers);
    return spec;
}

TEST(KeyboardShortcutSpec, StoresTheKeyInLowerCaseAndTheModifiersSorted) {
    const KeyboardShortcutSpec spec("P", {command, shift, command});
    EXPECT_EQ(spec.key, "p");
    EXPECT_THAT(spec.modifiers, ElementsAre(shift, command));
    EXPECT_EQ(spec.title(), "⇧⌘P");
}

TEST(KeyboardShortcutSpec, RejectsNothingThatItIsMadeOf) {
    EXPECT_THAT(KeyboardShortcutSpec("K", {}).modifiers, IsEmpty());
    EXPECT_EQ(KeyboardShortcutSpec("K", {}).title(), "K");
    EXPECT_EQ(KeyboardShortcutSpec("", {command}).key, "");
    EXPECT_EQ(KeyboardShortcutSpec("", {command}).title(), "⌘");
    EXPECT_EQ(KeyboardShortcutSpec("Escape", {control}).key, "escape");
    EXPECT_EQ(KeyboardShortcutSpec("Escape", {control}).title(), "⌃ESCAPE");
}

TEST(KeyboardShortcutSpec, ChangesCaseByTheFullMappings) {
    EXPECT_EQ(KeyboardShortcutSpec("Ä", {command}).key, "ä");
    EXPECT_EQ(KeyboardShortcutSpec("Ж", {command}).key, "ж");
    EXPECT_EQ(KeyboardShortcutSpec("ж", {command}).title(), "⌘Ж");
    EXPECT_EQ(KeyboardShortcutSpec("ß", {command}).title(), "⌘SS");
    EXPECT_EQ(KeyboardShortcutSpec("\u0130", {command}).key, "i\u0307");
}

TEST(KeyboardShortcutSpec, IsTitledBySymbolsAndTheKeyInUpperCase) {
    EXPECT_EQ(KeyboardShortcutSpec("p", {control, option}).title(), "⌃⌥P");
    EXPECT_EQ(KeyboardShortcutSpec("p", {option, shift}).title(), "⌥⇧P");
    EXPECT_EQ(KeyboardShortcutSpec("1", {command}).title(), "⌘1");
    EXPECT_EQ(KeyboardShortcutSpec("x", {command, option, control, shift}).title(), "⌃⌥⇧⌘X");
}

TEST(KeyboardShortcutSpec, IsTitledInStoredOrder) {
    EXPECT_EQ(stored("K", {command, control}).title(), "⌘⌃K");
    EXPECT_EQ(stored("k", {shift, shift, option}).title(), "⇧⇧⌥K");
}

TEST(KeyboardShortcutSpec, ComparesWithoutNormalising) {
    const KeyboardShortcutSpec normalised("k", {control, command});
    EXPECT_EQ(normalised, KeyboardShortcutSpec("K", {command, control, control}));
    EXPECT_EQ(normalised, stored("k", {control, command}));
    EXPECT_NE(normalised, stored("K", {control, command}));
    EXPECT_NE(normalised, stored("k", {command, control}));
    EXPECT_NE(normalised, stored("k", {control}));
    EXPECT_NE(normalised, stored("k", {control, command, command}));
    EXPECT_NE(normalised, stored("j", {control, command}));
}

TEST(KeyboardShortcutSpec, ComparesKeysByteByByte) {
    EXPECT_NE(stored("\u00E9", {command}), stored("e\u0301", {command}));
}

TEST(KeyboardShortcutSpec, HashesByKeyAndModifiersInOrder) {
    const std::hash<KeyboardShortcutSpec> hash;
    const KeyboardShortcutSpec spec("k", {control, command});
    EXPECT_EQ(hash(spec), hash(stored("k", {control, command})));
    EXPECT_NE(hash(spec), hash(stored("K", {control, command})));
    EXPECT_NE(hash(spec), hash(stored("k", {command, control})));
    EXPECT_NE(hash(spec), hash(stored("k", {control})));
}

TEST(KeyboardShortcutSpec, TellsLettersAndDigitsByTheKeysPosition) {
    const std::map<std::uint16_t, std::string> keys{
        {0, "a"},  {1, "s"},  {2, "d"},  {3, "f"},  {4, "h"},  {5, "g"},  {6, "z"},  {7, "x"},  {8, "c"},
        {9, "v"},  {11, "b"}, {12, "q"}, {13, "w"}, {14, "e"}, {15, "r"}, {16, "y"}, {17, "t"}, {18, "1"},
        {19, "2"}, {20, "3"}, {21, "4"}, {22, "6"}, {23, "5"}, {25, "9"}, {26, "7"}, {28, "8"}, {29, "0"},
        {31, "o"}, {32, "u"}, {34, "i"}, {35, "p"}, {37, "l"}, {38, "j"}, {40, "k"}, {45, "n"}, {46, "m"}};
    ASSERT_EQ(keys.size(), 36U);
    for (const auto& [keyCode, key] : keys) {
        EXPECT_EQ(keyOf(keyCode, "Ω"), key) << "key code " << keyCode;
        EXPECT_EQ(keyOf(keyCode, "several"), key) << "key code " << keyCode;
        EXPECT_EQ(keyOf(keyCode, ""), key) << "key code " << keyCode;
        EXPECT_EQ(keyOf(keyCode, std::nullopt), key) << "key code " << keyCode;
    }
}

TEST(KeyboardShortcutSpec, TellsAllOtherKeysByTheirCharacter) {
    for (const int keyCode : {10, 24, 27, 30, 33, 36, 39, 41, 42, 43, 44, 47, 48, 127, 128, 255, 256, 65535}) {
        const auto code = static_cast<std::uint16_t>(keyCode);
        EXPECT_EQ(keyOf(code, "É"), "é") << "key code " << keyCode;
        EXPECT_EQ(keyOf(code, std::nullopt), std::nullopt) << "key code " << keyCode;
    }
}

TEST(KeyboardShortcutSpec, TakesExactlyOneCharacterAsTheUserPerceivesIt) {
    EXPECT_EQ(keyOf(kReturnKey, "-"), "-");
    EXPECT_EQ(keyOf(kReturnKey, " "), " ");
    EXPECT_EQ(keyOf(kReturnKey, "\r"), "\r");
    EXPECT_EQ(keyOf(kReturnKey, "E\u0301"), "e\u0301");
    EXPECT_EQ(keyOf(kReturnKey, "\U0001F3B9"), "\U0001F3B9");
    EXPECT_EQ(keyOf(kReturnKey, "\U0001F1E9\U0001F1EA"), "\U0001F1E9\U0001F1EA");
    EXPECT_EQ(keyOf(kReturnKey, "\u0130"), "i\u0307");
    EXPECT_EQ(keyOf(kReturnKey, ""), std::nullopt);
    EXPECT_EQ(keyOf(kReturnKey, "ab"), std::nullopt);
    EXPECT_EQ(keyOf(kReturnKey, "--"), std::nullopt);
    EXPECT_EQ(keyOf(kReturnKey, "\U0001F3B9\U0001F3B9"), std::nullopt);
}

TEST(KeyboardShortcutSpec, CollectsTheModifiersFromTheFlags) {
    const std::map<std::uint64_t, std::string> titles{{kControl, "⌃A"},
                                                      {kOption, "⌥A"},
                                                      {kShift, "⇧A"},
                                                      {kCommand, "⌘A"},
                                                      {kControl | kOption, "⌃⌥A"},
                                                      {kControl | kShift, "⌃⇧A"},
                                                      {kControl | kCommand, "⌃⌘A"},
                                                      {kOption | kShift, "⌥⇧A"},
                                                      {kOption | kCommand, "⌥⌘A"},
                                                      {kShift | kCommand, "⇧⌘A"},
                                                      {kControl | kOption | kShift, "⌃⌥⇧A"},
                                                      {kControl | kOption | kCommand, "⌃⌥⌘A"},
                                                      {kControl | kShift | kCommand, "⌃⇧⌘A"},
                                                      {kOption | kShift | kCommand, "⌥⇧⌘A"},
                                                      {kControl | kOption | kShift | kCommand, "⌃⌥⇧⌘A"}};
    ASSERT_EQ(titles.size(), 15U);
    for (const auto& [flags, expected] : titles) {
        const auto spec = KeyboardShortcutSpec::fromKeyEvent(0, "a", flags);
        ASSERT_TRUE(spec.has_value()) << expected;
        EXPECT_EQ(spec->title(), expected);
    }
}

TEST(KeyboardShortcutSpec, NamesTheFlagsByTheirBits) {
    EXPECT_EQ(KeyboardShortcutSpec::kShiftFlag, 0x20000U);
    EXPECT_EQ(KeyboardShortcutSpec::kControlFlag, 0x40000U);
    EXPECT_EQ(KeyboardShortcutSpec::kOptionFlag, 0x80000U);
    EXPECT_EQ(KeyboardShortcutSpec::kCommandFlag, 0x100000U);
}

TEST(KeyboardShortcutSpec, IgnoresAllOtherFlags) {
    constexpr std::uint64_t kOthers = ~(kShift | kControl | kOption | kCommand);
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", kOthers | kOption), KeyboardShortcutSpec("a", {option}));
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", kOthers), std::nullopt);
}

TEST(KeyboardShortcutSpec, NeedsAModifier) {
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", 0), std::nullopt);
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", 0x10000), std::nullopt) << "caps lock";
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", 0x200000), std::nullopt) << "numeric pad";
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", 0x800000), std::nullopt) << "function";
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(kReturnKey, "-", 0), std::nullopt);
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(0, "a", kShift), KeyboardShortcutSpec("a", {shift}));
}

TEST(KeyboardShortcutSpec, TakesTheDigitAndNotTheShiftedCharacter) {
    EXPECT_EQ(KeyboardShortcutSpec::fromKeyEvent(18, "!", kCommand), KeyboardShortcutSpec("1", {command}));
    const auto shifted = KeyboardShortcutSpec::fromKeyEvent(18, "!", kCommand | kShift);
    ASSERT_TRUE(shifted.has_value());
    EXPECT_EQ(shifted->key, "1");
    EXPECT_THAT(shifted->modifiers, ElementsAre(shift, command));
}

}  // namespace
}  // namespace corvel
