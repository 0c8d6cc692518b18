#pragma once

#include "core/routes/KeyboardShortcutModifier.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {

/// A keyboard shortcut: a key with modifiers.
///
/// Comparison does not normalise: a shortcut from a document with an upper-case key or modifiers in another order
/// differs from the normalised shortcut of the same keys.
struct KeyboardShortcutSpec {
    /// Bits of a key event's modifier flags.
    static constexpr std::uint64_t kShiftFlag = 0x20000;
    static constexpr std::uint64_t kControlFlag = 0x40000;
    static constexpr std::uint64_t kOptionFlag = 0x80000;
    static constexpr std::uint64_t kCommandFlag = 0x100000;

    std::string key;
    std::vector<KeyboardShortcutModifier> modifiers;

    KeyboardShortcutSpec() = default;

    /// Stores the key in lower case, and each modifier once, sorted. Rejects nothing.
    KeyboardShortcutSpec(std::string_view key, const std::vector<KeyboardShortcutModifier>& modifiers);

    /// The shortcut of a key-down event.
    ///
    /// Letters and digits are identified by the key's position (`keyCode`, the ANSI numbering from 0 to 46), whatever
    /// the keyboard layout; other keys by `charactersIgnoringModifiers`. No value without a modifier (control, option,
    /// shift or command), or if the key is not exactly one character.
    [[nodiscard]] static std::optional<KeyboardShortcutSpec> fromKeyEvent(
        std::uint16_t keyCode, std::optional<std::string_view> charactersIgnoringModifiers,
        std::uint64_t modifierFlags);

    /// The modifiers' symbols in stored order and the key in upper case: "⌥⇧P".
    [[nodiscard]] std::string title() const;

    bool operator==(const KeyboardShortcutSpec&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::KeyboardShortcutSpec> {
    std::size_t operator()(const corvel::KeyboardShortcutSpec& spec) const noexcept;
};
