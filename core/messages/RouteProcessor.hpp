#pragma once

#include "core/messages/MIDIMessageTransformer.hpp"
#include "core/messages/RoutedMIDIMessage.hpp"
#include "core/routes/MIDIRoute.hpp"

#include <cstdint>
#include <span>
#include <vector>

/// Selects, for one packet from one source, the connections that carry it.
namespace corvel::RouteProcessor {

/// Calls `visit` with a `RoutedMIDIMessage` for every enabled route from the source, in route order, each with its own
/// transformed bytes. Nothing is merged or left out: two routes to one destination give two messages. One pass over the
/// routes; allocates nothing for messages of up to 16 bytes, nor for longer ones whose bytes stay as they are. Any
/// thread.
template <typename Visitor>
void forEachRoutedMessage(std::int32_t sourceID, const MIDIBytes& bytes, std::span<const MIDIRoute> routes,
                          Visitor&& visit) {
    for (const MIDIRoute& route : routes) {
        if (route.isEnabled && route.sourceID == sourceID) {
            visit(RoutedMIDIMessage{route.id, route.destinationID,
                                    MIDIMessageTransformer::transform(bytes, route.channelMode)});
        }
    }
}

/// The same messages as a list.
[[nodiscard]] std::vector<RoutedMIDIMessage> routedMessages(std::int32_t sourceID, const MIDIBytes& bytes,
                                                            std::span<const MIDIRoute> routes);

}  // namespace corvel::RouteProcessor
