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

/// The number of bits in a service's references. If several services are combined, the bits above identify the service.
inline constexpr unsigned kMIDIObjectRefBits = 30;

/// Result of an operation of the MIDI service: 0 for success, anything else a failure (negative errno on Linux).
using MIDIStatus = std::int32_t;

inline constexpr MIDIStatus kMIDISuccess = 0;

/// Status of a send whose bytes cannot be made into a packet.
inline constexpr MIDIStatus kMIDIPacketNotMade = -10838;

/// Status of a diagnostic that the performer must see at once, because messages are being lost. Its text is shown
/// unchanged.
inline constexpr MIDIStatus kMIDIMessagesLost = -10839;

/// Result of the creation of a client or port: `ref` is 0 unless `status` is success.
struct MIDICreation {
    MIDIStatus status = kMIDISuccess;
    MIDIObjectRef ref = 0;
};

/// An endpoint, a device or an entity, as the service describes it. A property that cannot be read has no value.
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
    /// Equal for the source and the destination of one port; 0 if the service does not say.
    MIDIObjectRef port = 0;
    /// Whether the port sends back what it receives.
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

/// All objects of a service at one moment, in the service's order. An endpoint with the reference 0 marks a place that
/// is not in use.
struct MIDISetup {
    std::vector<MIDIEndpointRecord> sources;
    std::vector<MIDIEndpointRecord> destinations;
    std::vector<MIDIDeviceRecord> devices;
    std::vector<MIDIDeviceRecord> externalDevices;

    bool operator==(const MIDISetup&) const = default;
};

/// How thoroughly a service answers when it is asked for its setup.
enum class MIDIListing : std::uint8_t {
    /// With what it knows, including every change announced so far.
    known,
    /// After examining each object again: finds changes that are not announced, such as new names.
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
    /// The `connection` that was given to `connectSource`.
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

/// A MIDI service: the only interface between the engine and the operating system's MIDI.
///
/// `setDiagnosticHandler` and `createClient` are called on the main thread, the dispose operations on any; all others
/// only on the engine's queue.
class MIDIHost {
public:
    /// Called on the main queue for changes of the setup. Several changes may share a call.
    using NotificationHandler = std::function<void(const MIDINotification&)>;

    /// Called with packets that arrived, in order. A service that receives on the engine's queue calls it there, never
    /// from inside `send`. It also calls it from inside `setup`, `connectSource` and `disconnectSource`: packets that
    /// arrived before a change of the setup are delivered before the change takes effect. Other services call it on
    /// their own thread. The packets are valid only during the call.
    using ReceiveHandler = std::function<void(std::span<const MIDIArrival> arrivals)>;

    /// Receives a line about the service itself (an overrun, a missing privilege) and the status of the failure,
    /// `kMIDISuccess` if there was none. A line with another status is a failure, which the status line shows. Any
    /// thread.
    using DiagnosticHandler = std::function<void(std::string message, MIDIStatus status)>;

    MIDIHost() = default;
    MIDIHost(const MIDIHost&) = delete;
    MIDIHost& operator=(const MIDIHost&) = delete;
    virtual ~MIDIHost() = default;

    /// Sets where diagnostics go. Called once, before any other operation.
    virtual void setDiagnosticHandler(DiagnosticHandler handler) = 0;

    /// Creates a client, which is notified of changes of the setup; its input port, which receives from connected
    /// sources; and its output port, from which packets are sent. Handlers are called until their object is disposed
    /// of.
    [[nodiscard]] virtual MIDICreation createClient(std::string_view name, NotificationHandler handler) = 0;
    [[nodiscard]] virtual MIDICreation createInputPort(MIDIObjectRef client, std::string_view name,
                                                       ReceiveHandler handler) = 0;
    [[nodiscard]] virtual MIDICreation createOutputPort(MIDIObjectRef client, std::string_view name) = 0;

    /// Disposes of a port or client. No callback for it starts afterwards, except one that a queue already holds.
    /// Packets sent before are still delivered. Never waits for anything that needs the caller's thread.
    virtual void disposePort(MIDIObjectRef port) = 0;
    virtual void disposeClient(MIDIObjectRef client) = 0;

    /// The current setup. Never null; immutable, so any thread may read it. Works without a client.
    [[nodiscard]] virtual std::shared_ptr<const MIDISetup> setup(MIDIListing listing) = 0;

    /// Starts and stops delivery from a source to an input port. `connection` is passed with every packet. Stopping
    /// fails, without effect, for a source that does not exist or is not connected.
    [[nodiscard]] virtual MIDIStatus connectSource(MIDIObjectRef port, MIDIObjectRef source,
                                                   MIDIObjectRef connection) = 0;
    virtual MIDIStatus disconnectSource(MIDIObjectRef port, MIDIObjectRef source) = 0;

    /// Sets the endpoints that connections now use, replacing the previous ones. A service that must first open a path
    /// to an endpoint does so here, so that the first note does not wait for it. It need not deliver packets from
    /// other sources, but must send packets to any destination.
    virtual void setUsedEndpoints(std::span<const MIDIObjectRef> /*sources*/,
                                  std::span<const MIDIObjectRef> /*destinations*/) {}

    /// Sends the byte sequences now, in order, each as its own packet, and sets the status of each. They are passed
    /// together so that a service can send them in one system call. Never blocks. If a receiver has no room, the
    /// service may hold its packets back for a moment, in order.
    virtual void send(MIDIObjectRef port, std::span<MIDISend> messages) = 0;
};

}  // namespace corvel
