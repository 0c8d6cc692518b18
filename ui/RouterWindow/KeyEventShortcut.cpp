#include "ui/RouterWindow/KeyEventShortcut.hpp"

#include "ui/QtText.hpp"

#include <QChar>
#include <QKeyEvent>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvel::ui {

namespace {

/// The display server's scan codes are the kernel's key codes plus this.
constexpr std::uint32_t kScanCodeOffset = 8;

/// No key has this code.
constexpr std::uint16_t kNoKeyCode = 0xFFFF;

/// Adjacent keys on a keyboard. The kernel numbers each row from left to right; the numbering of shortcuts is
/// irregular.
struct KeyRow {
    std::uint32_t firstKernelCode;
    std::array<std::uint16_t, 10> keyCodes;
    std::size_t count = keyCodes.size();
};

constexpr std::array<KeyRow, 4> kKeyRows{{
    {2, {18, 19, 20, 21, 23, 22, 26, 28, 25, 29}},   // 1 to 0
    {16, {12, 13, 14, 15, 17, 16, 32, 34, 31, 35}},  // Q to P
    {30, {0, 1, 2, 3, 5, 4, 38, 40, 37}, 9},         // A to L
    {44, {6, 7, 8, 9, 11, 45, 46}, 7},               // Z to M
}};

std::uint16_t keyCodeForScanCode(std::uint32_t scanCode) {
    for (const KeyRow& row : kKeyRows) {
        // For codes below the row's first one the difference wraps around and is large.
        const std::uint32_t place = scanCode - kScanCodeOffset - row.firstKernelCode;
        if (place < row.count) {
            return row.keyCodes[place];
        }
    }
    return kNoKeyCode;
}

/// The text that the key types with Shift applied and without the other modifiers; no value if it types nothing.
std::optional<std::string> charactersIgnoringModifiers(const QKeyEvent& event) {
    // If modifiers are held, the event's own text is a control character or empty.
    const auto character = static_cast<char32_t>(event.key());
    if (character == 0 || character > QChar::LastValidCodePoint || !QChar::isPrint(character)) {
        return std::nullopt;
    }
    return toUTF8(QString::fromUcs4(&character, 1));
}

std::uint64_t modifierFlags(Qt::KeyboardModifiers modifiers) {
    struct Flag {
        Qt::KeyboardModifier modifier;
        std::uint64_t bit;
    };
    constexpr std::array<Flag, 4> kFlags{{
        {Qt::ControlModifier, KeyboardShortcutSpec::kCommandFlag},
        {Qt::MetaModifier, KeyboardShortcutSpec::kControlFlag},
        {Qt::AltModifier, KeyboardShortcutSpec::kOptionFlag},
        {Qt::ShiftModifier, KeyboardShortcutSpec::kShiftFlag},
    }};
    std::uint64_t flags = 0;
    for (const Flag& flag : kFlags) {
        if (modifiers.testFlag(flag.modifier)) {
            flags |= flag.bit;
        }
    }
    return flags;
}

}  // namespace

std::optional<KeyboardShortcutSpec> shortcutForKeyEvent(const QKeyEvent& event) {
    const std::optional<std::string> characters = charactersIgnoringModifiers(event);
    return KeyboardShortcutSpec::fromKeyEvent(keyCodeForScanCode(event.nativeScanCode()),
                                              characters ? std::optional<std::string_view>(*characters) : std::nullopt,
                                              modifierFlags(event.modifiers()));
}

QString shortcutInWords(const KeyboardShortcutSpec& shortcut) {
    struct Word {
        KeyboardShortcutModifier modifier;
        const char* word;
    };
    constexpr std::array<Word, 4> kWords{{
        {KeyboardShortcutModifier::control, "Super"},
        {KeyboardShortcutModifier::command, "Ctrl"},
        {KeyboardShortcutModifier::option, "Alt"},
        {KeyboardShortcutModifier::shift, "Shift"},
    }};
    QStringList words;
    for (const Word& word : kWords) {
        if (std::ranges::find(shortcut.modifiers, word.modifier) != shortcut.modifiers.end()) {
            words << QString::fromLatin1(word.word);
        }
    }
    words << (shortcut.key == " " ? QStringLiteral("Space") : toQString(shortcut.key).toUpper());
    return words.join(QLatin1Char('+'));
}

}  // namespace corvel::ui
