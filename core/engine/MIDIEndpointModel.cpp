#include "core/engine/MIDIEndpointModel.hpp"

#include "core/support/Hash.hpp"

namespace corvel {

std::string_view rawValue(MIDIEndpointDirection direction) {
    switch (direction) {
        case MIDIEndpointDirection::source:
            return "source";
        case MIDIEndpointDirection::destination:
            return "destination";
    }
    return {};
}

std::optional<MIDIEndpointDirection> endpointDirectionFromRawValue(std::string_view text) {
    for (const auto direction : {MIDIEndpointDirection::source, MIDIEndpointDirection::destination}) {
        if (rawValue(direction) == text) {
            return direction;
        }
    }
    return std::nullopt;
}

std::string MIDIEndpointModel::detailText() const {
    std::string text = displayName;
    if (manufacturer && !manufacturer->empty()) {
        text += '\n' + *manufacturer;
    }
    text += '\n';
    text += rawValue(direction);
    text += "\nID " + std::to_string(id);
    return text;
}

}  // namespace corvel

std::size_t std::hash<corvel::MIDIEndpointModel>::operator()(const corvel::MIDIEndpointModel& endpoint) const noexcept {
    return corvel::hashOf(endpoint.id, endpoint.endpointRef, endpoint.displayName, endpoint.manufacturer,
                          endpoint.direction, endpoint.isOnline, endpoint.port, endpoint.isLoopback);
}
