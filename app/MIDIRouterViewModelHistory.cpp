#include "app/MIDIRouterViewModel.hpp"

#include "core/support/Text.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace corvel {

namespace {

template <typename Value>
void insertAt(std::vector<Value>& values, std::size_t index, Value value) {
    const auto place = static_cast<std::ptrdiff_t>(std::min(index, values.size()));
    values.insert(values.begin() + place, std::move(value));
}

/// The endpoints may have got other IDs since the stored state; edits do not change those.
void takeOverEndpoints(MIDIRoute& route, const MIDIRoute& current) {
    for (MIDIRouteVariant& variant : route.variants) {
        const auto found = std::ranges::find(current.variants, variant.id, &MIDIRouteVariant::id);
        if (found != current.variants.end()) {
            variant.sourceID = found->sourceID;
            variant.destinationID = found->destinationID;
            variant.sourceName = found->sourceName;
            variant.sourceManufacturer = found->sourceManufacturer;
            variant.destinationName = found->destinationName;
            variant.destinationManufacturer = found->destinationManufacturer;
        }
    }
}

/// The restored connection, on the assignment that the performer has switched to since, if it has that one.
MIDIRoute merged(MIDIRoute route, const MIDIRoute& current, const std::optional<UUID>& leftActive) {
    takeOverEndpoints(route, current);
    if (leftActive == current.activeVariantID || !route.setActiveVariant(current.activeVariantID)) {
        route.applyActiveVariant();
    }
    return route;
}

std::vector<Placed<MIDIRoute>> connectionsWithID(const std::vector<MIDIRoute>& routes, const UUID& id) {
    std::vector<Placed<MIDIRoute>> found;
    for (std::size_t index = 0; index < routes.size(); ++index) {
        if (routes[index].id == id) {
            found.push_back({index, routes[index]});
        }
    }
    return found;
}

std::optional<UUID> activeVariantIn(const std::vector<Placed<MIDIRoute>>& connections) {
    return connections.empty() ? std::nullopt : std::optional(connections.front().value.activeVariantID);
}

}  // namespace

void MIDIRouterViewModel::undo() {
    if (std::optional<DocumentEdit> edit = history_.takeUndo()) {
        const std::string message = "Undone: " + edit->name;
        if (std::optional<DocumentEdit> opposite = carryOut(*std::move(edit), message)) {
            history_.addRedo(*std::move(opposite));
        }
    }
}

void MIDIRouterViewModel::redo() {
    if (std::optional<DocumentEdit> edit = history_.takeRedo()) {
        const std::string message = "Redone: " + edit->name;
        if (std::optional<DocumentEdit> opposite = carryOut(*std::move(edit), message)) {
            history_.addUndo(*std::move(opposite));
        }
    }
}

void MIDIRouterViewModel::offerUndo() {
    undoOffer_ = statusMessage();
}

DocumentEdit MIDIRouterViewModel::connectionEdit(std::string name, const UUID& routeID) const {
    return {.name = std::move(name),
            .setID = selectedRouteSetID(),
            .change = ConnectionChange{
                .id = routeID, .connections = connectionsWithID(routes(), routeID), .activeVariantID = std::nullopt}};
}

void MIDIRouterViewModel::recordConnectionEdit(DocumentEdit edit) {
    auto& change = std::get<ConnectionChange>(edit.change);
    const std::vector<Placed<MIDIRoute>> now = connectionsWithID(routes(), change.id);
    const bool isSame =
        std::ranges::equal(now, change.connections, {}, &Placed<MIDIRoute>::value, &Placed<MIDIRoute>::value);
    if (!isSame) {
        change.activeVariantID = activeVariantIn(now);
        record(std::move(edit));
    }
}

DocumentEdit MIDIRouterViewModel::routeSetEdit(std::string name, const UUID& setID) const {
    return {.name = std::move(name), .setID = setID, .change = routeSetChange(setID, selectedRouteSetID())};
}

void MIDIRouterViewModel::recordRouteSetEdit(DocumentEdit edit) {
    std::get<RouteSetChange>(edit.change).leftSetID = selectedRouteSetID();
    record(std::move(edit));
}

void MIDIRouterViewModel::record(DocumentEdit edit) {
    undoOffer_.reset();
    history_.record(std::move(edit));
}

