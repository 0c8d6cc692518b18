#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvel::hosts {

/// What a destination of the demo service has received.
struct DemoTraffic {
    std::uint64_t packets = 0;
    std::uint64_t bytes = 0;

    bool operator==(const DemoTraffic&) const = default;
};

/// A complete MIDI service in memory, with virtual devices that play by themselves. With it the program works on a
/// machine without a sequencer, and tests have a service that they can change.
///
/// Any thread may call its operations.
class DemoMIDIHost : public MIDIHost {
public:
    /// Adds an endpoint at the end of its kind and notifies the clients. `uniqueID` 0 gives it the next free one.
    virtual MIDIObjectRef addSource(std::string name, std::optional<std::string> manufacturer,
                                    std::int32_t uniqueID) = 0;
    virtual MIDIObjectRef addDestination(std::string name, std::optional<std::string> manufacturer,
                                         std::int32_t uniqueID) = 0;

    /// Removes an endpoint and notifies the clients. Does nothing for an unknown one.
    virtual void removeEndpoint(MIDIObjectRef endpoint) = 0;

    /// Sets an endpoint's offline flag and notifies the clients.
    virtual void setOffline(MIDIObjectRef endpoint, bool isOffline) = 0;

    /// Plays one packet into a source, as if its device had sent it.
    virtual void play(MIDIObjectRef source, std::vector<std::uint8_t> bytes) = 0;

    /// What a destination has received so far; zeros if it is unknown.
    [[nodiscard]] virtual DemoTraffic traffic(MIDIObjectRef destination) const = 0;
};

/// Options of the demo service.
struct DemoOptions {
    /// Whether the sources play by themselves, on a thread of the service.
    bool playsByItself = true;
    /// A line for the log of the first client, such as why the demo is used; empty for none.
    std::string notice;
};

/// The service with its six devices: "Demo Keyboard", "Demo Pads" and "Demo Sequencer", which play, and "Demo Synth",
/// "Demo Drums" and "Demo Recorder", which count what they receive. Notifications come on `mainQueue`. Throws
/// `std::system_error` if the system has no thread left to play on.
[[nodiscard]] std::shared_ptr<DemoMIDIHost> makeDemoMIDIHost(std::shared_ptr<DispatchQueue> mainQueue,
                                                             DemoOptions options = {});

}  // namespace corvel::hosts
