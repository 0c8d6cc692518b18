#pragma once

#include "app/EndpointList.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"

#include <unordered_set>
#include <vector>

namespace corvel {

/// The enabled connections that return a message to where it started: connections from a port to itself, and
/// connections that form a cycle over loopback ports. Ignores endpoints that are not present, and endpoints whose port
/// the service does not give.
[[nodiscard]] std::unordered_set<UUID> findFeedback(const std::vector<MIDIRoute>& routes, const EndpointList& sources,
                                                    const EndpointList& destinations);

}  // namespace corvel
