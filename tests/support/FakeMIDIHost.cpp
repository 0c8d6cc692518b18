#include "tests/support/FakeMIDIHost.hpp"

#include <utility>

namespace corvel::tests {

namespace {

MIDIStatus statusFor(const std::unordered_map<MIDIObjectRef, MIDIStatus>& statuses, MIDIObjectRef ref) {
    if (statuses.empty()) {
        return kMIDISuccess;
    }
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

void FakeMIDIHost::receive(std::initializer_list<MIDIBytes> packets, MIDIObjectRef connection) {
    std::vector<MIDIArrival> arrivals;
    arrivals.reserve(packets.size());
    for (const MIDIBytes& bytes : packets) {
        arrivals.push_back({connection, bytes});
    }
    receive(arrivals);
    for (MIDIArrival& arrival : arrivals) {
        arrival = {0xEEEE, {0xEE}};
    }
}

void FakeMIDIHost::receive(std::span<const MIDIArrival> arrivals) {
    if (receiveHandler_) {
        receiveHandler_(arrivals);
    }
}

void FakeMIDIHost::notify(const MIDINotification& notification) {
    if (notificationHandler_) {
        notificationHandler_(notification);
    }
}

void FakeMIDIHost::diagnose(std::string message, MIDIStatus status) {
    if (diagnosticHandler_) {
        diagnosticHandler_(std::move(message), status);
    }
}

void FakeMIDIHost::setDiagnosticHandler(DiagnosticHandler handler) {
    note("setDiagnosticHandler");
    diagnosticHandler_ = std::move(handler);
}

MIDICreation FakeMIDIHost::createClient(std::string_view name, NotificationHandler handler) {
    note("createClient");
    const MIDICreation creation = create(name, clientStatus, client_);
    if (creation.status == kMIDISuccess) {
        notificationHandler_ = std::move(handler);
    }
    return creation;
}

MIDICreation FakeMIDIHost::createInputPort(MIDIObjectRef client, std::string_view name, ReceiveHandler handler) {
    note("createInputPort");
    const MIDICreation creation = create(name, client == client_ ? inputPortStatus : kWrongObject, inputPort_);
    if (creation.status == kMIDISuccess) {
        receiveHandler_ = std::move(handler);
    }
    return creation;
}

MIDICreation FakeMIDIHost::createOutputPort(MIDIObjectRef client, std::string_view name) {
    note("createOutputPort");
    return create(name, client == client_ ? outputPortStatus : kWrongObject, outputPort_);
}

void FakeMIDIHost::disposePort(MIDIObjectRef port) {
    note("disposePort");
    disposed.push_back(port);
    if (port == inputPort_) {
        inputPort_ = 0;
        connections.clear();
    } else {
        outputPort_ = 0;
    }
}

void FakeMIDIHost::disposeClient(MIDIObjectRef client) {
    note("disposeClient");
    disposed.push_back(client);
    client_ = 0;
}

std::shared_ptr<const MIDISetup> FakeMIDIHost::setup(MIDIListing listing) {
    note("setup");
    listings.push_back(listing);
    return std::make_shared<const MIDISetup>(MIDISetup{.sources = records(sources),
                                                       .destinations = records(destinations),
                                                       .devices = devices,
                                                       .externalDevices = externalDevices});
}

MIDIStatus FakeMIDIHost::connectSource(MIDIObjectRef port, MIDIObjectRef source, MIDIObjectRef connection) {
    note("connectSource");
    const MIDIStatus status = port == 0 || port != inputPort_ || connections.contains(source)
                                  ? kWrongObject
                                  : statusFor(connectStatuses, source);
    if (status == kMIDISuccess) {
        connections[source] = connection;
    }
    return status;
}

MIDIStatus FakeMIDIHost::disconnectSource(MIDIObjectRef port, MIDIObjectRef source) {
    note("disconnectSource");
    const bool wasConnected = port == inputPort_ && connections.erase(source) > 0;
    return wasConnected ? statusFor(disconnectStatuses, source) : kWrongObject;
}

void FakeMIDIHost::setUsedEndpoints(std::span<const MIDIObjectRef> ofSources,
                                    std::span<const MIDIObjectRef> ofDestinations) {
    note("setUsedEndpoints");
    usedSources.assign(ofSources.begin(), ofSources.end());
    usedDestinations.assign(ofDestinations.begin(), ofDestinations.end());
}

void FakeMIDIHost::send(MIDIObjectRef port, std::span<MIDISend> messages) {
    note("send");
    if (keepsSent) {
        sendSizes.push_back(messages.size());
    }
    for (MIDISend& message : messages) {
        message.status = port == outputPort_ ? statusFor(sendStatuses, message.destination) : kWrongObject;
        if (message.status == kMIDISuccess) {
            ++sentCount;
            if (keepsSent) {
                sent.push_back({message.destination, MIDIBytes(message.bytes)});
            }
        }
    }
}

void FakeMIDIHost::note(std::string_view operation) const {
    if (onCall) {
        onCall(operation);
    }
}

MIDICreation FakeMIDIHost::create(std::string_view name, MIDIStatus status, MIDIObjectRef& made) {
    requested.emplace_back(name);
    if (status != kMIDISuccess) {
        return {status, 0};
    }
    made = nextRef_++;
    return {kMIDISuccess, made};
}

std::vector<MIDIEndpointRecord> FakeMIDIHost::records(const std::vector<MIDIObjectRef>& refs) const {
    std::vector<MIDIEndpointRecord> list;
    list.reserve(refs.size());
    for (const MIDIObjectRef ref : refs) {
        const auto found = properties.find(ref);
        const FakeMIDIProperties of = found == properties.end() ? FakeMIDIProperties() : found->second;
        list.push_back(
            {{ref, of.displayName, of.name, of.isOffline}, of.uniqueID, of.manufacturer, of.port, of.isLoopback});
    }
    return list;
}

}  // namespace corvel::tests
