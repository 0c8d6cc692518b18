#include "hosts/demo/DemoSetup.hpp"

#include <algorithm>
#include <span>
#include <utility>

namespace corvel::hosts {

namespace {

/// Where the IDs of added endpoints begin; the demo devices' own lie below.
constexpr std::int32_t kFirstFreeUniqueID = 9001;

}  // namespace

void DemoDelivery::perform() const {
    const std::vector<std::span<const std::uint8_t>> views(packets.begin(), packets.end());
    (*handler)(views, connection);
}

DemoDevice& DemoSetup::add(DemoDevice device) {
    device.device = newRef();
    device.entity = newRef();
    device.endpoint = newRef();
    if (device.uniqueID == 0) {
        device.uniqueID = freeUniqueID();
    }
    // The sources stand first, so that the order of the devices is that of the endpoints.
    const auto end = device.isSource ? std::ranges::find(devices, false, &DemoDevice::isSource) : devices.end();
    return *devices.insert(end, std::move(device));
}

void DemoSetup::removeDevice(MIDIObjectRef endpoint) {
    std::erase_if(devices, [endpoint](const DemoDevice& device) { return device.endpoint == endpoint; });
    for (DemoPort& port : ports) {
        port.connections.erase(endpoint);
    }
}

DemoDevice* DemoSetup::deviceAt(std::size_t index) {
    return index < devices.size() ? &devices[index] : nullptr;
}

DemoDevice* DemoSetup::deviceAt(bool isSource, std::size_t index) {
    if (index >= count(isSource)) {
        return nullptr;
    }
    return &devices[isSource ? index : count(true) + index];
}

DemoDevice* DemoSetup::withEndpoint(MIDIObjectRef endpoint) {
    return find([endpoint](const DemoDevice& device) { return device.endpoint == endpoint; });
}

DemoDevice* DemoSetup::withEntity(MIDIObjectRef entity) {
    return find([entity](const DemoDevice& device) { return device.entity == entity; });
}

DemoDevice* DemoSetup::withDevice(MIDIObjectRef device) {
    return find([device](const DemoDevice& candidate) { return candidate.device == device; });
}

DemoDevice* DemoSetup::withObject(MIDIObjectRef object) {
    return find([object](const DemoDevice& device) {
        return device.endpoint == object || device.entity == object || device.device == object;
    });
}

unsigned DemoSetup::count(bool isSource) const {
    return static_cast<unsigned>(std::ranges::count(devices, isSource, &DemoDevice::isSource));
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

template <typename Predicate>
DemoDevice* DemoSetup::find(Predicate predicate) {
    const auto found = std::ranges::find_if(devices, predicate);
    return found == devices.end() ? nullptr : &*found;
}

std::int32_t DemoSetup::freeUniqueID() const {
    std::int32_t id = kFirstFreeUniqueID;
    while (std::ranges::find(devices, id, &DemoDevice::uniqueID) != devices.end()) {
        ++id;
    }
    return id;
}

}  // namespace corvel::hosts
