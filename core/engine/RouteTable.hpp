#pragma once

#include "core/engine/EndpointTraffic.hpp"
#include "core/engine/HeldNotes.hpp"
#include "core/host/MIDIHost.hpp"
#include "core/routes/ChannelMode.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace corvel {

/// Where packets go: the connections and the endpoints, brought together when either changes, so that a packet costs
/// one look-up however many there are. One thread at a time.
class RouteTable {
public:
    /// An enabled connection whose destination is there.
    struct Connection {
        UUID routeID;
        std::int32_t destinationID = 0;
        MIDIObjectRef destination = 0;
        ChannelMode channelMode;
        EndpointTraffic::Mark* traffic = nullptr;
        /// What the connection has sent on and not ended; null while that is not followed.
        HeldNotes* held = nullptr;
    };

    /// A source that is there, with its connections in the user's order.
    struct Source {
        EndpointTraffic::Mark* traffic = nullptr;
        std::vector<Connection> connections;
    };

    /// Messages that end what is held at a destination.
    struct Ending {
        MIDIObjectRef destination = 0;
        std::int32_t destinationID = 0;
        std::vector<MIDIBytes> messages;
    };

    /// An endpoint that is there.
    struct Endpoint {
        MIDIObjectRef ref = 0;
        std::int32_t id = 0;
    };

    // Each change gives the endings of held notes whose way it took away: the connection is gone or switched off, goes
    // from, to or on something else, or its source has vanished. A note that another connection holds at the same
    // place, too, goes on.
    [[nodiscard]] std::vector<Ending> setRoutes(std::vector<MIDIRoute> routes);
    [[nodiscard]] std::vector<Ending> setEndpoints(std::vector<Endpoint> sources,
                                                   const std::vector<Endpoint>& destinations);

    /// Whether held notes are followed; off at first. What was held before counts as ended.
    void setFollowsHeldNotes(bool followsHeldNotes);

    /// The source with this reference, or null. Valid until the next change.
    [[nodiscard]] const Source* find(MIDIObjectRef source) const;

    /// The destination's reference, or 0 if it is not there.
    [[nodiscard]] MIDIObjectRef destinationRef(std::int32_t id) const;

    /// What ends all that is known to be held at a destination. It counts as ended then.
    [[nodiscard]] std::vector<MIDIBytes> takeEndings(std::int32_t destinationID);

    /// The endpoints that had traffic since the last call. Any thread.
    [[nodiscard]] ActiveEndpoints takeTraffic() { return traffic_.take(); }

private:
    /// What has to stay the same for a note-off to arrive where its note-on did.
    struct Way {
        std::int32_t sourceID = 0;
        std::int32_t destinationID = 0;
        ChannelMode channelMode;

        bool operator==(const Way&) const = default;
    };
    using Ways = std::unordered_map<UUID, Way>;

    /// What a connection holds, and the way on which it went.
    struct Held {
        Way way;
        HeldNotes notes;
    };

    struct Destination {
        MIDIObjectRef ref = 0;
        EndpointTraffic::Mark* traffic = nullptr;
    };

    [[nodiscard]] static Way wayOf(const MIDIRoute& route);
    void resolve();
    [[nodiscard]] std::vector<Ending> endLostNotes();
    [[nodiscard]] Ways currentWays() const;

    std::vector<MIDIRoute> routes_;
    std::vector<Endpoint> sourceEndpoints_;
    /// By unique ID.
    std::unordered_map<std::int32_t, Destination> destinations_;
    bool followsHeldNotes_ = false;
    /// By the connection's ID.
    std::unordered_map<UUID, Held> held_;
    EndpointTraffic traffic_;
    /// By reference.
    std::unordered_map<MIDIObjectRef, Source> sources_;
};

}  // namespace corvel
