#include "app/MIDIRouterViewModel.hpp"

#include "app/UniqueName.hpp"
#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/support/Text.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace corvel {

namespace {

std::string cleanedRouteSetName(std::string_view name, const std::string& fallback) {
    std::string trimmed = text::trimmed(name);
    return trimmed.empty() ? fallback : trimmed;
}

/// A copy of the connection and its assignments with new IDs.
MIDIRoute copyWithFreshIDs(MIDIRoute route) {
    const auto activeIndex =
        std::ranges::find(route.variants, route.activeVariantID, &MIDIRouteVariant::id) - route.variants.begin();
    route.id = UUID::random();
    for (MIDIRouteVariant& variant : route.variants) {
        variant.id = UUID::random();
    }
    route.activeVariantID = route.variants[static_cast<std::size_t>(activeIndex)].id;
    return route;
}

}  // namespace

void MIDIRouterViewModel::selectRouteSet(const UUID& id) {
    if (id == selectedRouteSetID()) {
        return;
    }
    const auto found = std::ranges::find(routeSets(), id, &MIDIRouteSet::id);
    if (found == routeSets().end()) {
        return;
    }
    const std::string name = found->name;
    showRouteSet(found->id, found->routes);
    reconcileRoutesWithCurrentEndpoints();
    saveRouteSetDocument(std::nullopt);
    showOutcome("Loaded set " + text::quoted(name));
}

void MIDIRouterViewModel::createRouteSet(std::string_view name) {
    MIDIRouteSet created{UUID::random(), uniqueRouteSetName(cleanedRouteSetName(name, "New Set")), {}};
    const UUID id = created.id;
    std::string message = "Created set " + text::quoted(created.name);
    DocumentEdit edit = routeSetEdit("New Set", id);
    routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) { routeSets.push_back(std::move(created)); });
    showRouteSet(id, {});
    recordRouteSetEdit(std::move(edit));
    saveRouteSetDocument(std::move(message));
}

void MIDIRouterViewModel::duplicateSelectedRouteSet(std::string_view name) {
    std::vector<MIDIRoute> copies;
    std::ranges::transform(routes(), std::back_inserter(copies), copyWithFreshIDs);
    const std::string base = cleanedRouteSetName(name, selectedRouteSetName() + " Copy");
    MIDIRouteSet duplicate{UUID::random(), uniqueRouteSetName(base), copies};
    const UUID id = duplicate.id;
    std::string message = "Duplicated set " + text::quoted(duplicate.name);
    DocumentEdit edit = routeSetEdit("Duplicate Set", id);
    routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) { routeSets.push_back(std::move(duplicate)); });
    showRouteSet(id, std::move(copies));
    recordRouteSetEdit(std::move(edit));
    saveRouteSetDocument(std::move(message));
}

void MIDIRouterViewModel::renameSelectedRouteSet(std::string_view name) {
    const std::optional<std::size_t> index = selectedRouteSetIndex();
    if (!index) {
        return;
    }
    const MIDIRouteSet& routeSet = routeSets()[*index];
    std::string newName = uniqueRouteSetName(cleanedRouteSetName(name, routeSet.name), routeSet.id);
    std::string message = "Renamed set " + text::quoted(newName);
    if (newName != routeSet.name) {
        record({.name = "Rename Set", .setID = routeSet.id, .change = RouteSetNameChange{routeSet.name}});
    }
    routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) { routeSets[*index].name = std::move(newName); });
    saveRouteSetDocument(std::move(message));
}

void MIDIRouterViewModel::deleteSelectedRouteSet() {
    const std::optional<std::size_t> index = selectedRouteSetIndex();
    if (routeSets().size() < 2 || !index) {
        return;
    }
    const std::string name = routeSets()[*index].name;
    DocumentEdit edit = routeSetEdit("Delete Set", selectedRouteSetID());
    routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) {
        routeSets.erase(routeSets.begin() + static_cast<std::ptrdiff_t>(*index));
    });
    const MIDIRouteSet& next = routeSets()[std::min(*index, routeSets().size() - 1)];
    showRouteSet(next.id, next.routes);
    reconcileRoutesWithCurrentEndpoints();
    recordRouteSetEdit(std::move(edit));
    saveRouteSetDocument(std::nullopt);
    showOutcome("Deleted set " + text::quoted(name));
    offerUndo();
}

std::string MIDIRouterViewModel::uniqueRouteSetName(std::string_view base, const std::optional<UUID>& excluding) const {
    std::unordered_set<std::string_view> names;
    for (const MIDIRouteSet& routeSet : routeSets()) {
        if (routeSet.id != excluding) {
            names.insert(routeSet.name);
        }
    }
    return uniqueName(base, names);
}

std::string MIDIRouterViewModel::selectedRouteSetName() const {
    const std::optional<std::size_t> index = selectedRouteSetIndex();
    return index ? routeSets()[*index].name : MIDIRouteSetDocument::kDefaultSetName;
}

void MIDIRouterViewModel::showRouteSet(const UUID& id, std::vector<MIDIRoute> routes) {
    selectedRouteSetID_.set(id);
    routes_.set(std::move(routes));
    selectedRouteID_.set(std::nullopt);
    graphActivityEvents_.edit([](ActivityEvents& events) { events.clear(); });
    engine_->updateRoutes(this->routes());
}

std::optional<std::size_t> MIDIRouterViewModel::selectedRouteSetIndex() const {
    const auto found = std::ranges::find(routeSets(), selectedRouteSetID(), &MIDIRouteSet::id);
    if (found == routeSets().end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - routeSets().begin());
}

}  // namespace corvel
