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

/// One direction of a port that users can connect.
struct Endpoint {
    MIDIObjectRef ref = 0;
    MIDIEndpointDirection direction = MIDIEndpointDirection::source;
    PortAddress address;
    /// Whether it belongs to a sound card.
    bool isHardware = false;
};

/// The properties of an endpoint that stay the same while its port exists.
struct EndpointIdentity {
    Endpoint endpoint;
    std::int32_t uniqueID = 0;
    /// Whether client or port had only a default name when the ID was made.
    bool isProvisional = false;
    /// Set when a second device of the same name appears, and then kept, so that a name never changes to another
    /// device.
    bool showsPlace = false;
};

/// Knows the sequencer's ports. Gives each endpoint a reference that is not reused for 4,096 endpoints, and a unique ID
/// and a name that a returning device or program gets again.
///
/// Only keeps records, without access to the sequencer. The cost of adding a port does not depend on the number of
/// other ports.
class EndpointRegistry {
public:
    using CardReader = std::function<SoundCard(int card)>;

    explicit EndpointRegistry(CardReader readCard) : readCard_(std::move(readCard)) {}

    /// Adds a port, or updates one that may have changed.
    void update(const PortDescription& description);

    /// Replaces all ports; ports that are not in the list have ended. With `mayHaveMissedPorts`, a port with other
    /// names counts as a new port at an old address. Returns the addresses of the ports that have ended.
    std::vector<PortAddress> replaceAll(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts);

    /// Whether the card's details can be read. Its ports may be announced earlier. Without the details they would get
    /// other IDs.
    [[nodiscard]] bool isCardComplete(int card) { return !cardWithNumber(card).id.empty(); }

    /// Removes the port at this address. The next port there is a new one.
    void portEnded(const PortAddress& address);

    /// Removes all ports. The ports that come next are new ones.
    void clear();

    /// The addresses of a client's ports.
    [[nodiscard]] std::vector<PortAddress> portsOf(int client) const;

    /// The endpoint of the port at this address, or the endpoint with this reference; null if there is none. Valid
    /// until the port changes.
    [[nodiscard]] const Endpoint* find(const PortAddress& address, MIDIEndpointDirection direction) const;
    [[nodiscard]] const Endpoint* find(MIDIObjectRef ref) const;

    /// All endpoints in the order of client and port, and the devices: one for each sound card that has clients, in
    /// card order, then one for each kernel client without a card. Programs are not devices. Calls `pause` regularly
    /// while it works; `pause` must not change any port.
    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(absl::FunctionRef<void()> pause = [] {});

    /// Whether users can connect the port in this direction.
    [[nodiscard]] static bool isEndpoint(const PortDescription& port, MIDIEndpointDirection direction);

private:
    struct Port {
        PortDescription description;
        /// The names without the parts that differ between two starts of a program.
        std::string clientName;
        std::string name;
        std::string displayName;
        /// By direction; no value if the port is no endpoint in that direction.
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
    /// Kernel clients with their endpoints, by card and client; those without a card come last.
    [[nodiscard]] std::map<std::pair<int, int>, MIDIEntityRecord> entities(const MIDISetup& setup) const;
    [[nodiscard]] std::vector<MIDIDeviceRecord> devices(const MIDISetup& setup);

    CardReader readCard_;
    /// The cards of the present ports. Cached, because sysfs and drivers are slow and MIDI waits meanwhile.
    std::map<int, SoundCard> cards_;
    std::uint32_t nextGeneration_ = 0;
    Ports ports_;
    std::unordered_map<MIDIObjectRef, EndpointIdentity*> identities_;
    std::unordered_set<std::int32_t> uniqueIDs_;
    /// Built on demand; null after a change.
    std::shared_ptr<const MIDISetup> setup_;
};

}  // namespace corvel::hosts
