#include "benchmarks/support/SampleDocument.hpp"

#include <utility>
#include <vector>

namespace corvel::benchmarks {

namespace {

MIDIRoute makeConnection(std::size_t number, const DocumentSize& size) {
    const auto endpoints = static_cast<std::size_t>(size.endpointsPerDirection);
    const auto sourceID = static_cast<std::int32_t>(number % endpoints) + 1;
    const auto destinationID = static_cast<std::int32_t>(number / endpoints % endpoints) + 1;
    std::vector<MIDIRouteVariant> variants;
    for (std::size_t index = 0; index < size.assignmentsPerConnection; ++index) {
        const ChannelMode mode = ChannelMode::force(static_cast<int>(index % 16) + 1);
        KeyboardShortcutSpec shortcut;
        shortcut.key = std::string(1, static_cast<char>('a' + static_cast<int>(number % 26)));
        shortcut.modifiers = {KeyboardShortcutModifier::control, KeyboardShortcutModifier::shift};
        variants.push_back({UUID::random(), MIDIRouteVariant::defaultName(mode), std::move(shortcut), mode, sourceID,
                            destinationID, sourceLabel(sourceID), kManufacturerLabel, destinationLabel(destinationID),
                            kManufacturerLabel});
    }
    return {UUID::random(),     sourceID,
            destinationID,      sourceLabel(sourceID),
            kManufacturerLabel, destinationLabel(destinationID),
            kManufacturerLabel, ChannelMode::asIs(),
            number % 2 == 0,    std::nullopt,
            std::move(variants)};
}

}  // namespace

std::string sourceLabel(std::int32_t id) {
    return "Größe/Input " + std::to_string(id);
}

std::string destinationLabel(std::int32_t id) {
    return "Output " + std::to_string(id);
}

MIDIRouteSetDocument makeDocument(const DocumentSize& size) {
    std::vector<MIDIRouteSet> sets;
    for (std::size_t set = 0; set < size.sets; ++set) {
        MIDIRouteSet routeSet{UUID::random(), "Song " + std::to_string(set + 1), {}};
        for (std::size_t index = 0; index < size.connectionsPerSet; ++index) {
            routeSet.routes.push_back(makeConnection(index, size));
        }
        sets.push_back(std::move(routeSet));
    }
    return {std::nullopt, std::move(sets)};
}

}  // namespace corvel::benchmarks