RouteSetChange MIDIRouterViewModel::routeSetChange(const UUID& setID, const UUID& selectedSetID) const {
    RouteSetChange change{.routeSet = std::nullopt, .selectedSetID = selectedSetID, .leftSetID = {}};
    const auto found = std::ranges::find(routeSets(), setID, &MIDIRouteSet::id);
    if (found != routeSets().end()) {
        change.routeSet = Placed<MIDIRouteSet>{static_cast<std::size_t>(found - routeSets().begin()), *found};
    }
    return change;
}

std::optional<DocumentEdit> MIDIRouterViewModel::carryOut(DocumentEdit edit, std::string message) {
    const bool isCurrent = edit.setID == selectedRouteSetID();
    const auto routeSet = std::ranges::find(routeSets(), edit.setID, &MIDIRouteSet::id);
    const bool exists = routeSet != routeSets().end();
    if (exists && !isCurrent) {
        message += " in set " + text::quoted(routeSet->name);
    }
    struct Carrier {
        MIDIRouterViewModel& model;
        const UUID& setID;
        bool exists;

        bool operator()(ConnectionChange& change) const { return exists && model.exchange(change, setID); }
        bool operator()(RouteSetChange& change) const { return model.exchange(change, setID); }
        bool operator()(RouteSetNameChange& change) const { return exists && model.exchange(change, setID); }
    };
    if (!std::visit(Carrier{*this, edit.setID, exists}, edit.change)) {
        return std::nullopt;
    }
    saveRouteSetDocument(std::move(message));
    return edit;
}

/// Restores the state in the edit, and stores the present state in the edit instead. Returns false and does nothing if
/// the edit no longer applies.
bool MIDIRouterViewModel::exchange(ConnectionChange& change, const UUID& setID) {
    const bool isCurrent = setID == selectedRouteSetID();
    const auto exchangeIn = [&](std::vector<MIDIRoute>& routes) {
        std::vector<Placed<MIDIRoute>> current = connectionsWithID(routes, change.id);
        const bool isShownAnew = current.empty();
        std::erase_if(routes, [&](const MIDIRoute& route) { return route.id == change.id; });
        for (const auto& [index, route] : change.connections) {
            insertAt(routes, index, isShownAnew ? route : merged(route, current.front().value, change.activeVariantID));
        }
        change.connections = std::move(current);
        const auto now = std::ranges::find(routes, change.id, &MIDIRoute::id);
        change.activeVariantID = now == routes.end() ? std::nullopt : std::optional(now->activeVariantID);
        return isShownAnew;
    };
    if (!isCurrent) {
        routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) {
            exchangeIn(std::ranges::find(routeSets, setID, &MIDIRouteSet::id)->routes);
        });
        return true;
    }
    const bool isShownAnew = routes_.edit(exchangeIn);
    removeGraphActivity(change.id);
    if (route(change.id) != nullptr) {
        selectedRouteID_.set(change.id);
    } else if (selectedRouteID() == change.id) {
        selectedRouteID_.set(routes().empty() ? std::nullopt : std::optional(routes().front().id));
    }
    if (isShownAnew) {
        reconcileRoutesWithCurrentEndpoints();
    }
    syncSelectedRouteSetRoutes();
    engine_->updateRoutes(routes());
    return true;
}

bool MIDIRouterViewModel::exchange(RouteSetChange& change, const UUID& setID) {
    const bool isKept = selectedRouteSetID() != change.leftSetID && selectedRouteSetID() != setID;
    RouteSetChange opposite = routeSetChange(setID, selectedRouteSetID());
    if (!change.routeSet && routeSets().size() < 2) {
        return false;
    }
    routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) {
        std::erase_if(routeSets, [&](const MIDIRouteSet& routeSet) { return routeSet.id == setID; });
        if (change.routeSet) {
            insertAt(routeSets, change.routeSet->index, std::move(change.routeSet->value));
        }
    });
    if (!isKept) {
        auto next = std::ranges::find(routeSets(), change.selectedSetID, &MIDIRouteSet::id);
        if (next == routeSets().end()) {
            next = routeSets().begin();
        }
        showRouteSet(next->id, next->routes);
        reconcileRoutesWithCurrentEndpoints();
    }
    opposite.leftSetID = selectedRouteSetID();
    change = std::move(opposite);
    return true;
}

bool MIDIRouterViewModel::exchange(RouteSetNameChange& change, const UUID& setID) {
    std::string name = uniqueRouteSetName(change.name, setID);
    routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) {
        change.name = std::exchange(std::ranges::find(routeSets, setID, &MIDIRouteSet::id)->name, std::move(name));
    });
    return true;
}

}  // namespace corvel
