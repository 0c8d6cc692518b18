#include "core/routes/MIDIRoute.hpp"

#include "core/support/Hash.hpp"

#include <algorithm>
#include <utility>

namespace corvel {

MIDIRoute::MIDIRoute(UUID givenID, std::int32_t givenSourceID, std::int32_t givenDestinationID,
                     std::optional<std::string> givenSourceName, std::optional<std::string> givenSourceManufacturer,
                     std::optional<std::string> givenDestinationName,
                     std::optional<std::string> givenDestinationManufacturer, ChannelMode givenChannelMode,
                     bool givenIsEnabled, std::optional<UUID> givenActiveVariantID,
                     std::vector<MIDIRouteVariant> givenVariants)
    : id(givenID),
      sourceID(givenSourceID),
      destinationID(givenDestinationID),
      sourceName(std::move(givenSourceName)),
      sourceManufacturer(std::move(givenSourceManufacturer)),
      destinationName(std::move(givenDestinationName)),
      destinationManufacturer(std::move(givenDestinationManufacturer)),
      channelMode(givenChannelMode),
      isEnabled(givenIsEnabled),
      variants(std::move(givenVariants)) {
    if (variants.empty()) {
        variants.push_back(MIDIRouteVariant{UUID::random(), MIDIRouteVariant::defaultName(channelMode), std::nullopt,
                                            channelMode, sourceID, destinationID, sourceName, sourceManufacturer,
                                            destinationName, destinationManufacturer});
    }
    if (!givenActiveVariantID || !setActiveVariant(*givenActiveVariantID)) {
        setActiveVariant(variants.front().id);
    }
}

const MIDIRouteVariant* MIDIRoute::activeVariant() const {
    const auto found = std::ranges::find(variants, activeVariantID, &MIDIRouteVariant::id);
    return found == variants.end() ? nullptr : &*found;
}

void MIDIRoute::applyActiveVariant() {
    const MIDIRouteVariant* const variant = activeVariant();
    if (variant == nullptr) {
        return;
    }
    sourceID = variant->sourceID;
    destinationID = variant->destinationID;
    sourceName = variant->sourceName;
    sourceManufacturer = variant->sourceManufacturer;
    destinationName = variant->destinationName;
    destinationManufacturer = variant->destinationManufacturer;
    channelMode = variant->channelMode.value_or(channelMode);
}

void MIDIRoute::updateActiveVariantFromRoute() {
    const auto variant = std::ranges::find(variants, activeVariantID, &MIDIRouteVariant::id);
    if (variant == variants.end()) {
        return;
    }
    variant->sourceID = sourceID;
    variant->destinationID = destinationID;
    variant->sourceName = sourceName;
    variant->sourceManufacturer = sourceManufacturer;
    variant->destinationName = destinationName;
    variant->destinationManufacturer = destinationManufacturer;
    variant->channelMode = channelMode;
}

bool MIDIRoute::setActiveVariant(const UUID& variantID) {
    if (std::ranges::find(variants, variantID, &MIDIRouteVariant::id) == variants.end()) {
        return false;
    }
    activeVariantID = variantID;
    applyActiveVariant();
    return true;
}

}  // namespace corvel

std::size_t std::hash<corvel::MIDIRoute>::operator()(const corvel::MIDIRoute& route) const noexcept {
    return corvel::hashOf(route.id, route.sourceID, route.destinationID, route.sourceName, route.sourceManufacturer,
                          route.destinationName, route.destinationManufacturer, route.channelMode, route.isEnabled,
                          route.activeVariantID, route.variants);
}
