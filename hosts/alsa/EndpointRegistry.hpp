#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/host/MIDIHost.hpp"
#include "hosts/alsa/PortDescription.hpp"
#include "hosts/alsa/SoundCard.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::hosts {

/// One direction of a port that the user can connect.
struct Endpoint {
    MIDIObjectRef ref = 0;
    MIDIEndpointDirection direction = MIDIEndpointDirection::source;
    PortAddress address;
    std::int32_t uniqueID = 0;
    std::string displayName;
    std::string name;
    std::optional<std::string> manufacturer;
    bool isOffline = false;
    /// The sound card, or -1 for programs and kernel clients without one.
    int card = -1;
    bool isKernelClient = false;
};

/// Knows the sequencer's endpoints: gives each a reference that none of the next thousands of ports gets, and a
/// unique ID and a name that a returning device or program gets again.
///
/// Pure bookkeeping, without a sequencer. A port lives until `portEnded`, or until an `update` does not list it.
class EndpointRegistry {
public:
    using CardReader = std::function<SoundCard(int card)>;

    explicit EndpointRegistry(CardReader readCard) : readCard_(std::move(readCard)) {}

    /// Takes over all ports that the sequencer has now, in the order of client and port; those that are no endpoints
    /// are left out. With `mayHaveMissedPorts`, a port whose names differ counts as a new one at an old address.
    void update(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts);

    /// Forgets the port at this address; whatever comes there next is another one.
    void portEnded(const PortAddress& address);

    /// Forgets all ports; whatever is listed next is another one.
    void clear();

    /// The reference of one direction of the port that lives at this address; made if the port is new.
    [[nodiscard]] MIDIObjectRef reference(const PortAddress& address, MIDIEndpointDirection direction);

    /// The same, 0 if the port is not known.
    [[nodiscard]] MIDIObjectRef knownReference(const PortAddress& address, MIDIEndpointDirection direction) const;

    [[nodiscard]] const std::vector<Endpoint>& sources() const { return sources_; }
    [[nodiscard]] const std::vector<Endpoint>& destinations() const { return destinations_; }

    /// The endpoint with this reference, or null when it is gone. Valid until the next change.
    [[nodiscard]] const Endpoint* find(MIDIObjectRef ref) const;

    /// Whether the port can be connected by a user in this direction.
    [[nodiscard]] static bool isEndpoint(const PortDescription& port, MIDIEndpointDirection direction);

private:
    using Key = std::pair<PortAddress, MIDIEndpointDirection>;

    /// What stays with an endpoint as long as its port lives.
    struct Life {
        MIDIObjectRef ref = 0;
        std::optional<std::int32_t> uniqueID;
        std::pair<std::string, std::string> names;
        /// Set when a like device appears, and kept, so that a name never comes to mean the other device.
        bool showsPlace = false;
    };

    Life& life(const PortAddress& address, MIDIEndpointDirection direction);
    void endMissingLives(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts);
    void readCards(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts);
    [[nodiscard]] std::vector<Endpoint> describe(const std::vector<PortDescription>& ports,
                                                 MIDIEndpointDirection direction);
    void placeLikeDevices(std::vector<Endpoint>& endpoints);
    [[nodiscard]] std::int32_t freeUniqueID(std::int32_t wanted) const;

    CardReader readCard_;
    /// What the cards said, kept as long as no port has ended: sysfs is slow, and asked while MIDI waits.
    std::map<int, SoundCard> cards_;
    std::uint32_t nextGeneration_ = 0;
    std::map<Key, Life> lives_;
    std::vector<Endpoint> sources_;
    std::vector<Endpoint> destinations_;
    std::map<MIDIObjectRef, std::pair<MIDIEndpointDirection, std::size_t>> places_;
};

}  // namespace corvel::hosts
