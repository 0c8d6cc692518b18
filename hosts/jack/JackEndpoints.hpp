#pragma once

#include "core/host/MIDIHost.hpp"
#include "hosts/jack/JackPort.hpp"
#include "hosts/jack/JackWorker.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace corvel::hosts {

/// Knows the server's ports as endpoints. Gives each a reference that is never reused, and a unique ID that the same
/// port of a client of the same name gets again. Leaves out Corvel's own ports and, if requested, ports that mirror the
/// ALSA sequencer's. Only keeps records; one thread at a time.
class JackEndpoints {
public:
    struct Endpoint {
        MIDIObjectRef ref = 0;
        MIDIEndpointDirection direction = MIDIEndpointDirection::source;
        /// The port's present name on the server.
        std::string portName;
    };

    /// The changes of a snapshot.
    struct Change {
        std::vector<Endpoint> added;
        std::vector<Endpoint> removed;
        /// Whether something else has changed: a name, or the server.
        bool hasChangedProperties = false;

        [[nodiscard]] bool isNone() const { return added.empty() && removed.empty() && !hasChangedProperties; }
    };

    explicit JackEndpoints(bool leavesOutALSAMirrors) : leavesOutALSAMirrors_(leavesOutALSAMirrors) {}

    /// Replaces all ports. An endpoint whose port was renamed keeps reference and ID.
    Change replaceAll(JackSnapshot snapshot);

    /// Null if there is none. Valid until the next change.
    [[nodiscard]] const Endpoint* find(MIDIObjectRef ref) const;

    [[nodiscard]] std::shared_ptr<const MIDISetup> setup();

private:
    using Key = std::pair<MIDIEndpointDirection, std::string>;

    /// The number of ports by the names that their clients asked for.
    using BaseCounts = std::map<Key, unsigned>;

    struct Known {
        Endpoint endpoint;
        std::int32_t uniqueID = 0;
        JackPort port;
    };

    void rename(const std::string& from, const std::string& to);
    [[nodiscard]] static BaseCounts countBases(const std::vector<JackPort>& ports);
    [[nodiscard]] std::int32_t uniqueIDFor(const JackPort& port, const BaseCounts& baseCounts);
    [[nodiscard]] MIDIEndpointRecord record(const Known& known, bool isOnlyPort) const;
    [[nodiscard]] std::vector<MIDIEndpointRecord> records(MIDIEndpointDirection direction) const;

    const bool leavesOutALSAMirrors_;
    std::string serverName_;
    std::map<Key, Known> known_;
    std::map<MIDIObjectRef, Key> keys_;
    std::unordered_set<std::int32_t> uniqueIDs_;
    MIDIObjectRef nextRef_ = 1;
    std::shared_ptr<const MIDISetup> setup_;
};

}  // namespace corvel::hosts
