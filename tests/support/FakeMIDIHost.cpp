#include "tests/support/FakeMIDIHost.hpp"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace corvel::testing {

namespace {

/// "[90 3C 64]".
std::string hex(std::span<const std::uint8_t> bytes) {
    std::string text = "[";
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, text.size() > 1 ? " %02X" : "%02X", byte);
        text += digits;
    }
    return text + "]";
}

MIDIStatus statusFor(const std::unordered_map<MIDIObjectRef, MIDIStatus>& statuses, MIDIObjectRef ref) {
    const auto found = statuses.find(ref);
    return found == statuses.end() ? kMIDISuccess : found->second;
}

}  // namespace

void FakeMIDIHost::addSource(MIDIObjectRef ref, FakeMIDIProperties of) {
    sources.push_back(ref);
    properties[ref] = std::move(of);
}

void FakeMIDIHost::addDestination(MIDIObjectRef ref, FakeMIDIProperties of) {
    destinations.push_back(ref);
    properties[ref] = std::move(of);
}

std::vector<std::string> FakeMIDIHost::takeCalls() { return std::exchange(calls, {}); }

void FakeMIDIHost::receive(std::initializer_list<std::vector<std::uint8_t>> packets, MIDIObjectRef connection) {
    std::vector<std::vector<std::uint8_t>> storage(packets);
    const std::vector<std::span<const std::uint8_t>> views(storage.begin(), storage.end());
    receiveInPlace(views, connection);
    for (std::vector<std::uint8_t>& bytes : storage) {
        std::ranges::fill(bytes, std::uint8_t{0xEE});
    }
}

void FakeMIDIHost::receiveInPlace(std::span<const std::span<const std::uint8_t>> packets, MIDIObjectRef connection) {
    if (receiveHandler_) {
        receiveHandler_(packets, connection);
    }
}

void FakeMIDIHost::notify(const MIDINotification& notification) {
    if (notificationHandler_) {
        notificationHandler_(notification);
    }
}

void FakeMIDIHost::diagnose(std::string message) {
    if (diagnosticHandler_) {
        diagnosticHandler_(std::move(message));
    }
}

void FakeMIDIHost::setDiagnosticHandler(DiagnosticHandler handler) {
    recordAction("setDiagnosticHandler", {});
    diagnosticHandler_ = std::move(handler);
}

MIDICreation FakeMIDIHost::createClient(std::string_view name, NotificationHandler handler) {
    recordAction("createClient", {}, name);
    if (clientStatus == kMIDISuccess) {
        notificationHandler_ = std::move(handler);
    }
    return created(clientStatus);
}

MIDICreation FakeMIDIHost::createInputPort(MIDIObjectRef client, std::string_view name, ReceiveHandler handler) {
    recordAction("createInputPort", {{"client", client}}, name);
    if (inputPortStatus == kMIDISuccess) {
        receiveHandler_ = std::move(handler);
    }
    return created(inputPortStatus);
}

MIDICreation FakeMIDIHost::createOutputPort(MIDIObjectRef client, std::string_view name) {
    recordAction("createOutputPort", {{"client", client}}, name);
    return created(outputPortStatus);
}

void FakeMIDIHost::disposePort(MIDIObjectRef port) { recordAction("disposePort", {{"port", port}}); }

void FakeMIDIHost::disposeClient(MIDIObjectRef client) { recordAction("disposeClient", {{"client", client}}); }

unsigned FakeMIDIHost::sourceCount() {
    recordRead("sourceCount", {});
    return static_cast<unsigned>(sources.size());
}

MIDIObjectRef FakeMIDIHost::source(unsigned index) {
    recordRead("source", {{"index", index}});
    return sources.at(index);
}

unsigned FakeMIDIHost::destinationCount() {
    recordRead("destinationCount", {});
    return static_cast<unsigned>(destinations.size());
}

MIDIObjectRef FakeMIDIHost::destination(unsigned index) {
    recordRead("destination", {{"index", index}});
    return destinations.at(index);
}

std::optional<std::string> FakeMIDIHost::displayName(MIDIObjectRef object) {
    recordRead("displayName", {{"object", object}});
    return properties[object].displayName;
}

std::optional<std::string> FakeMIDIHost::name(MIDIObjectRef object) {
    recordRead("name", {{"object", object}});
    return properties[object].name;
}

std::optional<std::string> FakeMIDIHost::manufacturer(MIDIObjectRef object) {
    recordRead("manufacturer", {{"object", object}});
    return properties[object].manufacturer;
}

std::optional<std::int32_t> FakeMIDIHost::uniqueID(MIDIObjectRef object) {
    recordRead("uniqueID", {{"object", object}});
    return properties[object].uniqueID;
}

std::optional<bool> FakeMIDIHost::isOffline(MIDIObjectRef object) {
    recordRead("isOffline", {{"object", object}});
    return properties[object].isOffline;
}

MIDIStatus FakeMIDIHost::connectSource(MIDIObjectRef port, MIDIObjectRef source, MIDIObjectRef connection) {
    recordAction("connectSource", {{"port", port}, {"source", source}, {"connection", connection}});
    return statusFor(connectStatuses, source);
}

MIDIStatus FakeMIDIHost::disconnectSource(MIDIObjectRef port, MIDIObjectRef source) {
    recordAction("disconnectSource", {{"port", port}, {"source", source}});
    return statusFor(disconnectStatuses, source);
}

