#pragma once

#include "core/host/MIDIHost.hpp"
#include "hosts/alsa/EndpointRegistry.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <functional>
#include <string>
#include <vector>

namespace corvel::hosts {

/// Devices and their entities, as the diagnostic log shows them.
struct DeviceTree {
    /// One sequencer client of a device.
    struct Entity {
        MIDIObjectRef ref = 0;
        std::string name;
        std::vector<MIDIObjectRef> sources;
        std::vector<MIDIObjectRef> destinations;
    };

    struct Device {
        MIDIObjectRef ref = 0;
        std::string name;
        std::vector<Entity> entities;
    };

    std::vector<Device> devices;

    /// A device for each sound card that has clients, in card order, then one for each kernel client without a card;
    /// programs are no devices. `cardName` tells a card's name.
    [[nodiscard]] static DeviceTree build(const std::vector<PortDescription>& ports, const EndpointRegistry& registry,
                                          const std::function<std::string(int card)>& cardName);

    /// The device or entity with this reference, or null.
    [[nodiscard]] const Device* findDevice(MIDIObjectRef ref) const;
    [[nodiscard]] const Entity* findEntity(MIDIObjectRef ref) const;
};

}  // namespace corvel::hosts
