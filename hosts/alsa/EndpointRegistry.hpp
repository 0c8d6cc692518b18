#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/host/MIDIHost.hpp"
#include "hosts/alsa/PortDescription.hpp"
#include "hosts/alsa/SoundCard.hpp"

#include <absl/functional/function_ref.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace corvel::hosts {

/// One direction of a port that the user can connect.
struct Endpoint {
    MIDIObjectRef ref = 0;
    MIDIEndpointDirection direction = MIDIEndpointDirection::source;
    PortAddress address;
    /// Whether a sound card carries it.
    bool isHardware = false;
};

/// What stays with an endpoint as long as its port lives.
struct EndpointIdentity {
    Endpoint endpoint;
    std::int32_t uniqueID = 0;
    /// Whether client or port had no name of its own when the ID was made.
    bool isProvisional = false;
    /// Set when a second device of the same name appears, and kept, so that a name never comes to mean the other
    /// device.
    bool showsPlace = false;
};

/// Knows the sequencer's ports: gives each endpoint a reference that is not reused for 8,192 endpoints, and a unique ID
/// and a name that a returning device or program gets again.
///
/// Pure bookkeeping, without a sequencer. Taking over a port costs what that port costs, whatever else there is.
class EndpointRegistry {
public:
    using CardReader = std::function<SoundCard(int card)>;

    explicit EndpointRegistry(CardReader readCard) : readCard_(std::move(readCard)) {}

    /// Takes over a port that is new or may have changed.
    void update(const PortDescription& description);

    /// Takes over all ports that there are now; those that are not among them have ended. With `mayHaveMissedPorts`, a
    /// port whose names differ counts as a new one at an old address. Returns the addresses of the ports that have
    /// ended.
    std::vector<PortAddress> replaceAll(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts);

    /// Whether the card's details can be read. Its ports are announced before it has them, and get other IDs without.
    [[nodiscard]] bool isCardComplete(int card) { return !cardWithNumber(card).id.empty(); }

    /// Forgets the port at this address; the next one there is another port.
    void portEnded(const PortAddress& address);

    /// Forgets all ports; the ports that come next are others.
    void clear();

    /// The addresses of a client's ports.
    [[nodiscard]] std::vector<PortAddress> portsOf(int client) const;

    /// The endpoint of the port at this address, or the endpoint with this reference; null if there is none. Valid
    /// until the port changes.
    [[nodiscard]] const Endpoint* find(const PortAddress& address, MIDIEndpointDirection direction) const;
    [[nodiscard]] const Endpoint* find(MIDIObjectRef ref) const;

    /// All endpoints in the order of client and port, and the devices: one for each sound card that has clients, in
    /// card order, then one for each kernel client without a card; programs are no devices. Calls `pause` every few
    /// ports while it works; that must not change any.
    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(absl::FunctionRef<void()> pause = [] {});

    /// Whether the port can be connected by a user in this direction.
    [[nodiscard]] static bool isEndpoint(const PortDescription& port, MIDIEndpointDirection direction);

private:
    struct Port {
        PortDescription description;
        /// The names without what differs from one start of a program to the next.
        std::string clientName;
        std::string name;
        std::string displayName;
        /// By direction; none where the port is no endpoint.
        std::array<std::optional<EndpointIdentity>, 2> identities;
    };

    using Ports = std::map<PortAddress, Port>;

    void updateIdentity(Port& port, MIDIEndpointDirection direction);
    void endIdentity(std::optional<EndpointIdentity>& identity);
    void endPort(Ports::iterator port);
    [[nodiscard]] const SoundCard* cardOf(const PortDescription& port);
    [[nodiscard]] const SoundCard& cardWithNumber(int card);
    [[nodiscard]] std::int32_t takeFreeUniqueID(std::int32_t wanted);
    [[nodiscard]] std::vector<MIDIEndpointRecord> records(MIDIEndpointDirection direction,
                                                          absl::FunctionRef<void()> pause);
    void addPlaces(std::vector<MIDIEndpointRecord>& records);
    /// Kernel clients with their endpoints, by card, those without one last, and by client.
    [[nodiscard]] std::map<std::pair<int, int>, MIDIEntityRecord> entities(const MIDISetup& setup) const;
    [[nodiscard]] std::vector<MIDIDeviceRecord> devices(const MIDISetup& setup);

    CardReader readCard_;
    /// The cards of the ports that there are: sysfs and drivers are slow, and asked while MIDI waits.
    std::map<int, SoundCard> cards_;
    std::uint32_t nextGeneration_ = 0;
    Ports ports_;
    std::unordered_map<MIDIObjectRef, EndpointIdentity*> identities_;
    std::unordered_set<std::int32_t> uniqueIDs_;
    /// Made when it is asked for; null after a change.
    std::shared_ptr<const MIDISetup> setup_;
};

}  // namespace corvel::hosts
