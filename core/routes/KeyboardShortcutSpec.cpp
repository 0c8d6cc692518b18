#include "core/routes/KeyboardShortcutSpec.hpp"

#include "core/support/Hash.hpp"
#include "core/support/Text.hpp"

namespace corvel {

namespace {

constexpr char kNoKey = ' ';

/// The letter or digit at each key code from 0 to 46 of the ANSI layout; the other keys of that range have no entry.
constexpr std::string_view kKeysByCode = "asdfhgzxcv bqweryt123465 97 80 ou ip lj k    nm";
static_assert(kKeysByCode.size() == 47);

/// The key's name in lower case; empty if the event has none.
std::string keyName(std::uint16_t keyCode, std::optional<std::string_view> charactersIgnoringModifiers) {
    if (keyCode < kKeysByCode.size() && kKeysByCode[keyCode] != kNoKey) {
        return {kKeysByCode[keyCode]};
    }
    return text::lowercased(charactersIgnoringModifiers.value_or(std::string_view{}));
}

std::vector<KeyboardShortcutModifier> modifiersIn(std::uint64_t flags) {
    struct Flag {
        std::uint64_t bit;
        KeyboardShortcutModifier modifier;
    };
    constexpr std::array<Flag, 4> kFlags{{
        {KeyboardShortcutSpec::kControlFlag, KeyboardShortcutModifier::control},
        {KeyboardShortcutSpec::kOptionFlag, KeyboardShortcutModifier::option},
        {KeyboardShortcutSpec::kShiftFlag, KeyboardShortcutModifier::shift},
        {KeyboardShortcutSpec::kCommandFlag, KeyboardShortcutModifier::command},
    }};
    std::vector<KeyboardShortcutModifier> result;
    for (const Flag& flag : kFlags) {
        if ((flags & flag.bit) != 0) {
            result.push_back(flag.modifier);
        }
    }
    return result;
}

}  // namespace

KeyboardShortcutSpec::KeyboardShortcutSpec(std::string_view givenKey,
                                           const std::vector<KeyboardShortcutModifier>& givenModifiers)
    : key(text::lowercased(givenKey)), modifiers(sorted(givenModifiers)) {}

std::optional<KeyboardShortcutSpec> KeyboardShortcutSpec::fromKeyEvent(
    std::uint16_t keyCode, std::optional<std::string_view> charactersIgnoringModifiers, std::uint64_t modifierFlags) {
    const std::string key = keyName(keyCode, charactersIgnoringModifiers);
    const std::vector<KeyboardShortcutModifier> modifiers = modifiersIn(modifierFlags);
    if (!text::isSingleCharacter(key) || modifiers.empty()) {
        return std::nullopt;
    }
    return KeyboardShortcutSpec(key, modifiers);
}

std::string KeyboardShortcutSpec::title() const {
    std::string result;
    for (const KeyboardShortcutModifier modifier : modifiers) {
        result += corvel::title(modifier);
    }
    return result + text::uppercased(key);
}

}  // namespace corvel

std::size_t std::hash<corvel::KeyboardShortcutSpec>::operator()(
    const corvel::KeyboardShortcutSpec& spec) const noexcept {
    return corvel::hashOf(spec.key, spec.modifiers);
}
