#include "ui/RouterWindow/EndpointNames.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"

namespace corvel::ui {

QString shownEndpointName(const MIDIRouterViewModel& model, MIDIEndpointDirection direction, std::int32_t endpointID,
                          const std::optional<std::string>& storedName) {
    if (const std::string* const alias = model.endpointAliases().find(direction, endpointID); alias != nullptr) {
        return toQString(shownName(*alias));
    }
    const bool isInput = direction == MIDIEndpointDirection::source;
    return toQString(shownName(
        MIDIRouterViewModel::endpointName(endpointID, isInput ? model.sources() : model.destinations(), storedName)));
}

QString shownInputName(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    return shownEndpointName(model, MIDIEndpointDirection::source, route.sourceID, route.sourceName);
}

QString shownOutputName(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    return shownEndpointName(model, MIDIEndpointDirection::destination, route.destinationID, route.destinationName);
}

}  // namespace corvel::ui
