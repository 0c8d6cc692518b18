#include "hosts/demo/DemoSetup.hpp"

#include <algorithm>
#include <utility>

namespace corvel::hosts {

namespace {

/// The first ID of added endpoints; the demo devices have lower ones.
constexpr std::int32_t kFirstFreeUniqueID = 9001;

}  // namespace

void DemoDelivery::perform() const {
    std::vector<MIDIArrival> arrivals;
    arrivals.reserve(packets.size());
    for (const MIDIBytes& packet : packets) {
        arrivals.push_back({connection, packet});
    }
    (*handler)(arrivals);
}

DemoDevice& DemoSetup::add(DemoDevice device) {
    device.device = newRef();
    device.entity = newRef();
    device.endpoint = newRef();
    if (device.uniqueID == 0) {
        device.uniqueID = freeUniqueID();
    }
    // Sources come first, so that devices have the order of the endpoints.
    const auto end = device.isSource ? std::ranges::find(devices, false, &DemoDevice::isSource) : devices.end();
    return *devices.insert(end, std::move(device));
}

void DemoSetup::removeDevice(MIDIObjectRef endpoint) {
    std::erase_if(devices, [endpoint](const DemoDevice& device) { return device.endpoint == endpoint; });
    for (DemoPort& port : ports) {
        port.connections.erase(endpoint);
    }
}

MIDISetup DemoSetup::records() const {
    MIDISetup records;
    for (const DemoDevice& device : devices) {
        const auto named = [&device](MIDIObjectRef ref) {
            return MIDIObjectRecord{
                .ref = ref, .displayName = device.name, .name = device.name, .isOffline = device.isOffline};
        };
        const MIDIObjectRecord endpoint = named(device.endpoint);
        (device.isSource ? records.sources : records.destinations)
            .push_back({endpoint, device.uniqueID, device.manufacturer});
        MIDIEntityRecord entity{named(device.entity), {}, {}};
        (device.isSource ? entity.sources : entity.destinations).push_back(endpoint);
        records.devices.push_back({named(device.device), {std::move(entity)}});
    }
    return records;
}

DemoDevice* DemoSetup::withEndpoint(MIDIObjectRef endpoint) {
    const auto found = std::ranges::find(devices, endpoint, &DemoDevice::endpoint);
    return found == devices.end() ? nullptr : &*found;
}

DemoClient* DemoSetup::client(MIDIObjectRef ref) {
    const auto found = std::ranges::find(clients, ref, &DemoClient::ref);
    return found == clients.end() ? nullptr : &*found;
}

DemoPort* DemoSetup::port(MIDIObjectRef ref) {
    const auto found = std::ranges::find(ports, ref, &DemoPort::ref);
    return found == ports.end() ? nullptr : &*found;
}

bool DemoSetup::isHeard(const DemoDevice& source) const {
    return !source.isOffline && std::ranges::any_of(ports, [&source](const DemoPort& port) {
        return port.connections.contains(source.endpoint);
    });
}

void DemoSetup::deliver(const DemoDevice& source, const std::vector<MIDIBytes>& packets,
                        std::vector<DemoDelivery>& deliveries) const {
    if (packets.empty()) {
        return;
    }
    for (const DemoPort& port : ports) {
        if (const auto found = port.connections.find(source.endpoint); found != port.connections.end()) {
            deliveries.push_back({port.handler, found->second, packets});
        }
    }
}

std::int32_t DemoSetup::freeUniqueID() const {
    std::int32_t id = kFirstFreeUniqueID;
    while (std::ranges::find(devices, id, &DemoDevice::uniqueID) != devices.end()) {
        ++id;
    }
    return id;
}

}  // namespace corvel::hosts
