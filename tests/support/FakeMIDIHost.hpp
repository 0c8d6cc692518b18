#pragma once

#include "core/host/MIDIHost.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvel::tests {

/// What can be read of an object; what is absent cannot be read.
struct FakeMIDIProperties {
    std::optional<std::string> displayName = std::nullopt;
    std::optional<std::string> name = std::nullopt;
    std::optional<std::string> manufacturer = std::nullopt;
    std::optional<std::int32_t> uniqueID = std::nullopt;
    std::optional<bool> isOffline = std::nullopt;
};

/// An entity of a device; its properties stand with those of all objects.
struct FakeMIDIEntity {
    MIDIObjectRef ref = 0;
    std::vector<MIDIObjectRef> sources{};
    std::vector<MIDIObjectRef> destinations{};
};

/// A device; its properties stand with those of all objects.
struct FakeMIDIDevice {
    MIDIObjectRef ref = 0;
    std::vector<FakeMIDIEntity> entities{};
};

/// A packet that was sent successfully.
struct FakeSentPacket {
    MIDIObjectRef port = 0;
    MIDIObjectRef destination = 0;
    MIDIBytes bytes;

    bool operator==(const FakeSentPacket&) const = default;
};

/// A MIDI service in a test's hands: it has the endpoints and answers that the test sets, and records what it is asked
/// to do. Clients and ports get the references 1, 2, 3, … in the order in which they are made. One thread only.
class FakeMIDIHost : public MIDIHost {
public:
    enum class Recording : std::uint8_t {
        nothing,
        /// Creations, disposals, connections, disconnections, packets made and sent.
        actions,
        /// The reads of endpoints, of properties and of the device tree as well.
        everything,
    };

    // What the service consists of. Properties are looked up by reference; a listed reference may have none, and a
    // listed 0 is an index without an endpoint.
    std::vector<MIDIObjectRef> sources;
    std::vector<MIDIObjectRef> destinations;
    std::vector<FakeMIDIDevice> devices;
    std::vector<FakeMIDIDevice> externalDevices;
    std::unordered_map<MIDIObjectRef, FakeMIDIProperties> properties;

    // What it answers.
    MIDIStatus clientStatus = kMIDISuccess;
    MIDIStatus inputPortStatus = kMIDISuccess;
    MIDIStatus outputPortStatus = kMIDISuccess;
    /// By source and by destination; success for those that are not here.
    std::unordered_map<MIDIObjectRef, MIDIStatus> connectStatuses;
    std::unordered_map<MIDIObjectRef, MIDIStatus> disconnectStatuses;
    std::unordered_map<MIDIObjectRef, MIDIStatus> sendStatuses;
    /// Whether a packet can be made of the bytes; always, if empty.
    std::function<bool(std::span<const std::uint8_t> bytes)> canMakePacket;
    /// Called inside every call with the operation's name, before the call is answered.
    std::function<void(std::string_view operation)> onCall;

    // What it saw.
    Recording recording = Recording::actions;
    /// The calls as text, in order: "connectSource(port 2, source 11, connection 11)".
    std::vector<std::string> calls;
    /// The packets sent; only while `keepsSent`. Reserve room in it to send without allocation.
    std::vector<FakeSentPacket> sent;
    bool keepsSent = true;
    /// How many packets were sent, kept or not.
    std::size_t sentCount = 0;

    /// Lists an endpoint with its properties.
    void addSource(MIDIObjectRef ref, FakeMIDIProperties of);
    void addDestination(MIDIObjectRef ref, FakeMIDIProperties of);

    /// The calls so far, which are forgotten.
    [[nodiscard]] std::vector<std::string> takeCalls();

    /// Delivers packets as if they had come from the connected source with this reference constant. The handler stays
    /// usable when its port is disposed of, like a call that the service had already begun. Does nothing without a
    /// port. The bytes are overwritten after the call, so that whoever kept a reference is found out.
    void receive(std::initializer_list<std::vector<std::uint8_t>> packets, MIDIObjectRef connection);

