#include "core/engine/RouteTable.hpp"

#include <algorithm>
#include <cstddef>
#include <unordered_set>
#include <utility>

namespace corvel {

std::vector<RouteTable::Ending> RouteTable::setRoutes(std::vector<MIDIRoute> routes) {
    routes_ = std::move(routes);
    std::vector<Ending> endings = endLostNotes();
    resolve();
    return endings;
}

std::vector<RouteTable::Ending> RouteTable::setEndpoints(std::vector<Endpoint> sources,
                                                         const std::vector<Endpoint>& destinations) {
    const auto ids = [](const std::vector<Endpoint>& endpoints) {
        std::vector<std::int32_t> made(endpoints.size());
        std::ranges::transform(endpoints, made.begin(), &Endpoint::id);
        return made;
    };
    sourceEndpoints_ = std::move(sources);
    traffic_.replace(ids(sourceEndpoints_), ids(destinations));
    destinations_.clear();
    for (std::size_t index = 0; index < destinations.size(); ++index) {
        destinations_[destinations[index].id] = {.ref = destinations[index].ref,
                                                 .traffic = &traffic_.destination(index)};
    }
    std::vector<Ending> endings = endLostNotes();
    resolve();
    return endings;
}

void RouteTable::setFollowsHeldNotes(bool followsHeldNotes) {
    if (followsHeldNotes_ == followsHeldNotes) {
        return;
    }
    followsHeldNotes_ = followsHeldNotes;
    held_.clear();
    resolve();
}

const RouteTable::Source* RouteTable::find(MIDIObjectRef source) const {
    const auto found = sources_.find(source);
    return found == sources_.end() ? nullptr : &found->second;
}

MIDIObjectRef RouteTable::destinationRef(std::int32_t id) const {
    const auto found = destinations_.find(id);
    return found == destinations_.end() ? 0 : found->second.ref;
}

std::vector<MIDIObjectRef> RouteTable::usedSources() const {
    std::unordered_set<std::int32_t> ids;
    for (const MIDIRoute& route : routes_) {
        ids.insert(route.sourceID);
    }
    std::vector<MIDIObjectRef> used;
    for (const Endpoint& endpoint : sourceEndpoints_) {
        if (ids.contains(endpoint.id)) {
            used.push_back(endpoint.ref);
        }
    }
    return used;
}

std::vector<MIDIObjectRef> RouteTable::usedDestinations() const {
    std::vector<MIDIObjectRef> used;
    for (const auto& [ref, source] : sources_) {
        for (const Connection& connection : source.connections) {
            used.push_back(connection.destination);
        }
    }
    std::ranges::sort(used);
    const auto repeated = std::ranges::unique(used);
    used.erase(repeated.begin(), repeated.end());
    return used;
}

std::vector<MIDIBytes> RouteTable::takeEndings(std::int32_t destinationID) {
    HeldNotes all;
    for (auto& [routeID, held] : held_) {
        if (held.way.destinationID == destinationID) {
            all.add(std::exchange(held.notes, {}));
        }
    }
    return all.endings({});
}

RouteTable::Way RouteTable::wayOf(const MIDIRoute& route) {
    return {.sourceID = route.sourceID, .destinationID = route.destinationID, .channelMode = route.channelMode};
}

/// Joins connections and endpoints.
void RouteTable::resolve() {
    std::unordered_map<std::int32_t, std::vector<Connection>> connectionsBySourceID;
    for (const MIDIRoute& route : routes_) {
        const auto destination = destinations_.find(route.destinationID);
        if (!route.isEnabled || destination == destinations_.end()) {
            continue;
        }
        HeldNotes* held = nullptr;
        if (followsHeldNotes_) {
            held = &held_.try_emplace(route.id, Held{wayOf(route), {}}).first->second.notes;
        }
        connectionsBySourceID[route.sourceID].push_back({.routeID = route.id,
                                                         .destinationID = route.destinationID,
                                                         .destination = destination->second.ref,
                                                         .channelMode = route.channelMode,
                                                         .traffic = destination->second.traffic,
                                                         .held = held});
    }
    sources_.clear();
    for (std::size_t index = 0; index < sourceEndpoints_.size(); ++index) {
        const Endpoint& endpoint = sourceEndpoints_[index];
        Source& source = sources_[endpoint.ref];
        source.traffic = &traffic_.source(index);
        if (const auto connections = connectionsBySourceID.find(endpoint.id);
            connections != connectionsBySourceID.end()) {
            source.connections = connections->second;
        }
    }
}

std::vector<RouteTable::Ending> RouteTable::endLostNotes() {
    if (held_.empty()) {
        return {};
    }
    const Ways ways = currentWays();
    std::unordered_map<std::int32_t, HeldNotes> lost;
    std::unordered_map<std::int32_t, HeldNotes> kept;
    std::erase_if(held_, [&](const auto& entry) {
        const Held& held = entry.second;
        const auto way = ways.find(entry.first);
        const bool isKept = way != ways.end() && way->second == held.way;
        (isKept ? kept : lost)[held.way.destinationID].add(held.notes);
        return !isKept;
    });
    std::vector<Ending> endings;
    for (const auto& [destinationID, notes] : lost) {
        std::vector<MIDIBytes> messages = notes.endings(kept[destinationID]);
        if (const MIDIObjectRef destination = destinationRef(destinationID); destination != 0 && !messages.empty()) {
            endings.push_back(
                {.destination = destination, .destinationID = destinationID, .messages = std::move(messages)});
        }
    }
    return endings;
}

/// The paths of the enabled connections with both endpoints present.
RouteTable::Ways RouteTable::currentWays() const {
    std::unordered_set<std::int32_t> sourceIDs;
    for (const Endpoint& source : sourceEndpoints_) {
        sourceIDs.insert(source.id);
    }
    Ways ways;
    for (const MIDIRoute& route : routes_) {
        if (route.isEnabled && sourceIDs.contains(route.sourceID) && destinationRef(route.destinationID) != 0) {
            ways.try_emplace(route.id, wayOf(route));
        }
    }
    return ways;
}

}  // namespace corvel
