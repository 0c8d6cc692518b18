#include "core/routes/MIDIRouteSet.hpp"

#include "core/support/Hash.hpp"

std::size_t std::hash<corvel::MIDIRouteSet>::operator()(const corvel::MIDIRouteSet& routeSet) const noexcept {
    return corvel::hashOf(routeSet.id, routeSet.name, routeSet.routes);
}
