#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "core/support/UUID.hpp"

#include <cstdint>

namespace corvel {

/// One packet's bytes as one connection sends them.
struct RoutedMIDIMessage {
    /// The connection's identity.
    UUID routeID;
    /// Unique ID of the destination endpoint.
    std::int32_t destinationID = 0;
    /// The packet's bytes after the connection's channel transform.
    MIDIBytes bytes;

    bool operator==(const RoutedMIDIMessage&) const = default;
};

}  // namespace corvel
