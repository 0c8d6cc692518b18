#include "core/storage/RouteSetDocumentCoder.hpp"

#include "core/storage/JSONText.hpp"
#include "core/storage/JSONWriter.hpp"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace corvel::RouteSetDocumentCoder {

namespace {

/// The name that assignments of older documents bear; it is replaced by the mode's title.
constexpr std::string_view kOlderVariantName = "Default";

void write(JSONWriter& json, std::string_view key, const std::optional<std::string>& text) {
    if (text) {
        json.key(key);
        json.string(*text);
    }
}

void write(JSONWriter& json, std::string_view key, const UUID& id) {
    json.key(key);
    json.string(id.text());
}

void write(JSONWriter& json, std::string_view key, std::int32_t number) {
    json.key(key);
    json.integer(number);
}

void write(JSONWriter& json, const ChannelMode& mode) {
    json.key("channelMode");
    json.beginObject();
    const auto channel = mode.forcedChannel();
    json.key(channel ? "force" : "asIs");
    json.beginObject();
    if (channel) {
        write(json, "_0", *channel);
    }
    json.endObject();
    json.endObject();
}

void write(JSONWriter& json, const KeyboardShortcutSpec& shortcut) {
    json.key("shortcut");
    json.beginObject();
    write(json, "key", std::optional(shortcut.key));
    json.key("modifiers");
    json.beginArray();
    for (const auto modifier : shortcut.modifiers) {
        json.string(rawValue(modifier));
    }
    json.endArray();
    json.endObject();
}

void write(JSONWriter& json, const MIDIRouteVariant& variant) {
    json.beginObject();
    if (variant.channelMode) {
        write(json, *variant.channelMode);
    }
    write(json, "destinationID", variant.destinationID);
    write(json, "destinationManufacturer", variant.destinationManufacturer);
    write(json, "destinationName", variant.destinationName);
    write(json, "id", variant.id);
    write(json, "name", std::optional(variant.name));
    if (variant.shortcut) {
        write(json, *variant.shortcut);
    }
    write(json, "sourceID", variant.sourceID);
    write(json, "sourceManufacturer", variant.sourceManufacturer);
    write(json, "sourceName", variant.sourceName);
    json.endObject();
}

void write(JSONWriter& json, const MIDIRoute& route) {
    json.beginObject();
    write(json, "activeVariantID", route.activeVariantID);
    write(json, route.channelMode);
    write(json, "destinationID", route.destinationID);
    write(json, "destinationManufacturer", route.destinationManufacturer);
    write(json, "destinationName", route.destinationName);
    write(json, "id", route.id);
    json.key("isEnabled");
    json.boolean(route.isEnabled);
    write(json, "sourceID", route.sourceID);
    write(json, "sourceManufacturer", route.sourceManufacturer);
    write(json, "sourceName", route.sourceName);
    json.key("variants");
    json.beginArray();
    for (const auto& variant : route.variants) {
        write(json, variant);
    }
    json.endArray();
    json.endObject();
}

void write(JSONWriter& json, const MIDIRouteSet& routeSet) {
    json.beginObject();
    write(json, "id", routeSet.id);
    write(json, "name", std::optional(routeSet.name));
    json.key("routes");
    json.beginArray();
    for (const auto& route : routeSet.routes) {
        write(json, route);
    }
    json.endArray();
    json.endObject();
}

std::optional<std::string> readOptionalText(const JSONValue& json, std::string_view key) {
    const auto value = json.optional(key);
    return value ? std::optional(value->string()) : std::nullopt;
}

ChannelMode readChannelMode(const JSONValue& json) {
    const bool isAsIs = json.hasKey("asIs");
    if (isAsIs == json.hasKey("force")) {
        json.fail("Invalid number of keys found, expected one.");
    }
    if (isAsIs) {
        json.required("asIs").requireObject();
        return ChannelMode::asIs();
    }
    return ChannelMode::force(json.required("force").required("_0").integer<std::int32_t>());
}

KeyboardShortcutSpec readShortcut(const JSONValue& json) {
    // Not by the normalising constructor: a shortcut stays as it was saved.
    KeyboardShortcutSpec shortcut;
    shortcut.key = json.required("key").string();
    for (const auto& value : json.required("modifiers").elements()) {
        const auto modifier = keyboardShortcutModifierFromRawValue(value.string());
        if (!modifier) {
            value.fail("unknown modifier");
        }
        shortcut.modifiers.push_back(*modifier);
    }
    return shortcut;
}

MIDIRouteVariant readVariant(const JSONValue& json) {
    MIDIRouteVariant variant;
    variant.id = json.required("id").uuid();
    variant.name = json.required("name").string();
    if (const auto shortcut = json.optional("shortcut")) {
        variant.shortcut = readShortcut(*shortcut);
    }
    if (const auto mode = json.optional("channelMode")) {
        variant.channelMode = readChannelMode(*mode);
    }
    variant.sourceID = json.required("sourceID").integer<std::int32_t>();
    variant.destinationID = json.required("destinationID").integer<std::int32_t>();
    variant.sourceName = readOptionalText(json, "sourceName");
    variant.sourceManufacturer = readOptionalText(json, "sourceManufacturer");
    variant.destinationName = readOptionalText(json, "destinationName");
    variant.destinationManufacturer = readOptionalText(json, "destinationManufacturer");
    return variant;
}

/// Gives the assignments of a document from before they had modes of their own the modes they then had, and a name
/// that tells the mode.
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

MIDIRoute readRoute(const JSONValue& json) {
    const UUID id = json.required("id").uuid();
    const ChannelMode mode = readChannelMode(json.required("channelMode"));
    std::optional<UUID> activeVariantID;
    if (const auto value = json.optional("activeVariantID")) {
        activeVariantID = value->uuid();
    }
    std::vector<MIDIRouteVariant> variants;
    if (const auto values = json.optional("variants")) {
        for (const auto& value : values->elements()) {
            variants.push_back(readVariant(value));
        }
    }
    MIDIRoute route(id, json.required("sourceID").integer<std::int32_t>(),
                    json.required("destinationID").integer<std::int32_t>(), readOptionalText(json, "sourceName"),
                    readOptionalText(json, "sourceManufacturer"), readOptionalText(json, "destinationName"),
                    readOptionalText(json, "destinationManufacturer"), mode, json.required("isEnabled").boolean(),
                    activeVariantID, std::move(variants));
    migrateChannelModes(route, mode);
    return route;
}

std::vector<MIDIRoute> readRoutes(const JSONValue& json) {
    std::vector<MIDIRoute> routes;
    for (const auto& value : json.elements()) {
        routes.push_back(readRoute(value));
    }
    return routes;
}

}  // namespace

std::string encode(const MIDIRouteSetDocument& document) {
    JSONWriter json;
    json.beginObject();
    json.key("routeSets");
    json.beginArray();
    for (const auto& routeSet : document.routeSets) {
        write(json, routeSet);
    }
    json.endArray();
    write(json, "selectedSetID", document.selectedSetID);
    json.endObject();
    return json.take();
}

MIDIRouteSetDocument decode(std::string_view json) {
    const JSONText text(json);
    const JSONValue root = text.root();
    std::vector<MIDIRouteSet> routeSets;
    for (const auto& value : root.required("routeSets").elements()) {
        routeSets.push_back(
            {value.required("id").uuid(), value.required("name").string(), readRoutes(value.required("routes"))});
    }
    return {root.required("selectedSetID").uuid(), std::move(routeSets)};
}

MIDIRouteSetDocument decodeRouteArray(std::string_view json) {
    const JSONText text(json);
    return MIDIRouteSetDocument::singleSet(readRoutes(text.root()), MIDIRouteSetDocument::kDefaultSetName);
}

}  // namespace corvel::RouteSetDocumentCoder
