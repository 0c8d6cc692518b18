#include "hosts/jack/JackEndpoints.hpp"

#include "core/support/Text.hpp"
#include "hosts/jack/ALSAMirror.hpp"
#include "hosts/jack/JackNaming.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>
#include <string_view>

namespace corvel::hosts {

namespace {

/// References of devices and entities have this bit. Those of endpoints are counted from 1 and never reach it.
constexpr MIDIObjectRef kDeviceBit = MIDIObjectRef{1} << (kMIDIObjectRefBits - 1);
constexpr MIDIObjectRef kEntityBit = kDeviceBit >> 1U;

/// The port's name with the name that its client asked for.
std::string baseName(const JackPort& port) {
    return baseClientName(port) + ":" + std::string(port.port());
}

}  // namespace

JackEndpoints::Change JackEndpoints::replaceAll(JackSnapshot snapshot) {
    Change change;
    for (const auto& [from, to] : snapshot.renames) {
        rename(from, to);
    }
    if (serverName_ != snapshot.serverName) {
        change.hasChangedProperties = !serverName_.empty() && !snapshot.serverName.empty();
        serverName_ = snapshot.serverName;
        setup_ = nullptr;
    }
    std::erase_if(snapshot.ports, [this](const JackPort& port) {
        return isCorvels(port) || (leavesOutALSAMirrors_ && mirrorsALSA(port));
    });
    std::set<Key> listed;
    for (const JackPort& port : snapshot.ports) {
        listed.emplace(port.direction, port.name);
    }
    for (auto entry = known_.begin(); entry != known_.end();) {
        const auto next = std::next(entry);
        if (!listed.contains(entry->first)) {
            change.removed.push_back(entry->second.endpoint);
            keys_.erase(entry->second.endpoint.ref);
            uniqueIDs_.erase(entry->second.uniqueID);
            known_.erase(entry);
        }
        entry = next;
    }
    const BaseCounts baseCounts = countBases(snapshot.ports);
    for (const JackPort& port : snapshot.ports) {
        const Key key(port.direction, port.name);
        const auto [entry, isNew] = known_.try_emplace(key);
        Known& known = entry->second;
        if (isNew) {
            known.endpoint = {.ref = nextRef_++, .direction = port.direction, .portName = port.name};
            known.uniqueID = uniqueIDFor(port, baseCounts);
            keys_[known.endpoint.ref] = key;
            change.added.push_back(known.endpoint);
        }
        change.hasChangedProperties = change.hasChangedProperties || (!isNew && known.port != port);
        known.port = port;
    }
    if (!change.isNone()) {
        setup_ = nullptr;
    }
    return change;
}

void JackEndpoints::rename(const std::string& from, const std::string& to) {
    for (const auto direction : {MIDIEndpointDirection::source, MIDIEndpointDirection::destination}) {
        const Key key(direction, to);
        if (known_.contains(key)) {
            continue;
        }
        if (auto node = known_.extract(Key(direction, from)); !node.empty()) {
            node.key() = key;
            node.mapped().endpoint.portName = to;
            keys_[node.mapped().endpoint.ref] = key;
            known_.insert(std::move(node));
        }
    }
}

JackEndpoints::BaseCounts JackEndpoints::countBases(const std::vector<JackPort>& ports) {
    BaseCounts counts;
    for (const JackPort& port : ports) {
        ++counts[{port.direction, baseName(port)}];
    }
    return counts;
}

/// The ID of the name without the server's number, unless another port has the same name or its ID.
std::int32_t JackEndpoints::uniqueIDFor(const JackPort& port, const BaseCounts& baseCounts) {
    const std::string portName = text::repairedUTF8(port.port());
    const std::string client = text::repairedUTF8(port.client());
    const std::string base = baseClientName(port);
    std::int32_t id = uniqueJackID(port.direction, base, portName);
    if (base != client && (baseCounts.at({port.direction, baseName(port)}) > 1 || uniqueIDs_.contains(id))) {
        id = uniqueJackID(port.direction, client, portName);
    }
    while (id == 0 || !uniqueIDs_.insert(id).second) {
        id = id == std::numeric_limits<std::int32_t>::max() ? std::numeric_limits<std::int32_t>::min() : id + 1;
    }
    return id;
}

const JackEndpoints::Endpoint* JackEndpoints::find(MIDIObjectRef ref) const {
    const auto key = keys_.find(ref);
    return key != keys_.end() ? &known_.at(key->second).endpoint : nullptr;
}

std::shared_ptr<const MIDISetup> JackEndpoints::setup() {
    if (setup_) {
        return setup_;
    }
    MIDISetup setup;
    setup.sources = records(MIDIEndpointDirection::source);
    setup.destinations = records(MIDIEndpointDirection::destination);
    std::map<std::string, MIDIDeviceRecord> devices;
    // The records are in the order of the ports.
    auto nextSource = setup.sources.begin();
    auto nextDestination = setup.destinations.begin();
    for (const auto& [key, known] : known_) {
        const bool isSource = key.first == MIDIEndpointDirection::source;
        MIDIDeviceRecord& device = devices[text::repairedUTF8(known.port.client())];
        if (device.entities.empty()) {
            device.entities.emplace_back();
        }
        MIDIEntityRecord& entity = device.entities.front();
        (isSource ? entity.sources : entity.destinations).push_back(isSource ? *nextSource++ : *nextDestination++);
    }
    for (auto& [name, device] : devices) {
        const auto number = static_cast<MIDIObjectRef>(setup.devices.size());
        device.ref = kDeviceBit | number;
        device.name = name;
        device.entities.front().ref = kEntityBit | number;
        device.entities.front().name = name;
        setup.devices.push_back(std::move(device));
    }
    setup_ = std::make_shared<const MIDISetup>(std::move(setup));
    return setup_;
}

std::vector<MIDIEndpointRecord> JackEndpoints::records(MIDIEndpointDirection direction) const {
    std::map<std::string_view, unsigned> portCounts;
    for (const auto& [key, known] : known_) {
        portCounts[known.port.client()] += key.first == direction ? 1 : 0;
    }
    std::vector<MIDIEndpointRecord> records;
    std::map<std::string, unsigned> nameCounts;
    for (const auto& [key, known] : known_) {
        if (key.first == direction) {
            records.push_back(record(known, portCounts[known.port.client()] == 1));
            ++nameCounts[*records.back().displayName];
        }
    }
    for (MIDIEndpointRecord& record : records) {
        if (nameCounts[*record.displayName] > 1) {
            *record.displayName += " (" + *record.name + ")";
        }
    }
    return records;
}

MIDIEndpointRecord JackEndpoints::record(const Known& known, bool isOnlyPort) const {
    MIDIEndpointRecord record;
    record.ref = known.endpoint.ref;
    record.displayName = displayNameOf(known.port, isOnlyPort);
    record.name = text::repairedUTF8(known.port.name);
    record.isOffline = false;
    record.uniqueID = known.uniqueID;
    record.manufacturer = serverName_;
    return record;
}

}  // namespace corvel::hosts
