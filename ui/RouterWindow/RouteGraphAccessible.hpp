#pragma once

namespace corvel::ui {

/// Has assistive technologies see every line of a `RouteGraph` as a button named after its endpoints, which selects the
/// connection. Once is enough; more does no harm.
void installRouteGraphAccessibility();

}  // namespace corvel::ui
