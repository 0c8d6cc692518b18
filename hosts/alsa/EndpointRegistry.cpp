#include "hosts/alsa/EndpointRegistry.hpp"

#include "hosts/alsa/EndpointNaming.hpp"
#include "hosts/alsa/ObjectReference.hpp"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <limits>
#include <set>

namespace corvel::hosts {

namespace {

/// The name of a port, without what differs from one start of its program to the next.
std::string portNameOf(const PortDescription& port) {
    return stableName(port.portName, port.processID);
}

std::string clientNameOf(const PortDescription& port) {
    return stableName(port.clientName, port.processID);
}

/// Ports of one client that would show the same name get their numbers behind it.
void numberLikePorts(std::vector<Endpoint>& endpoints) {
    std::map<std::pair<int, std::string>, int> count;
    for (const Endpoint& endpoint : endpoints) {
        ++count[{endpoint.address.client, endpoint.displayName}];
    }
    for (Endpoint& endpoint : endpoints) {
        if (count[{endpoint.address.client, endpoint.displayName}] > 1) {
            endpoint.displayName += " (" + std::to_string(endpoint.address.port) + ")";
        }
    }
}

}  // namespace

bool EndpointRegistry::isEndpoint(const PortDescription& port, MIDIEndpointDirection direction) {
    constexpr unsigned kReadable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
    constexpr unsigned kWritable = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
    // A group of a newer device is also reached through its own port: the one that stands for all would double it.
    constexpr unsigned kHidden = SND_SEQ_PORT_CAP_NO_EXPORT | PortDescription::kUMPEndpoint;
    const unsigned wanted = direction == MIDIEndpointDirection::source ? kReadable : kWritable;
    return port.address.client != SND_SEQ_CLIENT_SYSTEM && (port.capabilities & kHidden) == 0 &&
           (port.capabilities & wanted) == wanted;
}

void EndpointRegistry::update(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts) {
    endMissingLives(ports, mayHaveMissedPorts);

    readCards(ports, mayHaveMissedPorts);
    sources_ = describe(ports, MIDIEndpointDirection::source);
    destinations_ = describe(ports, MIDIEndpointDirection::destination);

    places_.clear();
    for (const std::vector<Endpoint>* endpoints : {&sources_, &destinations_}) {
        for (std::size_t index = 0; index < endpoints->size(); ++index) {
            const Endpoint& endpoint = (*endpoints)[index];
            places_[endpoint.ref] = {endpoint.direction, index};
        }
    }
}

void EndpointRegistry::readCards(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts) {
    std::map<int, SoundCard> cards;
    for (const PortDescription& port : ports) {
        if (port.card >= 0 && !cards.contains(port.card)) {
            const auto known = cards_.find(port.card);
            const bool isKnown = known != cards_.end() && !mayHaveMissedPorts;
            cards.emplace(port.card, isKnown ? known->second : readCard_(port.card));
        }
    }
    cards_ = std::move(cards);
}

void EndpointRegistry::endMissingLives(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts) {
    std::map<PortAddress, const PortDescription*> byAddress;
    for (const PortDescription& port : ports) {
        byAddress[port.address] = &port;
    }
    std::erase_if(lives_, [&](const auto& entry) {
        const auto& [key, life] = entry;
        const auto found = byAddress.find(key.first);
        if (found == byAddress.end() || !isEndpoint(*found->second, key.second)) {
            return true;
        }
        return mayHaveMissedPorts && life.names != std::pair(found->second->clientName, found->second->portName);
    });
}

std::vector<Endpoint> EndpointRegistry::describe(const std::vector<PortDescription>& ports,
                                                 MIDIEndpointDirection direction) {
    std::vector<Endpoint> endpoints;
    for (const PortDescription& port : ports) {
        if (!isEndpoint(port, direction)) {
            continue;
        }
        const auto card = cards_.find(port.card);
        const SoundCard* soundCard = card != cards_.end() ? &card->second : nullptr;
        const std::string clientName = clientNameOf(port);
        const std::string portName = portNameOf(port);
        Life& portLife = life(port.address, direction);
        portLife.names = {port.clientName, port.portName};
        if (!portLife.uniqueID) {
            portLife.uniqueID = freeUniqueID(uniqueEndpointID(
                direction, soundCard != nullptr ? soundCard->identity() : clientName, port.address.port, portName));
        }
        endpoints.push_back(
            {.ref = portLife.ref,
             .direction = direction,
             .address = port.address,
             .uniqueID = *portLife.uniqueID,
             .displayName = combinedName(clientName, portName),
             .name = portName,
             .manufacturer = soundCard != nullptr && soundCard->usb ? soundCard->usb->manufacturer : std::nullopt,
             .isOffline = (port.capabilities & PortDescription::kInactive) != 0,
             .card = port.card,
             .isKernelClient = port.isKernelClient});
    }
    numberLikePorts(endpoints);
    placeLikeDevices(endpoints);
    return endpoints;
}

void EndpointRegistry::placeLikeDevices(std::vector<Endpoint>& endpoints) {
    std::map<std::string, std::set<int>> cardsByName;
    for (const Endpoint& endpoint : endpoints) {
        if (endpoint.card >= 0) {
            cardsByName[endpoint.displayName].insert(endpoint.card);
        }
    }
    for (Endpoint& endpoint : endpoints) {
        if (endpoint.card < 0) {
            continue;
        }
        Life& portLife = life(endpoint.address, endpoint.direction);
        portLife.showsPlace = portLife.showsPlace || cardsByName[endpoint.displayName].size() > 1;
        if (portLife.showsPlace) {
            endpoint.displayName += " (" + cards_.at(endpoint.card).place() + ")";
        }
    }
}

void EndpointRegistry::portEnded(const PortAddress& address) {
    lives_.erase({address, MIDIEndpointDirection::source});
    lives_.erase({address, MIDIEndpointDirection::destination});
    // It may have been a card's, whose number another card may get next.
    cards_.clear();
    std::erase_if(places_, [&](const auto& entry) {
        const auto& [direction, index] = entry.second;
        return (direction == MIDIEndpointDirection::source ? sources_ : destinations_)[index].address == address;
    });
}

void EndpointRegistry::clear() {
    lives_.clear();
    cards_.clear();
    places_.clear();
    sources_.clear();
    destinations_.clear();
}

EndpointRegistry::Life& EndpointRegistry::life(const PortAddress& address, MIDIEndpointDirection direction) {
    const auto [entry, isNew] = lives_.try_emplace({address, direction});
    if (isNew) {
        entry->second.ref = endpointReference(address, direction, nextGeneration_++);
    }
    return entry->second;
}

MIDIObjectRef EndpointRegistry::reference(const PortAddress& address, MIDIEndpointDirection direction) {
    return life(address, direction).ref;
}

MIDIObjectRef EndpointRegistry::knownReference(const PortAddress& address, MIDIEndpointDirection direction) const {
    const auto found = lives_.find({address, direction});
    return found != lives_.end() ? found->second.ref : 0;
}

const Endpoint* EndpointRegistry::find(MIDIObjectRef ref) const {
    const auto found = places_.find(ref);
    if (found == places_.end()) {
        return nullptr;
    }
    const auto& [direction, index] = found->second;
    return &(direction == MIDIEndpointDirection::source ? sources_ : destinations_)[index];
}

std::int32_t EndpointRegistry::freeUniqueID(std::int32_t wanted) const {
    const auto isTaken = [this](std::int32_t candidate) {
        return candidate == 0 || std::ranges::any_of(lives_, [candidate](const auto& entry) {
                   return entry.second.uniqueID == candidate;
               });
    };
    while (isTaken(wanted)) {
        wanted =
            wanted == std::numeric_limits<std::int32_t>::max() ? std::numeric_limits<std::int32_t>::min() : wanted + 1;
    }
    return wanted;
}

}  // namespace corvel::hosts
