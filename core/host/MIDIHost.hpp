#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {

/// Handle of a client, a port, an endpoint, a device or an entity of the MIDI service; 0 is none.
using MIDIObjectRef = std::uint32_t;

/// Result of an operation of the MIDI service: 0 for success, anything else a failure (negative errno on Linux).
using MIDIStatus = std::int32_t;

inline constexpr MIDIStatus kMIDISuccess = 0;

/// Status of a send for whose bytes the service could make no packet.
inline constexpr MIDIStatus kMIDIPacketNotMade = -10838;

/// Result of the creation of a client or port: `ref` is 0 unless `status` is success.
struct MIDICreation {
    MIDIStatus status = kMIDISuccess;
    MIDIObjectRef ref = 0;
};

/// What a service tells of an endpoint, a device or an entity. A property that cannot be read has no value.
struct MIDIObjectRecord {
    MIDIObjectRef ref = 0;
    std::optional<std::string> displayName;
    std::optional<std::string> name;
    std::optional<bool> isOffline;

    bool operator==(const MIDIObjectRecord&) const = default;
};

/// A source or a destination.
struct MIDIEndpointRecord : MIDIObjectRecord {
    std::optional<std::int32_t> uniqueID;
    std::optional<std::string> manufacturer;
    /// The same for the source and the destination of one port, 0 where the service does not tell.
    MIDIObjectRef port = 0;
    /// Whether the port sends what it is sent.
    bool isLoopback = false;

    bool operator==(const MIDIEndpointRecord&) const = default;
};

/// A part of a device, with its endpoints.
struct MIDIEntityRecord : MIDIObjectRecord {
    std::vector<MIDIObjectRecord> sources;
    std::vector<MIDIObjectRecord> destinations;

    bool operator==(const MIDIEntityRecord&) const = default;
};

struct MIDIDeviceRecord : MIDIObjectRecord {
    std::vector<MIDIEntityRecord> entities;

    bool operator==(const MIDIDeviceRecord&) const = default;
};

/// Everything that a service has at one moment, in its order. An endpoint with the reference 0 is a place without an
/// endpoint.
struct MIDISetup {
    std::vector<MIDIEndpointRecord> sources;
    std::vector<MIDIEndpointRecord> destinations;
    std::vector<MIDIDeviceRecord> devices;
    std::vector<MIDIDeviceRecord> externalDevices;

    bool operator==(const MIDISetup&) const = default;
};

/// How a service answers when it is asked for its setup.
enum class MIDIListing : std::uint8_t {
    /// With what it knows, including every change that it has been told of so far.
    known,
    /// After looking at each object again: finds changes that nobody announces, such as new names.
    afresh,
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

/// A packet that has arrived.
struct MIDIArrival {
    /// The reference constant of the connection that it came through.
    MIDIObjectRef connection = 0;
    MIDIBytes bytes;
};

/// A byte sequence for one destination.
struct MIDISend {
    MIDIObjectRef destination = 0;
    std::span<const std::uint8_t> bytes;
    /// The result; set by the service.
    MIDIStatus status = kMIDISuccess;
};

/// A MIDI service: the one interface through which the engine reaches the operating system's MIDI.
///
/// `setDiagnosticHandler` and `createClient` are called on the main thread, the dispose operations on any; all others
/// only on the engine's queue.
class MIDIHost {
public:
    /// Called on the main queue for changes of the setup; changes that come together may share a call.
    using NotificationHandler = std::function<void(const MIDINotification&)>;

    /// Called with packets that arrived, in order. A service that receives on the engine's queue calls it there, never
    /// from inside `send`, and also from inside `setup`, `connectSource` and `disconnectSource`: what arrived before a
    /// change of the setup is delivered before the change takes effect. Other services call it on a thread of their
    /// own. The packets are valid during the call only.
    using ReceiveHandler = std::function<void(std::span<const MIDIArrival> arrivals)>;

    /// Takes a line about the service's own condition (an overrun, a missing privilege) and the status of what failed,
    /// `kMIDISuccess` if nothing did; any thread.
    using DiagnosticHandler = std::function<void(std::string message, MIDIStatus status)>;

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

    /// What there is. Never null; it does not change afterwards and may be read on any thread. Works without a client.
    [[nodiscard]] virtual std::shared_ptr<const MIDISetup> setup(MIDIListing listing) = 0;

    /// Starts and stops delivery from a source to an input port. `connection` comes back with every packet. Stopping
    /// fails for a source that is gone or not connected, and then there is nothing to stop.
    [[nodiscard]] virtual MIDIStatus connectSource(MIDIObjectRef port, MIDIObjectRef source,
                                                   MIDIObjectRef connection) = 0;
    virtual MIDIStatus disconnectSource(MIDIObjectRef port, MIDIObjectRef source) = 0;

    /// Sends the byte sequences now, in order, each as a packet of its own, and sets each one's status. They are given
    /// together so that a service can hand them to the system in one call. Never blocks; a service may hold a packet
    /// back for a moment, in order, when its receiver has no room.
    virtual void send(MIDIObjectRef port, std::span<MIDISend> messages) = 0;
};

}  // namespace corvel
