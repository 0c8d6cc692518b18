#include "core/storage/RouteSetDocumentCoder.hpp"

#include "core/storage/JSON.hpp"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace corvel::RouteSetDocumentCoder {

namespace {

using json::Value;

/// The name of assignments in older documents; the title of their mode replaces it.
constexpr std::string_view kOlderVariantName = "Default";

/// The maximum number of keys of a connection or assignment.
constexpr std::size_t kMaxMembers = 11;

Value written(const UUID& id) {
    return id.text();
}

Value written(const ChannelMode& mode) {
    Value object;
    if (const auto channel = mode.forcedChannel()) {
        object["force"]["_0"] = *channel;
    } else {
        object["asIs"] = Value::object();
    }
    return object;
}

Value written(const KeyboardShortcutSpec& shortcut) {
    Value modifiers = Value::array();
    for (const auto modifier : shortcut.modifiers) {
        modifiers.push_back(rawValue(modifier));
    }
    Value object;
    object["key"] = shortcut.key;
    object["modifiers"] = std::move(modifiers);
    return object;
}

/// Fastest if the keys come in ascending order.
void write(Value::object_t& members, const char* key, Value value) {
    members.emplace_hint(members.end(), key, std::move(value));
}

void write(Value::object_t& members, const char* key, const std::optional<std::string>& text) {
    if (text) {
        write(members, key, Value(*text));
    }
}

/// Writes the members that connections and assignments share.
template <typename Connection>
Value::object_t writtenEndpoints(const Connection& connection) {
    Value::object_t members;
    members.reserve(kMaxMembers);
    write(members, "destinationID", connection.destinationID);
    write(members, "destinationManufacturer", connection.destinationManufacturer);
    write(members, "destinationName", connection.destinationName);
    write(members, "id", written(connection.id));
    write(members, "sourceID", connection.sourceID);
    write(members, "sourceManufacturer", connection.sourceManufacturer);
    write(members, "sourceName", connection.sourceName);
    return members;
}

Value written(const MIDIRouteVariant& variant) {
    Value::object_t members = writtenEndpoints(variant);
    write(members, "name", Value(variant.name));
    if (variant.channelMode) {
        write(members, "channelMode", written(*variant.channelMode));
    }
    if (variant.shortcut) {
        write(members, "shortcut", written(*variant.shortcut));
    }
    return members;
}

template <typename Record>
Value writtenArray(const std::vector<Record>& records, Value (*write)(const Record&)) {
    Value::array_t array;
    array.reserve(records.size());
    for (const Record& record : records) {
        array.push_back(write(record));
    }
    return array;
}

Value written(const MIDIRoute& route) {
    Value::object_t members = writtenEndpoints(route);
    write(members, "activeVariantID", written(route.activeVariantID));
    write(members, "channelMode", written(route.channelMode));
    write(members, "isEnabled", route.isEnabled);
    write(members, "variants", writtenArray(route.variants, written));
    return members;
}

Value written(const MIDIRouteSet& routeSet) {
    return {{"id", written(routeSet.id)}, {"name", routeSet.name}, {"routes", writtenArray(routeSet.routes, written)}};
}

std::optional<std::string> readOptionalText(const Value& object, std::string_view key) {
    const Value* const value = json::optional(object, key);
    return value != nullptr ? std::optional(json::string(*value)) : std::nullopt;
}

ChannelMode readChannelMode(const Value& mode) {
    const auto& members = json::object(mode);
    const bool isAsIs = members.contains("asIs");
    if (isAsIs == members.contains("force")) {
        json::fail(mode, "Invalid number of keys found, expected one.");
    }
    if (isAsIs) {
        static_cast<void>(json::object(json::required(mode, "asIs")));
        return ChannelMode::asIs();
    }
    return ChannelMode::force(json::integer<std::int32_t>(json::required(json::required(mode, "force"), "_0")));
}

KeyboardShortcutSpec readShortcut(const Value& object) {
    // Not by the normalising constructor, so that the shortcut stays as it was saved.
    KeyboardShortcutSpec shortcut;
    shortcut.key = json::string(json::required(object, "key"));
    for (const Value& value : json::array(json::required(object, "modifiers"))) {
        const auto modifier = keyboardShortcutModifierFromRawValue(json::string(value));
        if (!modifier) {
            json::fail(value, "unknown modifier");
        }
        shortcut.modifiers.push_back(*modifier);
    }
    return shortcut;
}

MIDIRouteVariant readVariant(const Value& object) {
    MIDIRouteVariant variant;
    variant.id = json::uuid(json::required(object, "id"));
    variant.name = json::string(json::required(object, "name"));
    if (const Value* const shortcut = json::optional(object, "shortcut")) {
        variant.shortcut = readShortcut(*shortcut);
    }
    if (const Value* const mode = json::optional(object, "channelMode")) {
        variant.channelMode = readChannelMode(*mode);
    }
    variant.sourceID = json::integer<std::int32_t>(json::required(object, "sourceID"));
    variant.destinationID = json::integer<std::int32_t>(json::required(object, "destinationID"));
    variant.sourceName = readOptionalText(object, "sourceName");
    variant.sourceManufacturer = readOptionalText(object, "sourceManufacturer");
    variant.destinationName = readOptionalText(object, "destinationName");
    variant.destinationManufacturer = readOptionalText(object, "destinationManufacturer");
    return variant;
}

/// In old documents, assignments have no mode of their own. Gives each the mode that it had then, and a name with that
/// mode.
void migrateChannelModes(MIDIRoute& route, const ChannelMode& savedMode) {
    for (auto& variant : route.variants) {
        if (!variant.channelMode) {
            variant.channelMode = variant.id == route.activeVariantID ? savedMode : ChannelMode::asIs();
        }
        if (variant.name == kOlderVariantName) {
            variant.name = MIDIRouteVariant::defaultName(*variant.channelMode);
        }
    }
    route.applyActiveVariant();
}

MIDIRoute readRoute(const Value& object) {
    const UUID id = json::uuid(json::required(object, "id"));
    const ChannelMode mode = readChannelMode(json::required(object, "channelMode"));
    std::optional<UUID> activeVariantID;
    if (const Value* const value = json::optional(object, "activeVariantID")) {
        activeVariantID = json::uuid(*value);
    }
    std::vector<MIDIRouteVariant> variants;
    if (const Value* const values = json::optional(object, "variants")) {
        for (const Value& value : json::array(*values)) {
            variants.push_back(readVariant(value));
        }
    }
    MIDIRoute route(id, json::integer<std::int32_t>(json::required(object, "sourceID")),
                    json::integer<std::int32_t>(json::required(object, "destinationID")),
                    readOptionalText(object, "sourceName"), readOptionalText(object, "sourceManufacturer"),
                    readOptionalText(object, "destinationName"), readOptionalText(object, "destinationManufacturer"),
                    mode, json::boolean(json::required(object, "isEnabled")), activeVariantID, std::move(variants));
    migrateChannelModes(route, mode);
    return route;
}

std::vector<MIDIRoute> readRoutes(const Value& array) {
    std::vector<MIDIRoute> routes;
    for (const Value& value : json::array(array)) {
        routes.push_back(readRoute(value));
    }
    return routes;
}

MIDIRouteSet readRouteSet(const Value& object) {
    return {json::uuid(json::required(object, "id")), json::string(json::required(object, "name")),
            readRoutes(json::required(object, "routes"))};
}

MIDIRouteSetDocument readDocument(const Value& root) {
    if (root.is_array()) {
        return MIDIRouteSetDocument::singleSet(readRoutes(root), MIDIRouteSetDocument::kDefaultSetName);
    }
    std::vector<MIDIRouteSet> routeSets;
    for (const Value& value : json::array(json::required(root, "routeSets"))) {
        routeSets.push_back(readRouteSet(value));
    }
    return {json::uuid(json::required(root, "selectedSetID")), std::move(routeSets)};
}

}  // namespace

std::string encode(const MIDIRouteSetDocument& document) {
    return json::text(
        {{"routeSets", writtenArray(document.routeSets, written)}, {"selectedSetID", written(document.selectedSetID)}});
}

MIDIRouteSetDocument decode(std::string_view text) {
    return json::decode(text, readDocument);
}

}  // namespace corvel::RouteSetDocumentCoder
