#include "tests/app/ReferenceModel.hpp"

#include <algorithm>
#include <chrono>
#include <tuple>
#include <utility>

namespace corvel::tests {
namespace {

/// For names in ASCII.
std::string trimmedOr(const std::string& name, const std::string& fallback) {
    const std::size_t begin = name.find_first_not_of(" \t\n\r\v\f");
    return begin == std::string::npos ? fallback : name.substr(begin, name.find_last_not_of(" \t\n\r\v\f") - begin + 1);
}

/// Every ID of the sets, always in the same order, so that two equal shapes give two equal lengths.
std::vector<UUID*> idsOf(std::vector<MIDIRouteSet>& sets) {
    std::vector<UUID*> ids;
    for (MIDIRouteSet& set : sets) {
        ids.push_back(&set.id);
        for (MIDIRoute& route : set.routes) {
            ids.push_back(&route.id);
            for (MIDIRouteVariant& variant : route.variants) {
                ids.push_back(&variant.id);
            }
            ids.push_back(&route.activeVariantID);
        }
    }
    return ids;
}

}  // namespace

ReferenceModel::ReferenceModel(MIDIRouteSetDocument document)
    : sets(std::move(document.routeSets)), currentSet(document.selectedSetID) {
    routes = current()->routes;
    for (const UUID* const id : idsOf(sets)) {
        knownIDs_.push_back(*id);
    }
}

bool ReferenceModel::adoptIDs(const std::vector<MIDIRouteSet>& modelSets) {
    std::vector<MIDIRouteSet> theirs = modelSets;
    const std::vector<UUID*> theirIDs = idsOf(theirs);
    const std::vector<UUID*> ourIDs = idsOf(sets);
    if (theirIDs.size() != ourIDs.size()) {
        return false;
    }
    std::vector<std::pair<UUID, UUID>> adopted;
    for (std::size_t index = 0; index < ourIDs.size(); ++index) {
        const UUID ours = *ourIDs[index];
        const UUID chosen = *theirIDs[index];
        if (std::ranges::count(freshIDs_, ours) == 0) {
            continue;
        }
        if (std::ranges::count(adopted, ours, &std::pair<UUID, UUID>::first) == 0) {
            if (std::ranges::count(knownIDs_, chosen) > 0) {
                return false;
            }
            adopted.emplace_back(ours, chosen);
            knownIDs_.push_back(chosen);
        }
    }
    const auto replace = [&](UUID& id) {
        for (const auto& [ours, chosen] : adopted) {
            if (id == ours) {
                id = chosen;
                return;
            }
        }
    };
    std::ranges::for_each(ourIDs, [&](UUID* id) { replace(*id); });
    replace(currentSet);
    if (selectedRoute) {
        replace(*selectedRoute);
    }
    freshIDs_.clear();
    routes = current()->routes;
    return true;
}

UUID ReferenceModel::fresh() {
    freshIDs_.push_back(UUID::random());
    return freshIDs_.back();
}

MIDIRouteSet* ReferenceModel::current() {
    const auto found = std::ranges::find(sets, currentSet, &MIDIRouteSet::id);
    return found == sets.end() ? nullptr : &*found;
}

MIDIRoute* ReferenceModel::find(const UUID& id) {
    const auto found = std::ranges::find(routes, id, &MIDIRoute::id);
    return found == routes.end() ? nullptr : &*found;
}

std::string ReferenceModel::freeSetName(const std::string& base, const MIDIRouteSet* except) const {
    std::vector<std::string> taken;
    for (const MIDIRouteSet& set : sets) {
        if (&set != except) {
            taken.push_back(set.name);
        }
    }
    return freeName(base, taken);
}

std::string ReferenceModel::currentName() {
    return current()->name;
}

std::string ReferenceModel::freeName(const std::string& base, const std::vector<std::string>& taken) {
    std::string name = base;
    for (int number = 2; std::ranges::count(taken, name) > 0; ++number) {
        name = base + " " + std::to_string(number);
    }
    return name;
}

MIDIRouteVariant* ReferenceModel::activeOf(MIDIRoute& route) {
    for (MIDIRouteVariant& variant : route.variants) {
        if (variant.id == route.activeVariantID) {
            return &variant;
        }
    }
    return nullptr;
}

void ReferenceModel::mirror(MIDIRoute& route) {
    if (const MIDIRouteVariant* const active = activeOf(route)) {
        route.sourceID = active->sourceID;
        route.destinationID = active->destinationID;
        route.sourceName = active->sourceName;
        route.sourceManufacturer = active->sourceManufacturer;
        route.destinationName = active->destinationName;
        route.destinationManufacturer = active->destinationManufacturer;
        route.channelMode = active->channelMode.value_or(route.channelMode);
    }
}

const MIDIEndpointModel* ReferenceModel::withID(const std::vector<MIDIEndpointModel>& endpoints, std::int32_t id) {
    for (const MIDIEndpointModel& endpoint : endpoints) {
        if (endpoint.id == id) {
            return &endpoint;
        }
    }
    return nullptr;
}

void ReferenceModel::persist() {
    current()->routes = routes;
    ++saves;
    status = "Set \"" + currentName() + "\" saved (" + std::to_string(routes.size()) + " connections)";
}

const MIDIEndpointModel* ReferenceModel::meant(const std::vector<MIDIEndpointModel>& endpoints, std::int32_t id,
                                               const std::optional<std::string>& name,
                                               const std::optional<std::string>& maker) {
    if (const MIDIEndpointModel* const endpoint = withID(endpoints, id)) {
        return endpoint;
    }
    const MIDIEndpointModel* found = nullptr;
    for (const MIDIEndpointModel& endpoint : endpoints) {
        if (name && endpoint.displayName == *name && (!maker || endpoint.manufacturer == maker)) {
            if (found != nullptr) {
                return nullptr;
            }
            found = &endpoint;
        }
    }
    return found;
}

void ReferenceModel::rebind() {
    const std::vector<MIDIRoute> before = routes;
    for (MIDIRoute& route : routes) {
        for (MIDIRouteVariant& variant : route.variants) {
            if (const auto* const endpoint =
                    meant(sources, variant.sourceID, variant.sourceName, variant.sourceManufacturer)) {
                std::tie(variant.sourceID, variant.sourceName, variant.sourceManufacturer) =
                    std::tie(endpoint->id, endpoint->displayName, endpoint->manufacturer);
            }
            if (const auto* const endpoint = meant(destinations, variant.destinationID, variant.destinationName,
                                                   variant.destinationManufacturer)) {
                std::tie(variant.destinationID, variant.destinationName, variant.destinationManufacturer) =
                    std::tie(endpoint->id, endpoint->displayName, endpoint->manufacturer);
            }
        }
        mirror(route);
    }
    if (routes != before) {
        current()->routes = routes;
        ++saves;
    }
}

void ReferenceModel::show(const MIDIRouteSet& set) {
    currentSet = set.id;
    routes = set.routes;
    selectedRoute.reset();
    graph.clear();
}

void ReferenceModel::snapshot(std::vector<MIDIEndpointModel> newSources,
                              std::vector<MIDIEndpointModel> newDestinations) {
    sources = std::move(newSources);
    destinations = std::move(newDestinations);
    rebind();
    prune();
    status = std::to_string(sources.size()) + " inputs, " + std::to_string(destinations.size()) + " outputs";
}

void ReferenceModel::prune() {
    std::erase_if(graph, [&](const MIDIActivityEvent& event) {
        const MIDIRoute* const route = find(event.routeID);
        return route == nullptr || withID(sources, route->sourceID) == nullptr ||
               withID(destinations, route->destinationID) == nullptr;
    });
}

void ReferenceModel::hear(const MIDIActivityEvent& event, Instant now) {
    // Messages of one fragment only: a note sounds if it is a note-on with a velocity.
    if (event.bytes.size() == 3 && (event.bytes[0] & 0xF0U) == 0x90U && event.bytes[2] > 0) {
        graph.push_back(event);
        std::erase_if(graph,
                      [&](const MIDIActivityEvent& old) { return now - old.timestamp > std::chrono::seconds(3); });
        graph.erase(graph.begin(), graph.end() - static_cast<std::ptrdiff_t>(std::min<std::size_t>(graph.size(), 512)));
    }
}

void ReferenceModel::selectSet(const UUID& id) {
    const auto found = std::ranges::find(sets, id, &MIDIRouteSet::id);
    if (id == currentSet || found == sets.end()) {
        return;
    }
    show(*found);
    rebind();
    prune();
    ++saves;
    status = "Loaded set \"" + currentName() + "\"";
}

void ReferenceModel::createSet(const std::string& name) {
    sets.push_back({fresh(), freeSetName(trimmedOr(name, "New Set"), nullptr), {}});
    show(sets.back());
    ++saves;
    status = "Created set \"" + currentName() + "\"";
}

void ReferenceModel::duplicateSet(const std::string& name) {
    MIDIRouteSet copy{fresh(), freeSetName(trimmedOr(name, currentName() + " Copy"), nullptr), routes};
    for (MIDIRoute& route : copy.routes) {
        route.id = fresh();
        const UUID active = route.activeVariantID;
        for (MIDIRouteVariant& variant : route.variants) {
            const UUID id = fresh();
            if (variant.id == active) {
                route.activeVariantID = id;
            }
            variant.id = id;
        }
    }
    sets.push_back(copy);
    show(copy);
    ++saves;
    status = "Duplicated set \"" + copy.name + "\"";
}

void ReferenceModel::renameSet(const std::string& name) {
    current()->name = freeSetName(trimmedOr(name, currentName()), current());
    ++saves;
    status = "Renamed set \"" + currentName() + "\"";
}

void ReferenceModel::deleteSet() {
    if (sets.size() < 2) {
        return;
    }
    const std::string name = currentName();
    const auto position = static_cast<std::size_t>(current() - sets.data());
    sets.erase(sets.begin() + static_cast<std::ptrdiff_t>(position));
    show(sets[std::min(position, sets.size() - 1)]);
    rebind();
    prune();
    ++saves;
    status = "Deleted set \"" + name + "\"";
}

}  // namespace corvel::tests
