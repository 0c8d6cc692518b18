#include "tests/support/FakeMIDIHost.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace corvel::tests {

namespace {

/// "[90 3C 64]".
std::string bracketed(std::span<const std::uint8_t> bytes) {
    std::string text = "[";
    for (const std::uint8_t byte : bytes) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), text.size() > 1 ? " %02X" : "%02X", byte);
        text += digits.data();
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

std::vector<std::string> FakeMIDIHost::takeCalls() {
    return std::exchange(calls, {});
}

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
    noteAction("setDiagnosticHandler", {});
    diagnosticHandler_ = std::move(handler);
}

MIDICreation FakeMIDIHost::createClient(std::string_view name, NotificationHandler handler) {
    noteAction("createClient", {}, name);
    if (clientStatus == kMIDISuccess) {
        notificationHandler_ = std::move(handler);
    }
    return created(clientStatus);
}

MIDICreation FakeMIDIHost::createInputPort(MIDIObjectRef client, std::string_view name, ReceiveHandler handler) {
    noteAction("createInputPort", {{"client", client}}, name);
    if (inputPortStatus == kMIDISuccess) {
        receiveHandler_ = std::move(handler);
    }
    return created(inputPortStatus);
}

MIDICreation FakeMIDIHost::createOutputPort(MIDIObjectRef client, std::string_view name) {
    noteAction("createOutputPort", {{"client", client}}, name);
    return created(outputPortStatus);
}

void FakeMIDIHost::disposePort(MIDIObjectRef port) {
    noteAction("disposePort", {{"port", port}});
}

void FakeMIDIHost::disposeClient(MIDIObjectRef client) {
    noteAction("disposeClient", {{"client", client}});
}

unsigned FakeMIDIHost::sourceCount() {
    noteRead("sourceCount", {});
    return static_cast<unsigned>(sources.size());
}

MIDIObjectRef FakeMIDIHost::source(unsigned index) {
    noteRead("source", {{"index", index}});
    return sources.at(index);
}

unsigned FakeMIDIHost::destinationCount() {
    noteRead("destinationCount", {});
    return static_cast<unsigned>(destinations.size());
}

MIDIObjectRef FakeMIDIHost::destination(unsigned index) {
    noteRead("destination", {{"index", index}});
    return destinations.at(index);
}

std::optional<std::string> FakeMIDIHost::displayName(MIDIObjectRef object) {
    noteRead("displayName", {{"object", object}});
    return properties[object].displayName;
}

std::optional<std::string> FakeMIDIHost::name(MIDIObjectRef object) {
    noteRead("name", {{"object", object}});
    return properties[object].name;
}

std::optional<std::string> FakeMIDIHost::manufacturer(MIDIObjectRef object) {
    noteRead("manufacturer", {{"object", object}});
    return properties[object].manufacturer;
}

std::optional<std::int32_t> FakeMIDIHost::uniqueID(MIDIObjectRef object) {
    noteRead("uniqueID", {{"object", object}});
    return properties[object].uniqueID;
}

std::optional<bool> FakeMIDIHost::isOffline(MIDIObjectRef object) {
    noteRead("isOffline", {{"object", object}});
    return properties[object].isOffline;
}

MIDIStatus FakeMIDIHost::connectSource(MIDIObjectRef port, MIDIObjectRef source, MIDIObjectRef connection) {
    noteAction("connectSource", {{"port", port}, {"source", source}, {"connection", connection}});
    return statusFor(connectStatuses, source);
}

MIDIStatus FakeMIDIHost::disconnectSource(MIDIObjectRef port, MIDIObjectRef source) {
    noteAction("disconnectSource", {{"port", port}, {"source", source}});
    return statusFor(disconnectStatuses, source);
}

unsigned FakeMIDIHost::deviceCount() {
    noteRead("deviceCount", {});
    return static_cast<unsigned>(devices.size());
}

MIDIObjectRef FakeMIDIHost::device(unsigned index) {
    noteRead("device", {{"index", index}});
    return devices.at(index).ref;
}

unsigned FakeMIDIHost::externalDeviceCount() {
    noteRead("externalDeviceCount", {});
    return static_cast<unsigned>(externalDevices.size());
}

MIDIObjectRef FakeMIDIHost::externalDevice(unsigned index) {
    noteRead("externalDevice", {{"index", index}});
    return externalDevices.at(index).ref;
}

unsigned FakeMIDIHost::entityCount(MIDIObjectRef device) {
    noteRead("entityCount", {{"device", device}});
    return static_cast<unsigned>(deviceWith(device).entities.size());
}

MIDIObjectRef FakeMIDIHost::entity(MIDIObjectRef device, unsigned index) {
    noteRead("entity", {{"device", device}, {"index", index}});
    return deviceWith(device).entities.at(index).ref;
}

unsigned FakeMIDIHost::entitySourceCount(MIDIObjectRef entity) {
    noteRead("entitySourceCount", {{"entity", entity}});
    return static_cast<unsigned>(entityWith(entity).sources.size());
}

MIDIObjectRef FakeMIDIHost::entitySource(MIDIObjectRef entity, unsigned index) {
    noteRead("entitySource", {{"entity", entity}, {"index", index}});
    return entityWith(entity).sources.at(index);
}

unsigned FakeMIDIHost::entityDestinationCount(MIDIObjectRef entity) {
    noteRead("entityDestinationCount", {{"entity", entity}});
    return static_cast<unsigned>(entityWith(entity).destinations.size());
}

MIDIObjectRef FakeMIDIHost::entityDestination(MIDIObjectRef entity, unsigned index) {
    noteRead("entityDestination", {{"entity", entity}, {"index", index}});
    return entityWith(entity).destinations.at(index);
}

std::optional<MIDIPacket> FakeMIDIHost::makePacket(std::span<const std::uint8_t> bytes) {
    noteAction("makePacket", {}, recording == Recording::nothing ? std::string() : bracketed(bytes));
    if (canMakePacket && !canMakePacket(bytes)) {
        return std::nullopt;
    }
    return MIDIPacket{MIDIBytes(bytes.begin(), bytes.end())};
}

MIDIStatus FakeMIDIHost::send(MIDIObjectRef port, MIDIObjectRef destination, const MIDIPacket& packet) {
    noteAction("send", {{"port", port}, {"destination", destination}},
               recording == Recording::nothing ? std::string() : bracketed(packet.bytes));
    const MIDIStatus status = sendStatuses.empty() ? kMIDISuccess : statusFor(sendStatuses, destination);
    if (status == kMIDISuccess) {
        ++sentCount;
        if (keepsSent) {
            sent.push_back({port, destination, packet.bytes});
        }
    }
    return status;
}

void FakeMIDIHost::noteAction(std::string_view operation, std::initializer_list<Argument> arguments,
                              std::string_view lastArgument) {
    if (recording != Recording::nothing) {
        record(operation, arguments, lastArgument);
    }
    if (onCall) {
        onCall(operation);
    }
}

void FakeMIDIHost::noteRead(std::string_view operation, std::initializer_list<Argument> arguments) {
    if (recording == Recording::everything) {
        record(operation, arguments, {});
    }
    if (onCall) {
        onCall(operation);
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

}  // namespace corvel::tests
