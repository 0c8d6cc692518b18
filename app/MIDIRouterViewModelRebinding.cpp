#include "app/MIDIRouterViewModel.hpp"

#include <tuple>

namespace corvel {

namespace {

/// Stores an endpoint's ID and labels. Returns whether any of them changed.
bool updateStoredIdentity(const MIDIEndpointModel& endpoint, std::int32_t& id, std::optional<std::string>& name,
                          std::optional<std::string>& manufacturer) {
    if (id == endpoint.id && name == endpoint.displayName && manufacturer == endpoint.manufacturer) {
        return false;
    }
    id = endpoint.id;
    name = endpoint.displayName;
    manufacturer = endpoint.manufacturer;
    return true;
}

/// Binds one side of an assignment to the endpoint with its ID, otherwise to the only endpoint with its labels;
/// otherwise leaves it unchanged. Returns whether anything changed.
bool rebindSide(const EndpointList& endpoints, std::int32_t& id, std::optional<std::string>& name,
                std::optional<std::string>& manufacturer) {
    const MIDIEndpointModel* endpoint = endpoints.find(id);
    if (endpoint == nullptr) {
        endpoint = endpoints.resolve(name, manufacturer);
    }
    return endpoint != nullptr && updateStoredIdentity(*endpoint, id, name, manufacturer);
}

/// Whether the connection's own endpoints and labels are those of its active assignment.
bool mirrorsActiveVariant(const MIDIRoute& route) {
    const auto endpoints = [](const auto& holder) {
        return std::tie(holder.sourceID, holder.destinationID, holder.sourceName, holder.sourceManufacturer,
                        holder.destinationName, holder.destinationManufacturer);
    };
    const MIDIRouteVariant* const active = route.activeVariant();
    return active == nullptr || endpoints(route) == endpoints(*active);
}

bool rebind(MIDIRoute& route, const EndpointList& sources, const EndpointList& destinations) {
    bool didChange = false;
    for (MIDIRouteVariant& variant : route.variants) {
        didChange |= rebindSide(sources, variant.sourceID, variant.sourceName, variant.sourceManufacturer);
        didChange |=
            rebindSide(destinations, variant.destinationID, variant.destinationName, variant.destinationManufacturer);
    }
    didChange |= !mirrorsActiveVariant(route);
    route.applyActiveVariant();
    return didChange;
}

}  // namespace

void MIDIRouterViewModel::reconcileRoutesWithCurrentEndpoints() {
    if (routes().empty()) {
        return;
    }
    const bool didChange = routes_.edit([this](std::vector<MIDIRoute>& routes) {
        bool didChangeAny = false;
        for (MIDIRoute& route : routes) {
            didChangeAny |= rebind(route, sources_.value(), destinations_.value());
        }
        return didChangeAny;
    });
    if (!didChange) {
        return;
    }
    syncSelectedRouteSetRoutes();
    engine_->updateRoutes(routes());
    saveRouteSetDocument(std::nullopt);
}

}  // namespace corvel
