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

/// Knows the server's ports as endpoints: gives each a reference that is never used again, and a unique ID that the
/// same port of a client of the same name gets again. Corvel's own ports are none, nor are those that mirror the ALSA
/// sequencer's, where they are to be left out. Pure bookkeeping; one thread at a time.
class JackEndpoints {
public:
    struct Endpoint {
        MIDIObjectRef ref = 0;
        MIDIEndpointDirection direction = MIDIEndpointDirection::source;
        /// By which the server knows the port now.
        std::string portName;
    };

    /// What a snapshot has changed.
    struct Change {
        std::vector<Endpoint> added;
        std::vector<Endpoint> removed;
        /// Whether something else is different: a name, the server.
        bool hasChangedProperties = false;

        [[nodiscard]] bool isNone() const { return added.empty() && removed.empty() && !hasChangedProperties; }
    };

    explicit JackEndpoints(bool leavesOutALSAMirrors) : leavesOutALSAMirrors_(leavesOutALSAMirrors) {}

    /// Takes over the ports that there are now. An endpoint whose port has another name keeps reference and ID.
    Change replaceAll(JackSnapshot snapshot);

    /// Null if there is none. Valid until the next change.
    [[nodiscard]] const Endpoint* find(MIDIObjectRef ref) const;

    [[nodiscard]] std::shared_ptr<const MIDISetup> setup();

private:
    using Key = std::pair<MIDIEndpointDirection, std::string>;

    /// How many ports there are by the names that their clients asked for.
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
