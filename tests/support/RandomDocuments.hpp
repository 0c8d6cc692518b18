#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "tests/support/RandomSource.hpp"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvel::tests {

/// Random documents of all shapes that can be written.
class RandomDocuments {
public:
    explicit RandomDocuments(std::uint32_t seed) : random_(seed) {}

    [[nodiscard]] MIDIRouteSetDocument document() {
        std::vector<MIDIRouteSet> sets(random_.below(4));
        for (MIDIRouteSet& set : sets) {
            set.id = id();
            set.name = text();
            for (std::size_t count = random_.below(4); count > 0; --count) {
                set.routes.push_back(route());
            }
        }
        std::optional<UUID> selected;
        if (!sets.empty() && random_.flag()) {
            selected = sets[random_.below(sets.size())].id;
        }
        return {selected, std::move(sets)};
    }

private:
    UUID id() {
        UUID id;
        for (std::uint8_t& byte : id.bytes) {
            byte = random_.byte();
        }
        return id;
    }

    /// Never "Default", because reading renames an assignment of that name.
    std::string text() {
        static constexpr std::array<std::string_view, 16> kPieces{
            "a",    "Z",    " ",      "/",      "\\",         "\"",     "\n",       std::string_view("\0", 1),
            "\x1F", "\x7F", "\u00E9", "\u2028", "\U0001F3B9", "\uFFFD", "\b\f\r\t", "{[:,]}"};
        std::string text;
        for (std::size_t count = random_.below(6); count > 0; --count) {
            text += kPieces.at(random_.below(kPieces.size()));
        }
        return text;
    }

    std::optional<std::string> label() { return random_.flag() ? std::optional(text()) : std::nullopt; }

    ChannelMode mode() {
        return random_.flag() ? ChannelMode::asIs() : ChannelMode::force(static_cast<int>(random_.below(20)) - 1);
    }

    std::optional<KeyboardShortcutSpec> shortcut() {
        if (random_.flag()) {
            return std::nullopt;
        }
        KeyboardShortcutSpec spec;
        spec.key = text();
        for (std::size_t count = random_.below(6); count > 0; --count) {
            spec.modifiers.push_back(kAllKeyboardShortcutModifiers.at(random_.below(4)));
        }
        return spec;
    }

    MIDIRouteVariant variant() {
        return {id(),    text(),  shortcut(), mode(), random_.number(), random_.number(),
                label(), label(), label(),    label()};
    }

    MIDIRoute route() {
        std::vector<MIDIRouteVariant> variants;
        for (std::size_t count = random_.below(4); count > 0; --count) {
            variants.push_back(variant());
        }
        std::optional<UUID> active;
        if (!variants.empty() && random_.flag()) {
            active = variants[random_.below(variants.size())].id;
        }
        return {id(),           random_.number(), random_.number(),   label(), label(), label(), label(), mode(),
                random_.flag(), active,           std::move(variants)};
    }

    RandomSource random_;
};

}  // namespace corvel::tests
