#include "app/FeedbackSearch.hpp"

#include <cstdint>
#include <unordered_map>
#include <utility>

namespace corvel {

namespace {

using Port = std::uint32_t;

/// The loopback ports that are reached from each loopback port through one connection.
using Ways = std::unordered_map<Port, std::vector<Port>>;

bool isReachable(const Ways& ways, Port from, Port wanted) {
    std::unordered_set<Port> seen{from};
    std::vector<Port> open{from};
    while (!open.empty()) {
        const Port port = open.back();
        open.pop_back();
        if (port == wanted) {
            return true;
        }
        if (const auto next = ways.find(port); next != ways.end()) {
            for (const Port reached : next->second) {
                if (seen.insert(reached).second) {
                    open.push_back(reached);
                }
            }
        }
    }
    return false;
}

}  // namespace

std::unordered_set<UUID> findFeedback(const std::vector<MIDIRoute>& routes, const EndpointList& sources,
                                      const EndpointList& destinations) {
    struct Candidate {
        UUID id;
        Port from;
        Port to;
    };
    std::unordered_set<UUID> found;
    std::vector<Candidate> candidates;
    Ways ways;
    for (const MIDIRoute& route : routes) {
        const MIDIEndpointModel* const source = sources.find(route.sourceID);
        const MIDIEndpointModel* const destination = destinations.find(route.destinationID);
        if (!route.isEnabled || source == nullptr || destination == nullptr || source->port == 0) {
            continue;
        }
        if (source->port == destination->port) {
            found.insert(route.id);
        } else if (source->isLoopback && destination->isLoopback) {
            candidates.push_back({route.id, source->port, destination->port});
            ways[source->port].push_back(destination->port);
        }
    }
    for (const Candidate& candidate : candidates) {
        if (isReachable(ways, candidate.to, candidate.from)) {
            found.insert(candidate.id);
        }
    }
    return found;
}

}  // namespace corvel
