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

/// A value and its index in its list.
template <typename Value>
struct Placed {
    std::size_t index = 0;
    Value value;
};

/// The state of a connection that undo or redo restores.
struct ConnectionChange {
    UUID id;
    /// Empty if the connection did not exist; several if a hand-written document has several with the same ID.
    std::vector<Placed<MIDIRoute>> connections;
    /// The assignment that was active when this state was replaced. If another one is active now, that one stays
    /// active, because switching is not an edit.
    std::optional<UUID> activeVariantID;
};

/// The state of a set that undo or redo restores.
struct RouteSetChange {
    /// Empty if the set did not exist.
    std::optional<Placed<MIDIRouteSet>> routeSet;
    /// The current set in this state, and the current set when the state was replaced. If another set is current now,
    /// it stays current, because switching is not an edit.
    UUID selectedSetID;
    UUID leftSetID;
};

/// The name of a set that undo or redo restores.
struct RouteSetNameChange {
    std::string name;
};

/// An edit of the document, with the state that undo or redo restores.
struct DocumentEdit {
    /// What the user did, as in menus: "Delete Connection".
    std::string name;
    /// The edited set, or the set that holds the edited connection.
    UUID setID;
    std::variant<ConnectionChange, RouteSetChange, RouteSetNameChange> change;
};

}  // namespace corvel
