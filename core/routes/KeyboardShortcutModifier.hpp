#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace corvel {

/// A modifier key of a keyboard shortcut.
enum class KeyboardShortcutModifier : std::uint8_t { command, option, control, shift };

/// All modifiers in their declared order.
inline constexpr std::array kAllKeyboardShortcutModifiers{
    KeyboardShortcutModifier::command, KeyboardShortcutModifier::option, KeyboardShortcutModifier::control,
    KeyboardShortcutModifier::shift};

/// The modifier's name in documents: "command", "option", "control" or "shift".
[[nodiscard]] std::string_view rawValue(KeyboardShortcutModifier modifier);

/// The modifier with exactly this raw value; no value for any other text.
[[nodiscard]] std::optional<KeyboardShortcutModifier> keyboardShortcutModifierFromRawValue(std::string_view text);

/// The modifier's symbol: ⌘, ⌥, ⌃ or ⇧.
[[nodiscard]] std::string_view title(KeyboardShortcutModifier modifier);

/// The distinct members of `modifiers` in the order in which menus show them: control, option, shift, command.
[[nodiscard]] std::vector<KeyboardShortcutModifier> sorted(const std::vector<KeyboardShortcutModifier>& modifiers);

}  // namespace corvel
