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

/// Where packets go. Joins connections and endpoints whenever either changes, so that a packet costs one lookup,
/// however many connections there are. One thread at a time.
class RouteTable {
public:
    /// An enabled connection whose destination is present.
    struct Connection {
        UUID routeID;
        std::int32_t destinationID = 0;
        MIDIObjectRef destination = 0;
        ChannelMode channelMode;
        EndpointTraffic::Mark* traffic = nullptr;
        /// What the connection has sent and not ended; null while held notes are not tracked.
        HeldNotes* held = nullptr;
    };

    /// A present source with its connections in the user's order.
    struct Source {
        EndpointTraffic::Mark* traffic = nullptr;
        std::vector<Connection> connections;
    };

    /// Messages that end held notes and pedals at a destination.
    struct Ending {
        MIDIObjectRef destination = 0;
        std::int32_t destinationID = 0;
        std::vector<MIDIBytes> messages;
    };

    /// A present endpoint.
    struct Endpoint {
        MIDIObjectRef ref = 0;
        std::int32_t id = 0;
    };

    // Each change returns the messages that end held notes whose path has ended: the connection was deleted or paused,
    // its source, destination or channel has changed, or its source has disappeared. A note goes on if another
    // connection also holds it at the same place.
    [[nodiscard]] std::vector<Ending> setRoutes(std::vector<MIDIRoute> routes);
    [[nodiscard]] std::vector<Ending> setEndpoints(std::vector<Endpoint> sources,
                                                   const std::vector<Endpoint>& destinations);

    /// Sets whether held notes are tracked; off at first. Notes that were held before count as ended.
    void setFollowsHeldNotes(bool followsHeldNotes);

    /// The source with this reference, or null. Valid until the next change.
    [[nodiscard]] const Source* find(MIDIObjectRef source) const;

    /// The destination's reference, or 0 if it is not present.
    [[nodiscard]] MIDIObjectRef destinationRef(std::int32_t id) const;

    /// The sources of all connections, also of paused ones, each once.
    [[nodiscard]] std::vector<MIDIObjectRef> usedSources() const;
    /// The destinations that connections from the sources lead to, each once.
    [[nodiscard]] std::vector<MIDIObjectRef> usedDestinations() const;

    /// The messages that end all notes and pedals known to be held at a destination. These then count as ended.
    [[nodiscard]] std::vector<MIDIBytes> takeEndings(std::int32_t destinationID);

    /// The endpoints that had traffic since the last call. Any thread.
    [[nodiscard]] ActiveEndpoints takeTraffic() { return traffic_.take(); }

private:
    /// The path of notes. A note-off arrives where its note-on did only while all of these stay the same.
    struct Way {
        std::int32_t sourceID = 0;
        std::int32_t destinationID = 0;
        ChannelMode channelMode;

        bool operator==(const Way&) const = default;
    };
    using Ways = std::unordered_map<UUID, Way>;

    /// The notes and pedals that a connection holds, and the path on which they were sent.
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
