#pragma once

#include "app/EndpointList.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"

#include <unordered_set>
#include <vector>

namespace corvel {

/// The enabled connections through which a message comes back to where it started: those that connect a port to
/// itself, and those that close a circle over ports which send what they are sent. Endpoints that are away, and ports
/// that the service does not tell of, count for nothing.
[[nodiscard]] std::unordered_set<UUID> findFeedback(const std::vector<MIDIRoute>& routes, const EndpointList& sources,
                                                    const EndpointList& destinations);

}  // namespace corvel
