#include "core/messages/RouteProcessor.hpp"

#include <utility>

namespace corvel::RouteProcessor {

std::vector<RoutedMIDIMessage> routedMessages(std::int32_t sourceID, const MIDIBytes& bytes,
                                              std::span<const MIDIRoute> routes) {
    std::vector<RoutedMIDIMessage> messages;
    forEachRoutedMessage(sourceID, bytes, routes,
                         [&messages](RoutedMIDIMessage&& message) { messages.push_back(std::move(message)); });
    return messages;
}

}  // namespace corvel::RouteProcessor
