#pragma once

#include "core/routes/MIDIRouteSet.hpp"
#include "core/support/UUID.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvel {

/// All connection sets and the selected one: everything that is saved.
struct MIDIRouteSetDocument {
    /// The name of the set in a document without sets.
    static constexpr const char* kDefaultSetName = "Default";

    /// The id of one of `routeSets`.
    UUID selectedSetID;
    /// The sets in the user's order; never empty.
    std::vector<MIDIRouteSet> routeSets;

    /// Normalises: an empty list becomes one empty set "Default", and a missing or unknown selection becomes the first
    /// set.
    MIDIRouteSetDocument(std::optional<UUID> selectedSetID, std::vector<MIDIRouteSet> routeSets);

    /// A document with one new, selected set with these routes.
    [[nodiscard]] static MIDIRouteSetDocument singleSet(std::vector<MIDIRoute> routes, std::string name);

    /// This value, normalised; its fields may have been edited.
    [[nodiscard]] MIDIRouteSetDocument normalized() const;

    /// The first set whose id is `selectedSetID`, otherwise the first set. Precondition: there is a set.
    [[nodiscard]] const MIDIRouteSet& selectedRouteSet() const;

    bool operator==(const MIDIRouteSetDocument&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::MIDIRouteSetDocument> {
    std::size_t operator()(const corvel::MIDIRouteSetDocument& document) const noexcept;
};
