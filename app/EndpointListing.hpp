#pragma once

#include "core/engine/CoreMIDIRouterEngine.hpp"

#include <string>

/// The endpoints as text on standard output; both forms end with a line feed.
namespace corvel::EndpointListing {

/// For people: a heading for each direction and a line for each endpoint, in columns.
[[nodiscard]] std::string table(const MIDIEndpoints& endpoints);

/// For programs: an object with "sources" and "destinations", each an array of objects with "id", "displayName",
/// "manufacturer" (null if there is none) and "isOnline".
[[nodiscard]] std::string json(const MIDIEndpoints& endpoints);

}  // namespace corvel::EndpointListing
