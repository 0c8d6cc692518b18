#include "core/routes/KeyboardShortcutModifier.hpp"

#include <algorithm>
#include <cstddef>

namespace corvel {

namespace {

struct ModifierEntry {
    std::string_view rawValue;
    std::string_view title;
    /// Position among the modifiers of a shortcut in menus; deliberately not the declared order.
    int sortRank;
};

/// Indexed by modifier.
constexpr std::array<ModifierEntry, kAllKeyboardShortcutModifiers.size()> kEntries{{
    {"command", "⌘", 3},
    {"option", "⌥", 1},
    {"control", "⌃", 0},
    {"shift", "⇧", 2},
}};

const ModifierEntry& entry(KeyboardShortcutModifier modifier) {
    return kEntries[static_cast<std::size_t>(modifier)];
}

int sortRank(KeyboardShortcutModifier modifier) {
    return entry(modifier).sortRank;
}

}  // namespace

std::string_view rawValue(KeyboardShortcutModifier modifier) {
    return entry(modifier).rawValue;
}

std::optional<KeyboardShortcutModifier> keyboardShortcutModifierFromRawValue(std::string_view text) {
    const auto* const found = std::ranges::find(kEntries, text, &ModifierEntry::rawValue);
    if (found == kEntries.end()) {
        return std::nullopt;
    }
    return static_cast<KeyboardShortcutModifier>(found - kEntries.begin());
}

std::string_view title(KeyboardShortcutModifier modifier) {
    return entry(modifier).title;
}

std::vector<KeyboardShortcutModifier> sorted(const std::vector<KeyboardShortcutModifier>& modifiers) {
    std::vector<KeyboardShortcutModifier> result = modifiers;
    std::ranges::sort(result, {}, sortRank);
    const auto duplicates = std::ranges::unique(result);
    result.erase(duplicates.begin(), duplicates.end());
    return result;
}

}  // namespace corvel
