#include "core/messages/RouteProcessor.hpp"

#include "core/messages/MIDIMessageTransformer.hpp"

namespace corvel::RouteProcessor {

std::vector<RoutedMIDIMessage> routedMessages(std::int32_t sourceID, const MIDIBytes& bytes,
                                              std::span<const MIDIRoute> routes) {
    std::vector<RoutedMIDIMessage> messages;
    for (const MIDIRoute& route : routes) {
        if (route.isEnabled && route.sourceID == sourceID) {
            messages.push_back(
                {route.id, route.destinationID, MIDIMessageTransformer::transform(bytes, route.channelMode)});
        }
    }
    return messages;
}

}  // namespace corvel::RouteProcessor
