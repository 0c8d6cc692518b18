#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "core/messages/MIDIMessageKind.hpp"
#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"

#include <utility>

namespace corvel {

/// One message that was delivered through one connection.
struct MIDIActivityEvent {
    /// New for every event.
    UUID id;
    /// The connection that carried it.
    UUID routeID;
    /// When the send had succeeded.
    Instant timestamp;
    /// The bytes as sent.
    MIDIBytes bytes;
    /// Always the kind that `bytes` begin with.
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;

    MIDIActivityEvent(const UUID& id, const UUID& routeID, Instant timestamp, MIDIBytes bytes)
        : id(id),
          routeID(routeID),
          timestamp(timestamp),
          bytes(std::move(bytes)),
          messageKind(detectMessageKind(this->bytes)) {}

    bool operator==(const MIDIActivityEvent&) const = default;
};

}  // namespace corvel
