#pragma once

#include "core/support/UUID.hpp"

#include <QAccessible>

#include <vector>

namespace corvel::ui {

class RouteGraph;

/// Makes assistive technologies see every line of a `RouteGraph` as a button that is named after its endpoints and
/// selects the connection. May be called more than once.
void installRouteGraphAccessibility();

/// Tells assistive technologies that lines of the stage were added or are about to be removed. The lines must be in its
/// list.
void announceRouteLines(RouteGraph& graph, const std::vector<UUID>& routeIDs, QAccessible::Event what);

}  // namespace corvel::ui
