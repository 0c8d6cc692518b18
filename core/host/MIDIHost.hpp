#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvel {

/// Handle of a client, a port, an endpoint, a device or an entity of the MIDI service; 0 is none.
using MIDIObjectRef = std::uint32_t;

/// Result of an operation of the MIDI service: 0 for success, anything else a failure (negative errno on Linux).
using MIDIStatus = std::int32_t;

inline constexpr MIDIStatus kMIDISuccess = 0;

/// What a client or port creation came to: `ref` is 0 unless `status` is success.
struct MIDICreation {
    MIDIStatus status = kMIDISuccess;
    MIDIObjectRef ref = 0;
};

/// A packet that a service is ready to send: one byte sequence.
struct MIDIPacket {
    MIDIBytes bytes;
};

/// A change of the MIDI setup, as the service reports it.
struct MIDINotification {
    /// Message identifiers and object types. A service may report others.
    static constexpr std::int32_t kSetupChanged = 1;
    static constexpr std::int32_t kObjectAdded = 2;
    static constexpr std::int32_t kObjectRemoved = 3;
    static constexpr std::int32_t kPropertyChanged = 4;
    static constexpr std::int32_t kThruConnectionsChanged = 5;
    static constexpr std::int32_t kSerialPortOwnerChanged = 6;
    static constexpr std::int32_t kIOError = 7;

    static constexpr std::int32_t kOther = -1;
    static constexpr std::int32_t kDevice = 0;
    static constexpr std::int32_t kEntity = 1;
    static constexpr std::int32_t kSource = 2;
    static constexpr std::int32_t kDestination = 3;
    static constexpr std::int32_t kExternalDevice = 16;
    static constexpr std::int32_t kExternalEntity = 17;
    static constexpr std::int32_t kExternalSource = 18;
    static constexpr std::int32_t kExternalDestination = 19;

    std::int32_t messageID = kSetupChanged;
    /// The object added or removed and its parent; only with `kObjectAdded` and `kObjectRemoved`.
    MIDIObjectRef parent = 0;
    std::int32_t parentType = kOther;
    MIDIObjectRef child = 0;
    std::int32_t childType = kOther;
};

/// A MIDI service: the one interface through which the engine reaches the operating system's MIDI.
///
/// `setDiagnosticHandler` and `createClient` are called on the main thread, the dispose operations on any; all others
/// only on the engine's queue.
/// A property that cannot be read has no value.
class MIDIHost {
public:
    /// Called on the main queue for every change of the setup.
    using NotificationHandler = std::function<void(const MIDINotification&)>;

    /// Called with the packets that arrived together from one connected source, in order, and with the connection's
    /// reference constant; on whatever thread the service receives. The bytes are valid during the call only.
    using ReceiveHandler =
        std::function<void(std::span<const std::span<const std::uint8_t>> packets, MIDIObjectRef connection)>;

    /// Takes a line about the service's own condition (an overrun, a missing privilege); any thread.
    using DiagnosticHandler = std::function<void(std::string message)>;

    MIDIHost() = default;
    MIDIHost(const MIDIHost&) = delete;
    MIDIHost& operator=(const MIDIHost&) = delete;
    virtual ~MIDIHost() = default;

    /// Sets where diagnostics go. Called once, before any other operation.
    virtual void setDiagnosticHandler(DiagnosticHandler handler) = 0;

    /// Creates a client, which hears of changes of the setup, and its ports: one that receives from the sources that
    /// are connected to it, one that packets are sent from. Handlers are called until their object is disposed of.
    [[nodiscard]] virtual MIDICreation createClient(std::string_view name, NotificationHandler handler) = 0;
    [[nodiscard]] virtual MIDICreation createInputPort(MIDIObjectRef client, std::string_view name,
                                                       ReceiveHandler handler) = 0;
    [[nodiscard]] virtual MIDICreation createOutputPort(MIDIObjectRef client, std::string_view name) = 0;

    /// Ends a port or client. No callback for it starts afterwards, except one that a queue already holds; what was
    /// sent before still goes out. Waits for nothing that the caller could hold up.
    virtual void disposePort(MIDIObjectRef port) = 0;
    virtual void disposeClient(MIDIObjectRef client) = 0;

    /// Endpoints by index; reading a count looks at the system afresh. An index without an endpoint gives 0.
    [[nodiscard]] virtual unsigned sourceCount() = 0;
    [[nodiscard]] virtual MIDIObjectRef source(unsigned index) = 0;
    [[nodiscard]] virtual unsigned destinationCount() = 0;
    [[nodiscard]] virtual MIDIObjectRef destination(unsigned index) = 0;

    /// Properties of endpoints; the names also of devices and entities.
    [[nodiscard]] virtual std::optional<std::string> displayName(MIDIObjectRef object) = 0;
    [[nodiscard]] virtual std::optional<std::string> name(MIDIObjectRef object) = 0;
    [[nodiscard]] virtual std::optional<std::string> manufacturer(MIDIObjectRef object) = 0;
    [[nodiscard]] virtual std::optional<std::int32_t> uniqueID(MIDIObjectRef object) = 0;
    [[nodiscard]] virtual std::optional<bool> isOffline(MIDIObjectRef object) = 0;

    /// Starts and stops delivery from a source to an input port. `connection` comes back with every delivery. Stopping
    /// fails for a source that is gone or not connected, and then there is nothing to stop.
    [[nodiscard]] virtual MIDIStatus connectSource(MIDIObjectRef port, MIDIObjectRef source,
                                                   MIDIObjectRef connection) = 0;
    virtual MIDIStatus disconnectSource(MIDIObjectRef port, MIDIObjectRef source) = 0;

    /// The device tree, for diagnostics.
    [[nodiscard]] virtual unsigned deviceCount() = 0;
    [[nodiscard]] virtual MIDIObjectRef device(unsigned index) = 0;
    [[nodiscard]] virtual unsigned externalDeviceCount() = 0;
    [[nodiscard]] virtual MIDIObjectRef externalDevice(unsigned index) = 0;
    [[nodiscard]] virtual unsigned entityCount(MIDIObjectRef device) = 0;
    [[nodiscard]] virtual MIDIObjectRef entity(MIDIObjectRef device, unsigned index) = 0;
    [[nodiscard]] virtual unsigned entitySourceCount(MIDIObjectRef entity) = 0;
    [[nodiscard]] virtual MIDIObjectRef entitySource(MIDIObjectRef entity, unsigned index) = 0;
    [[nodiscard]] virtual unsigned entityDestinationCount(MIDIObjectRef entity) = 0;
    [[nodiscard]] virtual MIDIObjectRef entityDestination(MIDIObjectRef entity, unsigned index) = 0;

    /// Makes a packet of the bytes, to be sent now; no value if the service cannot.
    [[nodiscard]] virtual std::optional<MIDIPacket> makePacket(std::span<const std::uint8_t> bytes) = 0;

    /// Sends a packet to one destination. Never blocks; a service may hold the packet back for a moment, in order,
    /// when the receiver has no room.
    [[nodiscard]] virtual MIDIStatus send(MIDIObjectRef port, MIDIObjectRef destination, const MIDIPacket& packet) = 0;
};

}  // namespace corvel
