#include "hosts/alsa/EndpointRegistry.hpp"

#include "hosts/EndpointNaming.hpp"
#include "hosts/alsa/ObjectReference.hpp"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <limits>
#include <set>
#include <string_view>
#include <utility>

namespace corvel::hosts {

namespace {

/// Replaces a card's number; sorts after all cards.
constexpr int kNoCard = std::numeric_limits<int>::max();

/// Ports listed between two pauses.
constexpr std::size_t kPortsPerPause = 64;

constexpr std::array kDirections{MIDIEndpointDirection::source, MIDIEndpointDirection::destination};

std::size_t indexOf(MIDIEndpointDirection direction) {
    return direction == MIDIEndpointDirection::source ? 0 : 1;
}

/// Whether the client or the port has the sequencer's default name, because its program has not named it yet.
bool lacksName(const PortDescription& port) {
    return port.clientName == "Client-" + std::to_string(port.address.client) ||
           port.portName == "port-" + std::to_string(port.address.port);
}

/// The kernel's client that sends back what it receives.
bool isLoopback(const PortDescription& port) {
    return port.isKernelClient && port.card < 0 && port.clientName == "Midi Through";
}

/// If endpoints of one client, from `first` on, would have the same name, appends their port's number.
void numberEqualNames(std::vector<MIDIEndpointRecord>& records, std::size_t first) {
    if (records.size() - first < 2) {
        return;
    }
    std::unordered_map<std::string_view, int> counts;
    for (std::size_t index = first; index < records.size(); ++index) {
        ++counts[*records[index].displayName];
    }
    std::vector<MIDIEndpointRecord*> shared;
    for (std::size_t index = first; index < records.size(); ++index) {
        if (counts[*records[index].displayName] > 1) {
            shared.push_back(&records[index]);
        }
    }
    for (MIDIEndpointRecord* const record : shared) {
        *record->displayName += " (" + std::to_string(portAddress(record->ref).port) + ")";
    }
}

}  // namespace

bool EndpointRegistry::isEndpoint(const PortDescription& port, MIDIEndpointDirection direction) {
    constexpr unsigned kReadable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    constexpr unsigned kWritable = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
    // The groups of a newer device also have ports of their own, so a port that carries all groups would double them.
    constexpr unsigned kHidden = SND_SEQ_PORT_CAP_NO_EXPORT | PortDescription::kUMPEndpoint;
    const unsigned wanted = direction == MIDIEndpointDirection::source ? kReadable : kWritable;
    return port.address.client != SND_SEQ_CLIENT_SYSTEM && (port.capabilities & kHidden) == 0 &&
           (port.capabilities & wanted) == wanted;
}

void EndpointRegistry::update(const PortDescription& description) {
    Port& port = ports_[description.address];
    if (port.description == description) {
        return;
    }
    port.description = description;
    port.clientName = stableName(description.clientName, description.processID);
    port.name = stableName(description.portName, description.processID);
    port.displayName = combinedName(port.clientName, port.name);
    for (const MIDIEndpointDirection direction : kDirections) {
        updateIdentity(port, direction);
    }
    setup_ = nullptr;
}

void EndpointRegistry::updateIdentity(Port& port, MIDIEndpointDirection direction) {
    const PortDescription& description = port.description;
    std::optional<EndpointIdentity>& identity = port.identities[indexOf(direction)];
    if (!isEndpoint(description, direction)) {
        endIdentity(identity);
        return;
    }
    const bool isNew = !identity;
    if (isNew) {
        identity.emplace();
        identity->endpoint = {.ref = endpointReference(description.address, direction, nextGeneration_++),
                              .direction = direction,
                              .address = description.address,
                              .isHardware = description.card >= 0};
        identities_[identity->endpoint.ref] = &*identity;
    }
    if (isNew || identity->isProvisional) {
        uniqueIDs_.erase(identity->uniqueID);
        const SoundCard* const card = cardOf(description);
        identity->uniqueID = takeFreeUniqueID(uniqueEndpointID(
            direction, card != nullptr ? card->identity() : port.clientName, description.address.port, port.name));
        identity->isProvisional = lacksName(description);
    }
}

void EndpointRegistry::endIdentity(std::optional<EndpointIdentity>& identity) {
    if (identity) {
        identities_.erase(identity->endpoint.ref);
        uniqueIDs_.erase(identity->uniqueID);
        identity.reset();
    }
}

std::vector<PortAddress> EndpointRegistry::replaceAll(const std::vector<PortDescription>& ports,
                                                      bool mayHaveMissedPorts) {
    std::vector<PortAddress> ended;
    std::set<PortAddress> listed;
    for (const PortDescription& port : ports) {
        listed.insert(port.address);
        const auto known = ports_.find(port.address);
        if (mayHaveMissedPorts && known != ports_.end() &&
            (known->second.description.clientName != port.clientName ||
             known->second.description.portName != port.portName)) {
            ended.push_back(port.address);
            endPort(known);
        }
    }
    for (auto port = ports_.begin(); port != ports_.end();) {
        const auto next = std::next(port);
        if (!listed.contains(port->first)) {
            ended.push_back(port->first);
            endPort(port);
        }
        port = next;
    }
    if (mayHaveMissedPorts) {
        cards_.clear();
        setup_ = nullptr;
    }
    for (const PortDescription& port : ports) {
        update(port);
    }
    return ended;
}

void EndpointRegistry::portEnded(const PortAddress& address) {
    if (const auto port = ports_.find(address); port != ports_.end()) {
        endPort(port);
    }
}

void EndpointRegistry::endPort(Ports::iterator port) {
    for (std::optional<EndpointIdentity>& identity : port->second.identities) {
        endIdentity(identity);
    }
    const int card = port->second.description.card;
    ports_.erase(port);
    const auto isOfCard = [card](const auto& entry) { return entry.second.description.card == card; };
    if (card >= 0 && std::ranges::none_of(ports_, isOfCard)) {
        // Another card may get the number next. Until its last port has ended, it must not be read again: a card that
        // is being removed has lost its details.
        cards_.erase(card);
    }
    setup_ = nullptr;
}

void EndpointRegistry::clear() {
    cards_.clear();
    identities_.clear();
    uniqueIDs_.clear();
    ports_.clear();
    setup_ = nullptr;
}

std::vector<PortAddress> EndpointRegistry::portsOf(int client) const {
    std::vector<PortAddress> addresses;
    for (auto port = ports_.lower_bound({client, 0}); port != ports_.end() && port->first.client == client; ++port) {
        addresses.push_back(port->first);
    }
    return addresses;
}

const Endpoint* EndpointRegistry::find(const PortAddress& address, MIDIEndpointDirection direction) const {
    const auto port = ports_.find(address);
    if (port == ports_.end()) {
        return nullptr;
    }
    const std::optional<EndpointIdentity>& identity = port->second.identities[indexOf(direction)];
    return identity ? &identity->endpoint : nullptr;
}

const Endpoint* EndpointRegistry::find(MIDIObjectRef ref) const {
    const auto found = identities_.find(ref);
    return found != identities_.end() ? &found->second->endpoint : nullptr;
}

const SoundCard* EndpointRegistry::cardOf(const PortDescription& port) {
    return port.card >= 0 ? &cardWithNumber(port.card) : nullptr;
}

const SoundCard& EndpointRegistry::cardWithNumber(int card) {
    SoundCard& known = cards_[card];
    if (known.id.empty()) {
        known = readCard_(card);
    }
    return known;
}

std::int32_t EndpointRegistry::takeFreeUniqueID(std::int32_t wanted) {
    while (wanted == 0 || !uniqueIDs_.insert(wanted).second) {
        wanted =
            wanted == std::numeric_limits<std::int32_t>::max() ? std::numeric_limits<std::int32_t>::min() : wanted + 1;
    }
    return wanted;
}

std::shared_ptr<const MIDISetup> EndpointRegistry::setup(absl::FunctionRef<void()> pause) {
    if (!setup_) {
        MIDISetup setup;
        setup.sources = records(MIDIEndpointDirection::source, pause);
        setup.destinations = records(MIDIEndpointDirection::destination, pause);
        setup.devices = devices(setup);
        setup_ = std::make_shared<const MIDISetup>(std::move(setup));
    }
    return setup_;
}

std::vector<MIDIEndpointRecord> EndpointRegistry::records(MIDIEndpointDirection direction,
                                                          absl::FunctionRef<void()> pause) {
    std::vector<MIDIEndpointRecord> records;
    records.reserve(identities_.size());
    std::size_t clientStart = 0;
    int client = -1;
    for (auto& [address, port] : ports_) {
        const std::optional<EndpointIdentity>& identity = port.identities[indexOf(direction)];
        if (!identity) {
            continue;
        }
        if (address.client != client) {
            numberEqualNames(records, clientStart);
            clientStart = records.size();
            client = address.client;
        }
        if (records.size() % kPortsPerPause == kPortsPerPause - 1) {
            pause();
        }
        const SoundCard* const card = cardOf(port.description);
        records.push_back({{.ref = identity->endpoint.ref,
                            .displayName = port.displayName,
                            .name = port.name,
                            .isOffline = (port.description.capabilities & PortDescription::kInactive) != 0},
                           identity->uniqueID,
                           card != nullptr && card->usb ? card->usb->manufacturer : std::nullopt,
                           portReference(address),
                           isLoopback(port.description)});
    }
    numberEqualNames(records, clientStart);
    addPlaces(records);
    return records;
}

/// If endpoints of several cards would have the same name, appends their card's place.
void EndpointRegistry::addPlaces(std::vector<MIDIEndpointRecord>& records) {
    struct Candidate {
        MIDIEndpointRecord* record;
        EndpointIdentity* identity;
        int card;
    };
    std::vector<Candidate> candidates;
    std::map<std::string_view, std::set<int>> cardsByName;
    for (MIDIEndpointRecord& record : records) {
        EndpointIdentity* const identity = identities_.at(record.ref);
        if (const int card = ports_.at(identity->endpoint.address).description.card; card >= 0) {
            candidates.push_back({&record, identity, card});
            cardsByName[*record.displayName].insert(card);
        }
    }
    for (const Candidate& candidate : candidates) {
        bool& showsPlace = candidate.identity->showsPlace;
        showsPlace = showsPlace || cardsByName[*candidate.record->displayName].size() > 1;
    }
    for (const Candidate& candidate : candidates) {
        if (candidate.identity->showsPlace) {
            *candidate.record->displayName += " (" + cards_.at(candidate.card).place() + ")";
        }
    }
}

std::map<std::pair<int, int>, MIDIEntityRecord> EndpointRegistry::entities(const MIDISetup& setup) const {
    std::map<std::pair<int, int>, MIDIEntityRecord> entities;
    for (const auto& [address, port] : ports_) {
        const PortDescription& description = port.description;
        if (!description.isKernelClient || address.client == SND_SEQ_CLIENT_SYSTEM) {
            continue;
        }
        MIDIEntityRecord& entity = entities[{description.card >= 0 ? description.card : kNoCard, address.client}];
        entity.ref = objectReference(ObjectKind::entity, address.client);
        entity.name = port.clientName;
        for (const MIDIEndpointDirection direction : kDirections) {
            if (const Endpoint* const endpoint = find(address, direction)) {
                const bool isSource = direction == MIDIEndpointDirection::source;
                const std::vector<MIDIEndpointRecord>& records = isSource ? setup.sources : setup.destinations;
                (isSource ? entity.sources : entity.destinations)
                    .push_back(*std::ranges::find(records, endpoint->ref, &MIDIObjectRecord::ref));
            }
        }
    }
    return entities;
}

std::vector<MIDIDeviceRecord> EndpointRegistry::devices(const MIDISetup& setup) {
    std::vector<MIDIDeviceRecord> devices;
    int lastCard = -1;
    for (auto& [key, entity] : entities(setup)) {
        const int card = key.first;
        if (card == kNoCard || card != lastCard) {
            MIDIDeviceRecord device;
            device.ref = objectReference(ObjectKind::device, static_cast<int>(devices.size()));
            device.name = card != kNoCard ? cardWithNumber(card).name : entity.name;
            devices.push_back(std::move(device));
            lastCard = card;
        }
        devices.back().entities.push_back(entity);
    }
    return devices;
}

}  // namespace corvel::hosts
