#pragma once

#include "core/host/MIDIHost.hpp"
#include "hosts/demo/DemoMIDIHost.hpp"
#include "hosts/demo/DemoPlayer.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvel::hosts {

/// A device of the demo service: one entity with one endpoint, which have the device's name and properties.
struct DemoDevice {
    MIDIObjectRef device = 0;
    MIDIObjectRef entity = 0;
    MIDIObjectRef endpoint = 0;
    /// Whether its endpoint is a source, otherwise a destination.
    bool isSource = true;
    std::string name;
    std::optional<std::string> manufacturer;
    std::int32_t uniqueID = 0;
    bool isOffline = false;
    /// What a destination has received.
    DemoTraffic traffic;
    /// Plays the source by itself.
    std::optional<DemoPlayer> player;
};

/// A program that uses the service. Handlers are shared with calls in progress, which may outlive this object.
struct DemoClient {
    MIDIObjectRef ref = 0;
    std::shared_ptr<const MIDIHost::NotificationHandler> handler;
};

/// A port of a client; one without a handler is for output.
struct DemoPort {
    MIDIObjectRef ref = 0;
    MIDIObjectRef client = 0;
    std::shared_ptr<const MIDIHost::ReceiveHandler> handler;
    /// The `connection` of each connected source.
    std::map<MIDIObjectRef, MIDIObjectRef> connections;
};

/// A call of a receive handler that is still to be made. It must be made without a lock.
struct DemoDelivery {
    std::shared_ptr<const MIDIHost::ReceiveHandler> handler;
    MIDIObjectRef connection = 0;
    std::vector<MIDIBytes> packets;

    /// Calls the handler.
    void perform() const;
};

/// The demo service's objects and their relations. The caller must guard it.
///
/// References count up and are never reused, so an old one finds nothing. Pointers are valid until the next object of
/// their kind is added or removed.
class DemoSetup {
public:
    /// A new reference that no object has had.
    [[nodiscard]] MIDIObjectRef newRef() { return ++lastRef_; }

    /// Adds a device at the end of its kind, with new references and, for `uniqueID` 0, the next free ID.
    DemoDevice& add(DemoDevice device);

    /// Removes the endpoint's device and its connections. Precondition: it exists.
    void removeDevice(MIDIObjectRef endpoint);

    /// All devices and endpoints as records.
    [[nodiscard]] MIDISetup records() const;

    /// The device with this endpoint; null if there is none.
    [[nodiscard]] DemoDevice* withEndpoint(MIDIObjectRef endpoint);

    [[nodiscard]] DemoClient* client(MIDIObjectRef ref);
    [[nodiscard]] DemoPort* port(MIDIObjectRef ref);

    /// Whether any client listens to the source.
    [[nodiscard]] bool isHeard(const DemoDevice& source) const;

    /// Adds the calls that deliver the packets to all clients connected to the source.
    void deliver(const DemoDevice& source, const std::vector<MIDIBytes>& packets,
                 std::vector<DemoDelivery>& deliveries) const;

    std::vector<DemoDevice> devices;
    std::vector<DemoClient> clients;
    std::vector<DemoPort> ports;

private:
    [[nodiscard]] std::int32_t freeUniqueID() const;

    MIDIObjectRef lastRef_ = 0;
};

}  // namespace corvel::hosts
