#include "ui/RouterWindow/KeyEventShortcut.hpp"

#include <QKeyEvent>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::ui {
namespace {

using enum KeyboardShortcutModifier;

std::optional<KeyboardShortcutSpec> shortcutFor(int key, Qt::KeyboardModifiers modifiers, quint32 scanCode) {
    return shortcutForKeyEvent(QKeyEvent(QEvent::KeyPress, key, modifiers, scanCode, 0, 0));
}

TEST(KeyEventShortcut, TakesTheModifiersOfAPCKeyboardForTheirSymbols) {
    const std::vector<std::pair<Qt::KeyboardModifier, KeyboardShortcutModifier>> pairs{
        {Qt::ControlModifier, command},
        {Qt::MetaModifier, control},
        {Qt::AltModifier, option},
        {Qt::ShiftModifier, shift},
    };
    for (const auto& [modifier, expected] : pairs) {
        EXPECT_EQ(shortcutFor(Qt::Key_P, modifier, 33), KeyboardShortcutSpec("p", {expected}));
    }
    EXPECT_EQ(shortcutFor(Qt::Key_P, Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier | Qt::ShiftModifier, 33)
                  ->title(),
              "⌃⌥⇧⌘P");
}

TEST(KeyEventShortcut, TellsLettersAndDigitsByTheirPlaceWhateverTheyWrite) {
    // What a Russian layout types there; layouts do not change the scan codes.
    const std::vector<std::pair<quint32, std::string>> rows{
        {10, "1234567890"}, {24, "qwertyuiop"}, {38, "asdfghjkl"}, {52, "zxcvbnm"}};
    for (const auto& [firstScanCode, keys] : rows) {
        quint32 scanCode = firstScanCode;
        for (const char key : keys) {
            EXPECT_EQ(shortcutFor(0x0416, Qt::ControlModifier, scanCode),
                      KeyboardShortcutSpec(std::string(1, key), {command}))
                << "scan code " << scanCode;
            ++scanCode;
        }
    }
}

TEST(KeyEventShortcut, TakesTheDigitAndNotWhatShiftMakesOfIt) {
    EXPECT_EQ(shortcutFor(Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier, 10),
              KeyboardShortcutSpec("1", {shift, command}));
}

TEST(KeyEventShortcut, TakesWhatTheKeyWritesInLowerCaseBesideLettersAndDigits) {
    // Keys around the rows: -, [, ;, `, \ and comma on an American keyboard.
    for (const quint32 scanCode : {20U, 34U, 47U, 49U, 51U, 59U, 9U, 23U}) {
        EXPECT_EQ(shortcutFor(Qt::Key_Odiaeresis, Qt::ControlModifier, scanCode), KeyboardShortcutSpec("ö", {command}))
            << "scan code " << scanCode;
    }
    EXPECT_EQ(shortcutFor(Qt::Key_Question, Qt::AltModifier | Qt::ShiftModifier, 61),
              KeyboardShortcutSpec("?", {option, shift}));
    EXPECT_EQ(shortcutFor(0x1D50D, Qt::ControlModifier, 94), KeyboardShortcutSpec("𝔍", {command}));
}

TEST(KeyEventShortcut, TakesWhatTheKeyWritesWhereThePlaceIsUnknown) {
    for (const quint32 scanCode : {0U, 7U, 8U, 9U}) {
        EXPECT_EQ(shortcutFor(Qt::Key_A, Qt::ControlModifier, scanCode), KeyboardShortcutSpec("a", {command}))
            << "scan code " << scanCode;
    }
}

TEST(KeyEventShortcut, TakesKeypadDigitsWithoutTheirKeypad) {
    EXPECT_EQ(shortcutFor(Qt::Key_7, Qt::ControlModifier | Qt::KeypadModifier, 79),
              KeyboardShortcutSpec("7", {command}));
    EXPECT_EQ(shortcutFor(Qt::Key_7, Qt::KeypadModifier, 79), std::nullopt);
}

TEST(KeyEventShortcut, IsNoneWithoutAModifierThatCounts) {
    EXPECT_EQ(shortcutFor(Qt::Key_P, Qt::NoModifier, 33), std::nullopt);
    EXPECT_EQ(shortcutFor(Qt::Key_P, Qt::GroupSwitchModifier, 33), std::nullopt);
    EXPECT_EQ(shortcutFor(Qt::Key_P, Qt::ShiftModifier, 33), KeyboardShortcutSpec("p", {shift}));
}

TEST(KeyEventShortcut, IsNoneForKeysThatWriteNothing) {
    const std::vector<std::pair<int, quint32>> keys{
        {Qt::Key_Return, 36},
        {Qt::Key_Enter, 104},
        {Qt::Key_Escape, 9},
        {Qt::Key_Tab, 23},
        {Qt::Key_Backtab, 23},
        {Qt::Key_Backspace, 22},
        {Qt::Key_Delete, 119},
        {Qt::Key_Left, 113},
        {Qt::Key_Up, 111},
        {Qt::Key_F1, 67},
        {Qt::Key_F10, 76},
        {Qt::Key_Control, 37},
        {Qt::Key_Shift, 50},
        {Qt::Key_AltGr, 108},
        {Qt::Key_Meta, 133},
        {Qt::Key_CapsLock, 66},
        {Qt::Key_Dead_Acute, 34},
        {Qt::Key_unknown, 200},
        {0, 200},
    };
    for (const auto& [key, scanCode] : keys) {
        EXPECT_EQ(shortcutFor(key, Qt::ControlModifier | Qt::ShiftModifier, scanCode), std::nullopt) << "key " << key;
    }
}

TEST(KeyEventShortcut, TakesTheSpaceBar) {
    EXPECT_EQ(shortcutFor(Qt::Key_Space, Qt::ControlModifier, 65), KeyboardShortcutSpec(" ", {command}));
}

TEST(KeyEventShortcut, IsSaidInTheKeyboardsWords) {
    EXPECT_EQ(shortcutInWords({"p", {command, option}}), "Ctrl+Alt+P");
    EXPECT_EQ(shortcutInWords({"1", {command}}), "Ctrl+1");
    EXPECT_EQ(shortcutInWords({"p", {shift, option, control, command}}), "Super+Ctrl+Alt+Shift+P");
    EXPECT_EQ(shortcutInWords({" ", {shift}}), "Shift+Space");
    EXPECT_EQ(shortcutInWords({"ö", {command}}), "Ctrl+Ö");
    EXPECT_EQ(shortcutInWords({"+", {command}}), "Ctrl++");
}

}  // namespace
}  // namespace corvel::ui
