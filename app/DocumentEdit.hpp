#pragma once

#include "core/routes/MIDIRoute.hpp"
#include "core/routes/MIDIRouteSet.hpp"
#include "core/support/UUID.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace corvel {

/// A value with its place in the list that it belongs to.
template <typename Value>
struct Placed {
    std::size_t index = 0;
    Value value;
};

/// A connection on the other side of an edit.
struct ConnectionChange {
    UUID id;
    /// None if it does not exist there; several if a document written by hand gives several the same ID.
    std::vector<Placed<MIDIRoute>> connections;
    /// The assignment that is active on this side. The performer may have switched to another since, which stays.
    std::optional<UUID> activeVariantID;
};

/// A set on the other side of an edit.
struct RouteSetChange {
    /// None if it does not exist there.
    std::optional<Placed<MIDIRouteSet>> routeSet;
    /// The current set there and on this side. The performer may have gone to another since, which stays.
    UUID selectedSetID;
    UUID leftSetID;
};

/// A set's name on the other side of an edit.
struct RouteSetNameChange {
    std::string name;
};

/// An edit of the document that can be taken back, or made again: whichever side of it the document is not on.
struct DocumentEdit {
    /// What the user did, as in menus: "Delete Connection".
    std::string name;
    /// The set that is or holds what was edited.
    UUID setID;
    std::variant<ConnectionChange, RouteSetChange, RouteSetNameChange> change;
};

}  // namespace corvel
