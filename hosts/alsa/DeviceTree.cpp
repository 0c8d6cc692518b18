#include "hosts/alsa/DeviceTree.hpp"

#include "core/support/Text.hpp"
#include "hosts/alsa/ObjectReference.hpp"

#include <alsa/asoundlib.h>

#include <limits>
#include <map>
#include <utility>

namespace corvel::hosts {

DeviceTree DeviceTree::build(const std::vector<PortDescription>& ports, const EndpointRegistry& registry,
                             const std::function<std::string(int card)>& cardName) {
    // Ordered by card, those without one last, then by client.
    std::map<std::pair<int, int>, Entity> entities;
    for (const PortDescription& port : ports) {
        if (!port.isKernelClient || port.address.client == SND_SEQ_CLIENT_SYSTEM) {
            continue;
        }
        const int card = port.card >= 0 ? port.card : std::numeric_limits<int>::max();
        Entity& entity = entities[{card, port.address.client}];
        entity.ref = objectReference(ObjectKind::entity, port.address.client);
        entity.name = text::repairedUTF8(port.clientName);
        if (const MIDIObjectRef source = registry.knownReference(port.address, MIDIEndpointDirection::source)) {
            entity.sources.push_back(source);
        }
        if (const MIDIObjectRef target = registry.knownReference(port.address, MIDIEndpointDirection::destination)) {
            entity.destinations.push_back(target);
        }
    }

    DeviceTree tree;
    int lastCard = -1;
    for (auto& [key, entity] : entities) {
        const int card = key.first;
        const bool hasCard = card != std::numeric_limits<int>::max();
        if (!hasCard || card != lastCard) {
            const int index = static_cast<int>(tree.devices.size());
            tree.devices.push_back({.ref = objectReference(ObjectKind::device, index),
                                    .name = hasCard ? cardName(card) : entity.name,
                                    .entities = {}});
            lastCard = card;
        }
        tree.devices.back().entities.push_back(std::move(entity));
    }
    return tree;
}

const DeviceTree::Device* DeviceTree::findDevice(MIDIObjectRef ref) const {
    for (const Device& device : devices) {
        if (device.ref == ref) {
            return &device;
        }
    }
    return nullptr;
}

const DeviceTree::Entity* DeviceTree::findEntity(MIDIObjectRef ref) const {
    for (const Device& device : devices) {
        for (const Entity& entity : device.entities) {
            if (entity.ref == ref) {
                return &entity;
            }
        }
    }
    return nullptr;
}

}  // namespace corvel::hosts
