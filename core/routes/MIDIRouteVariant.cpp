#include "core/routes/MIDIRouteVariant.hpp"

#include "core/support/Hash.hpp"

namespace corvel {

std::string MIDIRouteVariant::defaultName(const ChannelMode& channelMode) {
    return channelMode.title();
}

}  // namespace corvel

std::size_t std::hash<corvel::MIDIRouteVariant>::operator()(const corvel::MIDIRouteVariant& variant) const noexcept {
    return corvel::hashOf(variant.id, variant.name, variant.shortcut, variant.channelMode, variant.sourceID,
                          variant.destinationID, variant.sourceName, variant.sourceManufacturer,
                          variant.destinationName, variant.destinationManufacturer);
}
