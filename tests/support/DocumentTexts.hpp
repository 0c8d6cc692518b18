#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvel::tests {

/// The text of a JSON object in which a test removes, adds and replaces members, also by invalid values.
class ObjectText {
public:
    ObjectText(std::initializer_list<std::pair<std::string, std::string>> members) : members_(members) {}

    /// The object with a member, given as JSON text. It replaces the member with that key, or comes last.
    [[nodiscard]] ObjectText with(std::string_view key, std::string value) const {
        ObjectText changed = *this;
        for (auto& [memberKey, memberValue] : changed.members_) {
            if (memberKey == key) {
                memberValue = std::move(value);
                return changed;
            }
        }
        changed.members_.emplace_back(key, std::move(value));
        return changed;
    }

    /// The object with another member of that key, which comes last.
    [[nodiscard]] ObjectText withDuplicate(std::string_view key, std::string value) const {
        ObjectText changed = *this;
        changed.members_.emplace_back(key, std::move(value));
        return changed;
    }

    [[nodiscard]] ObjectText without(std::string_view key) const {
        ObjectText changed = *this;
        std::erase_if(changed.members_, [key](const auto& member) { return member.first == key; });
        return changed;
    }

    [[nodiscard]] std::string text() const {
        std::string text = "{";
        for (const auto& [key, value] : members_) {
            text += (text.size() > 1 ? ",\"" : "\"") + key + "\":" + value;
        }
        return text + "}";
    }

private:
    std::vector<std::pair<std::string, std::string>> members_;
};

/// A text in JSON's quotation marks, for texts without characters that need escapes.
[[nodiscard]] inline std::string inQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

/// The text of a JSON array.
[[nodiscard]] inline std::string arrayText(const std::vector<std::string>& elements) {
    std::string text = "[";
    for (const std::string& element : elements) {
        text += (text.size() > 1 ? "," : "") + element;
    }
    return text + "]";
}

inline constexpr std::string_view kSetIDText = "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F";
inline constexpr std::string_view kRouteIDText = "9F0E8D7C-6B5A-4938-8271-605F4E3D2C1B";
inline constexpr std::string_view kVariantIDText = "A1A0B5C0-4D09-4E6B-8C00-112233445599";
inline constexpr std::string_view kOtherVariantIDText = "B2B0C6D1-5E0A-4F7C-8D11-2233445566AA";
inline constexpr std::string_view kUnknownIDText = "00000000-1111-4222-8333-444444444444";

/// A connection with only the required keys: from 1 to 2, "As Is", enabled.
[[nodiscard]] inline ObjectText routeText() {
    return {{"id", inQuotes(kRouteIDText)},
            {"sourceID", "1"},
            {"destinationID", "2"},
            {"channelMode", R"({"asIs":{}})"},
            {"isEnabled", "true"}};
}

/// An assignment with only the required keys: "Lead" from 3 to 4.
[[nodiscard]] inline ObjectText variantText() {
    return {{"id", inQuotes(kVariantIDText)}, {"name", inQuotes("Lead")}, {"sourceID", "3"}, {"destinationID", "4"}};
}

/// A set "Stage" with these connections.
[[nodiscard]] inline ObjectText setText(const std::vector<std::string>& routes = {}) {
    return {{"id", inQuotes(kSetIDText)}, {"name", inQuotes("Stage")}, {"routes", arrayText(routes)}};
}

/// A document with these sets (by default an empty set "Stage"), `kSetIDText` selected.
[[nodiscard]] inline ObjectText documentText(const std::vector<std::string>& sets = {setText().text()}) {
    return {{"routeSets", arrayText(sets)}, {"selectedSetID", inQuotes(kSetIDText)}};
}

/// The text of a document with one object of any kind.
[[nodiscard]] inline std::string inDocument(const ObjectText& document) {
    return document.text();
}
[[nodiscard]] inline std::string inSet(const ObjectText& set) {
    return documentText({set.text()}).text();
}
[[nodiscard]] inline std::string inRoute(const ObjectText& route) {
    return inSet(setText({route.text()}));
}
[[nodiscard]] inline std::string inVariant(const ObjectText& variant) {
    return inRoute(routeText().with("variants", arrayText({variant.text()})));
}
[[nodiscard]] inline std::string inShortcut(const ObjectText& shortcut) {
    return inVariant(variantText().with("shortcut", shortcut.text()));
}

}  // namespace corvel::tests