unsigned FakeMIDIHost::deviceCount() {
    recordRead("deviceCount", {});
    return static_cast<unsigned>(devices.size());
}

MIDIObjectRef FakeMIDIHost::device(unsigned index) {
    recordRead("device", {{"index", index}});
    return devices.at(index).ref;
}

unsigned FakeMIDIHost::externalDeviceCount() {
    recordRead("externalDeviceCount", {});
    return static_cast<unsigned>(externalDevices.size());
}

MIDIObjectRef FakeMIDIHost::externalDevice(unsigned index) {
    recordRead("externalDevice", {{"index", index}});
    return externalDevices.at(index).ref;
}

unsigned FakeMIDIHost::entityCount(MIDIObjectRef device) {
    recordRead("entityCount", {{"device", device}});
    return static_cast<unsigned>(deviceWith(device).entities.size());
}

MIDIObjectRef FakeMIDIHost::entity(MIDIObjectRef device, unsigned index) {
    recordRead("entity", {{"device", device}, {"index", index}});
    return deviceWith(device).entities.at(index).ref;
}

unsigned FakeMIDIHost::entitySourceCount(MIDIObjectRef entity) {
    recordRead("entitySourceCount", {{"entity", entity}});
    return static_cast<unsigned>(entityWith(entity).sources.size());
}

MIDIObjectRef FakeMIDIHost::entitySource(MIDIObjectRef entity, unsigned index) {
    recordRead("entitySource", {{"entity", entity}, {"index", index}});
    return entityWith(entity).sources.at(index);
}

unsigned FakeMIDIHost::entityDestinationCount(MIDIObjectRef entity) {
    recordRead("entityDestinationCount", {{"entity", entity}});
    return static_cast<unsigned>(entityWith(entity).destinations.size());
}

MIDIObjectRef FakeMIDIHost::entityDestination(MIDIObjectRef entity, unsigned index) {
    recordRead("entityDestination", {{"entity", entity}, {"index", index}});
    return entityWith(entity).destinations.at(index);
}

std::optional<MIDIPacket> FakeMIDIHost::makePacket(std::span<const std::uint8_t> bytes) {
    if (recording != Recording::nothing) {
        recordAction("makePacket", {}, hex(bytes));
    }
    if (canMakePacket && !canMakePacket(bytes)) {
        return std::nullopt;
    }
    return MIDIPacket{MIDIBytes(bytes.begin(), bytes.end())};
}

MIDIStatus FakeMIDIHost::send(MIDIObjectRef port, MIDIObjectRef destination, const MIDIPacket& packet) {
    if (recording != Recording::nothing) {
        recordAction("send", {{"port", port}, {"destination", destination}}, hex({packet.bytes.data(), packet.bytes.size()}));
    }
    if (onSend) {
        onSend();
    }
    const MIDIStatus status = sendStatuses.empty() ? kMIDISuccess : statusFor(sendStatuses, destination);
    if (status == kMIDISuccess) {
        ++sentCount;
        if (keepsSent) {
            sent.push_back({port, destination, packet.bytes});
        }
    }
    return status;
}

void FakeMIDIHost::recordAction(std::string_view operation, std::initializer_list<Argument> arguments,
                                std::string_view lastArgument) {
    if (recording != Recording::nothing) {
        record(operation, arguments, lastArgument);
    }
}

void FakeMIDIHost::recordRead(std::string_view operation, std::initializer_list<Argument> arguments) {
    if (recording == Recording::everything) {
        record(operation, arguments, {});
    }
}

void FakeMIDIHost::record(std::string_view operation, std::initializer_list<Argument> arguments,
                          std::string_view lastArgument) {
    std::string call(operation);
    std::string_view separator = "(";
    for (const Argument& argument : arguments) {
        call.append(separator).append(argument.label).append(" ").append(std::to_string(argument.value));
        separator = ", ";
    }
    if (!lastArgument.empty()) {
        call.append(separator).append(lastArgument);
        separator = ", ";
    }
    calls.push_back(call.append(separator == "(" ? "()" : ")"));
}

MIDICreation FakeMIDIHost::created(MIDIStatus status) {
    return {status, status == kMIDISuccess ? nextRef_++ : MIDIObjectRef{0}};
}

const FakeMIDIDevice& FakeMIDIHost::deviceWith(MIDIObjectRef ref) const {
    for (const std::vector<FakeMIDIDevice>* list : {&devices, &externalDevices}) {
        const auto found = std::ranges::find(*list, ref, &FakeMIDIDevice::ref);
        if (found != list->end()) {
            return *found;
        }
    }
    throw std::out_of_range("no device " + std::to_string(ref));
}

const FakeMIDIEntity& FakeMIDIHost::entityWith(MIDIObjectRef ref) const {
    for (const std::vector<FakeMIDIDevice>* list : {&devices, &externalDevices}) {
        for (const FakeMIDIDevice& device : *list) {
            const auto found = std::ranges::find(device.entities, ref, &FakeMIDIEntity::ref);
            if (found != device.entities.end()) {
                return *found;
            }
        }
    }
    throw std::out_of_range("no entity " + std::to_string(ref));
}

}  // namespace corvel::testing
