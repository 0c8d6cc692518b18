#pragma once

#include "core/routes/MIDIRoute.hpp"
#include "core/routes/MIDIRouteSet.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

/// A recognisable identity: 00000000-0000-4000-8000-0000 and the number's eight hexadecimal digits.
[[nodiscard]] inline UUID makeID(std::uint32_t number) {
    UUID id;
    id.bytes[6] = 0x40;
    id.bytes[8] = 0x80;
    id.bytes[12] = static_cast<std::uint8_t>(number >> 24U);
    id.bytes[13] = static_cast<std::uint8_t>(number >> 16U);
    id.bytes[14] = static_cast<std::uint8_t>(number >> 8U);
    id.bytes[15] = static_cast<std::uint8_t>(number);
    return id;
}

/// The fields of an assignment that a test sets; the others keep these values.
struct VariantFields {
    UUID id = makeID(100);
    std::string name = "As Is";
    std::optional<KeyboardShortcutSpec> shortcut = std::nullopt;
    std::optional<ChannelMode> channelMode = ChannelMode::asIs();
    std::int32_t sourceID = 1;
    std::int32_t destinationID = 2;
    std::optional<std::string> sourceName = std::nullopt;
    std::optional<std::string> sourceManufacturer = std::nullopt;
    std::optional<std::string> destinationName = std::nullopt;
    std::optional<std::string> destinationManufacturer = std::nullopt;
};

/// `makeVariant({.id = makeID(7), .name = "Lead"})`
[[nodiscard]] inline MIDIRouteVariant makeVariant(VariantFields fields = {}) {
    return {fields.id,
            std::move(fields.name),
            std::move(fields.shortcut),
            fields.channelMode,
            fields.sourceID,
            fields.destinationID,
            std::move(fields.sourceName),
            std::move(fields.sourceManufacturer),
            std::move(fields.destinationName),
            std::move(fields.destinationManufacturer)};
}

/// The fields of a connection that a test sets; the others keep these values.
struct RouteFields {
    UUID id = makeID(1);
    std::int32_t sourceID = 1;
    std::int32_t destinationID = 2;
    std::optional<std::string> sourceName = std::nullopt;
    std::optional<std::string> sourceManufacturer = std::nullopt;
    std::optional<std::string> destinationName = std::nullopt;
    std::optional<std::string> destinationManufacturer = std::nullopt;
    ChannelMode channelMode = ChannelMode::asIs();
    bool isEnabled = true;
    std::optional<UUID> activeVariantID = std::nullopt;
    std::vector<MIDIRouteVariant> variants = {};
};

/// `makeRoute({.sourceID = 5, .destinationID = 6, .channelMode = ChannelMode::force(10)})`, through the connection's
/// constructor, which adds a variant if there is none.
[[nodiscard]] inline MIDIRoute makeRoute(RouteFields fields = {}) {
    return {fields.id,
            fields.sourceID,
            fields.destinationID,
            std::move(fields.sourceName),
            std::move(fields.sourceManufacturer),
            std::move(fields.destinationName),
            std::move(fields.destinationManufacturer),
            fields.channelMode,
            fields.isEnabled,
            fields.activeVariantID,
            std::move(fields.variants)};
}

}  // namespace corvel::tests
