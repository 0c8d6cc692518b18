#include "core/routes/MIDIRouteSetDocument.hpp"

#include "core/support/Hash.hpp"

#include <algorithm>
#include <utility>

namespace corvel {

MIDIRouteSetDocument::MIDIRouteSetDocument(std::optional<UUID> givenSelectedSetID,
                                           std::vector<MIDIRouteSet> givenRouteSets)
    : routeSets(std::move(givenRouteSets)) {
    if (routeSets.empty()) {
        routeSets.push_back(MIDIRouteSet{UUID::random(), kDefaultSetName, {}});
    }
    const bool namesASet =
        givenSelectedSetID && std::ranges::find(routeSets, *givenSelectedSetID, &MIDIRouteSet::id) != routeSets.end();
    selectedSetID = namesASet ? *givenSelectedSetID : routeSets.front().id;
}

MIDIRouteSetDocument MIDIRouteSetDocument::singleSet(std::vector<MIDIRoute> routes, std::string name) {
    MIDIRouteSet routeSet{UUID::random(), std::move(name), std::move(routes)};
    const UUID selection = routeSet.id;
    std::vector<MIDIRouteSet> sets;
    sets.push_back(std::move(routeSet));
    return {selection, std::move(sets)};
}

MIDIRouteSetDocument MIDIRouteSetDocument::normalized() const {
    return {selectedSetID, routeSets};
}

const MIDIRouteSet& MIDIRouteSetDocument::selectedRouteSet() const {
    const auto found = std::ranges::find(routeSets, selectedSetID, &MIDIRouteSet::id);
    return found == routeSets.end() ? routeSets.front() : *found;
}

}  // namespace corvel

std::size_t std::hash<corvel::MIDIRouteSetDocument>::operator()(
    const corvel::MIDIRouteSetDocument& document) const noexcept {
    return corvel::hashOf(document.selectedSetID, document.routeSets);
}
