#pragma once

#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace corvel {

/// A named set of connections.
struct MIDIRouteSet {
    UUID id;
    /// The name that the user sees. Not checked here.
    std::string name;
    /// The connections in the user's order.
    std::vector<MIDIRoute> routes;

    bool operator==(const MIDIRouteSet&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::MIDIRouteSet> {
    std::size_t operator()(const corvel::MIDIRouteSet& routeSet) const noexcept;
};
