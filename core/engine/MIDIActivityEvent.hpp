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
    /// When the send succeeded.
    Instant timestamp;
    /// The bytes as sent.
    MIDIBytes bytes;
    /// The kind of the message that `bytes` start with.
    MIDIMessageKind messageKind = MIDIMessageKind::unknown;

    MIDIActivityEvent(const UUID& eventID, const UUID& carriedBy, Instant sentAt, MIDIBytes sentBytes)
        : id(eventID),
          routeID(carriedBy),
          timestamp(sentAt),
          bytes(std::move(sentBytes)),
          messageKind(detectMessageKind(bytes)) {}

    bool operator==(const MIDIActivityEvent&) const = default;
};

}  // namespace corvel
