#pragma once

#include "core/routes/MIDIRouteSet.hpp"
#include "core/support/UUID.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvel {

/// All connection sets and which of them is selected: everything that is saved.
struct MIDIRouteSetDocument {
    /// The name of the set in a document that was given none.
    static constexpr const char* kDefaultSetName = "Default";

    /// The id of one of `routeSets`.
    UUID selectedSetID;
    /// The sets in the user's order; never empty.
    std::vector<MIDIRouteSet> routeSets;

    /// Normalises: no sets become one empty set "Default", and an absent or unknown selection becomes the first set.
    MIDIRouteSetDocument(std::optional<UUID> selectedSetID, std::vector<MIDIRouteSet> routeSets);

    /// A document of one new set with these routes, selected.
    [[nodiscard]] static MIDIRouteSetDocument singleSet(std::vector<MIDIRoute> routes, std::string name);

    /// The same normalisation applied to this value, whose fields may have been edited.
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
