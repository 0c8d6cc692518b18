#pragma once

#include "core/host/MIDIHost.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvel::tests {

/// The properties of an endpoint; those without a value cannot be read.
struct FakeMIDIProperties {
    std::optional<std::string> displayName = std::nullopt;
    std::optional<std::string> name = std::nullopt;
    std::optional<std::string> manufacturer = std::nullopt;
    std::optional<std::int32_t> uniqueID = std::nullopt;
    std::optional<bool> isOffline = std::nullopt;
    MIDIObjectRef port = 0;
    bool isLoopback = false;
};

/// A packet that was sent successfully.
struct FakeSentPacket {
    MIDIObjectRef destination = 0;
    MIDIBytes bytes;

    bool operator==(const FakeSentPacket&) const = default;
};

/// A MIDI service that a test controls: it has the endpoints and answers that the test sets, and records the calls.
/// Clients and ports get the references 1, 2, 3, … in the order in which they are created. If a client or port was not
/// created here, or was disposed of, the answer is `kWrongObject`. One thread only.
class FakeMIDIHost : public MIDIHost {
public:
    static constexpr MIDIStatus kWrongObject = -22;

    // The objects of the service. Properties are looked up by reference. A listed reference may have none, and a listed
    // 0 is a place without an endpoint.
    std::vector<MIDIObjectRef> sources;
    std::vector<MIDIObjectRef> destinations;
    std::unordered_map<MIDIObjectRef, FakeMIDIProperties> properties;
    std::vector<MIDIDeviceRecord> devices;
    std::vector<MIDIDeviceRecord> externalDevices;

    // What it answers.
    MIDIStatus clientStatus = kMIDISuccess;
    MIDIStatus inputPortStatus = kMIDISuccess;
    MIDIStatus outputPortStatus = kMIDISuccess;
    /// By source and by destination; others succeed.
    std::unordered_map<MIDIObjectRef, MIDIStatus> connectStatuses;
    std::unordered_map<MIDIObjectRef, MIDIStatus> disconnectStatuses;
    std::unordered_map<MIDIObjectRef, MIDIStatus> sendStatuses;
    /// Called inside every call with the operation's name, before the call is answered.
    std::function<void(std::string_view operation)> onCall;

    // What it saw.
    /// The requested names of the client and ports, in order.
    std::vector<std::string> requested;
    /// The client and ports disposed of, in order.
    std::vector<MIDIObjectRef> disposed;
    /// The sources connected to the input port, with the `connection` of each.
    std::map<MIDIObjectRef, MIDIObjectRef> connections;
    /// The endpoints that were last said to be in use.
    std::vector<MIDIObjectRef> usedSources;
    std::vector<MIDIObjectRef> usedDestinations;
    /// The kinds of listings that were requested, in order.
    std::vector<MIDIListing> listings;
    /// The sent packets; only while `keepsSent`. Reserve room in it to send without allocation.
    std::vector<FakeSentPacket> sent;
    bool keepsSent = true;
    /// The number of sent packets, whether or not they are kept.
    std::size_t sentCount = 0;
    /// The number of packets in each call of `send`; only while `keepsSent`.
    std::vector<std::size_t> sendSizes;

    /// Lists an endpoint with its properties.
    void addSource(MIDIObjectRef ref, FakeMIDIProperties of);
    void addDestination(MIDIObjectRef ref, FakeMIDIProperties of);

    /// Delivers packets as if they came from the connected source with this `connection`. The handler still works
    /// after its port was disposed of, as in a call that the service has already started. Does nothing without a port.
    /// Overwrites the packets after the call, so that a test notices a kept reference.
    void receive(std::initializer_list<MIDIBytes> packets, MIDIObjectRef connection);

    /// Delivers packets in the form in which a service gives them.
    void receive(std::span<const MIDIArrival> arrivals);

    /// Reports a change of the setup; does nothing without a client.
    void notify(const MIDINotification& notification);

    /// Reports a line about the service itself; does nothing without a handler.
    void diagnose(std::string message, MIDIStatus status = kMIDISuccess);

    void setDiagnosticHandler(DiagnosticHandler handler) override;
    [[nodiscard]] MIDICreation createClient(std::string_view name, NotificationHandler handler) override;
    [[nodiscard]] MIDICreation createInputPort(MIDIObjectRef client, std::string_view name,
                                               ReceiveHandler handler) override;
    [[nodiscard]] MIDICreation createOutputPort(MIDIObjectRef client, std::string_view name) override;
    void disposePort(MIDIObjectRef port) override;
    void disposeClient(MIDIObjectRef client) override;
    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(MIDIListing listing) override;
    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef port, MIDIObjectRef source, MIDIObjectRef connection) override;
    MIDIStatus disconnectSource(MIDIObjectRef port, MIDIObjectRef source) override;
    void setUsedEndpoints(std::span<const MIDIObjectRef> ofSources,
                          std::span<const MIDIObjectRef> ofDestinations) override;
    void send(MIDIObjectRef port, std::span<MIDISend> messages) override;

private:
    void note(std::string_view operation) const;
    [[nodiscard]] MIDICreation create(std::string_view name, MIDIStatus status, MIDIObjectRef& made);
    [[nodiscard]] std::vector<MIDIEndpointRecord> records(const std::vector<MIDIObjectRef>& refs) const;

    DiagnosticHandler diagnosticHandler_;
    NotificationHandler notificationHandler_;
    ReceiveHandler receiveHandler_;
    MIDIObjectRef nextRef_ = 1;
    // 0 before they are created and after they are disposed of.
    MIDIObjectRef client_ = 0;
    MIDIObjectRef inputPort_ = 0;
    MIDIObjectRef outputPort_ = 0;
};

}  // namespace corvel::tests
