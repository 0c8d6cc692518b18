#pragma once

#include "core/messages/RoutedMIDIMessage.hpp"
#include "core/routes/MIDIRoute.hpp"

#include <cstdint>
#include <span>
#include <vector>

/// Selects, for one packet from one source, the connections that carry it.
namespace corvel::RouteProcessor {

/// One message for every enabled route from the source, in route order, each with its own transformed bytes. Nothing is
/// merged or left out: two routes to the same destination give two messages. One pass over the routes. Any thread.
[[nodiscard]] std::vector<RoutedMIDIMessage> routedMessages(std::int32_t sourceID, const MIDIBytes& bytes,
                                                            std::span<const MIDIRoute> routes);

}  // namespace corvel::RouteProcessor