    /// The same without a copy, for measurements.
    void receiveInPlace(std::span<const std::span<const std::uint8_t>> packets, MIDIObjectRef connection);

    /// Reports a change of the setup; nothing without a client.
    void notify(const MIDINotification& notification);

    /// Reports a line about the service's own condition.
    void diagnose(std::string message);

    void setDiagnosticHandler(DiagnosticHandler handler) override;
    [[nodiscard]] MIDICreation createClient(std::string_view name, NotificationHandler handler) override;
    [[nodiscard]] MIDICreation createInputPort(MIDIObjectRef client, std::string_view name,
                                               ReceiveHandler handler) override;
    [[nodiscard]] MIDICreation createOutputPort(MIDIObjectRef client, std::string_view name) override;
    void disposePort(MIDIObjectRef port) override;
    void disposeClient(MIDIObjectRef client) override;
    [[nodiscard]] unsigned sourceCount() override;
    [[nodiscard]] MIDIObjectRef source(unsigned index) override;
    [[nodiscard]] unsigned destinationCount() override;
    [[nodiscard]] MIDIObjectRef destination(unsigned index) override;
    [[nodiscard]] std::optional<std::string> displayName(MIDIObjectRef object) override;
    [[nodiscard]] std::optional<std::string> name(MIDIObjectRef object) override;
    [[nodiscard]] std::optional<std::string> manufacturer(MIDIObjectRef object) override;
    [[nodiscard]] std::optional<std::int32_t> uniqueID(MIDIObjectRef object) override;
    [[nodiscard]] std::optional<bool> isOffline(MIDIObjectRef object) override;
    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef port, MIDIObjectRef source, MIDIObjectRef connection) override;
    MIDIStatus disconnectSource(MIDIObjectRef port, MIDIObjectRef source) override;
    [[nodiscard]] unsigned deviceCount() override;
    [[nodiscard]] MIDIObjectRef device(unsigned index) override;
    [[nodiscard]] unsigned externalDeviceCount() override;
    [[nodiscard]] MIDIObjectRef externalDevice(unsigned index) override;
    [[nodiscard]] unsigned entityCount(MIDIObjectRef device) override;
    [[nodiscard]] MIDIObjectRef entity(MIDIObjectRef device, unsigned index) override;
    [[nodiscard]] unsigned entitySourceCount(MIDIObjectRef entity) override;
    [[nodiscard]] MIDIObjectRef entitySource(MIDIObjectRef entity, unsigned index) override;
    [[nodiscard]] unsigned entityDestinationCount(MIDIObjectRef entity) override;
    [[nodiscard]] MIDIObjectRef entityDestination(MIDIObjectRef entity, unsigned index) override;
    [[nodiscard]] std::optional<MIDIPacket> makePacket(std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] MIDIStatus send(MIDIObjectRef port, MIDIObjectRef destination, const MIDIPacket& packet) override;

private:
    struct Argument {
        std::string_view label;
        MIDIObjectRef value = 0;
    };

    void noteAction(std::string_view operation, std::initializer_list<Argument> arguments,
                    std::string_view lastArgument = {});
    void noteRead(std::string_view operation, std::initializer_list<Argument> arguments);
    void record(std::string_view operation, std::initializer_list<Argument> arguments, std::string_view lastArgument);
    [[nodiscard]] MIDICreation created(MIDIStatus status);
    [[nodiscard]] const FakeMIDIDevice& deviceWith(MIDIObjectRef ref) const;
    [[nodiscard]] const FakeMIDIEntity& entityWith(MIDIObjectRef ref) const;

    DiagnosticHandler diagnosticHandler_;
    NotificationHandler notificationHandler_;
    ReceiveHandler receiveHandler_;
    MIDIObjectRef nextRef_ = 1;
};

}  // namespace corvel::tests
