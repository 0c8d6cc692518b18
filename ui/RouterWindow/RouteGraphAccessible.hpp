#pragma once

#include "core/support/UUID.hpp"

#include <QAccessible>

#include <vector>

namespace corvel::ui {

class RouteGraph;

/// Has assistive technologies see every line of a `RouteGraph` as a button named after its endpoints, which selects the
/// connection. Once is enough; more does no harm.
void installRouteGraphAccessibility();

/// Tells assistive technologies that these lines of the stage have come or are about to go. They are in its list.
void announceRouteLines(RouteGraph& graph, const std::vector<UUID>& routeIDs, QAccessible::Event what);

}  // namespace corvel::ui
