#pragma once

#include "hosts/jack/JackLibrary.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace corvel::tests {

/// An event in a port's buffer, or one that was sent.
struct FakeJackEvent {
    std::uint32_t time = 0;
    std::vector<std::uint8_t> bytes;

    bool operator==(const FakeJackEvent&) const = default;
};

/// A JACK server that a test controls: it has the ports that the test sets, runs a period when the test says so, and
/// records connections and sent events of Corvel's ports. It has one client at a time. One thread only.
class FakeJackServer {
public:
    /// A port of Corvel.
    struct OwnPort {
        std::string name;
        MIDIEndpointDirection otherSide = MIDIEndpointDirection::source;
        /// The other client's port; empty if there is none.
        std::string connectedTo;
        /// The buffer of this period.
        std::vector<FakeJackEvent> buffer;
    };

    // What it has, and how it answers.
    bool isRunning = true;
    std::string name = "JACK";
    std::vector<hosts::JackPort> ports;
    /// Ports that cannot be connected.
    std::vector<std::string> refusing;
    bool refusesNewPorts = false;
    std::uint32_t frames = 128;
    /// Maximum number of events in an output's buffer, and maximum size of an event.
    std::size_t bufferEvents = 1'000;
    std::size_t maxEvent = 32'720;

    // What it saw.
    std::size_t openCount = 0;
    std::size_t listCount = 0;
    /// How often a port was removed that it does not have.
    std::size_t strayRemovalCount = 0;
    /// The event handlers of the present client.
    hosts::JackEvents events;
    bool hasClient = false;
    std::vector<std::unique_ptr<OwnPort>> ownPorts;
    /// The sent events, by the destination's name, at frames of the server's clock.
    std::map<std::string, std::vector<FakeJackEvent>> sent;
    std::uint32_t frame = 10'000;

    void addSource(std::string portName);
    void addDestination(std::string portName);
    void remove(const std::string& portName);

    /// Runs the next period, in which the sources' ports have these events.
    void runPeriod(std::map<std::string, std::vector<FakeJackEvent>> arriving = {});
    /// Ends as a stopped server does.
    void shutDown();

    [[nodiscard]] std::vector<std::string> ownPortNames() const;
    /// Corvel's port that is connected to this one; null if there is none.
    [[nodiscard]] const OwnPort* connectedTo(const std::string& portName) const;

private:
    hosts::JackBuffers* buffers_ = nullptr;
    friend class FakeJackClient;
};

/// A library whose only server is `server`.
[[nodiscard]] std::shared_ptr<hosts::JackLibrary> makeFakeJackLibrary(std::shared_ptr<FakeJackServer> server);

}  // namespace corvel::tests
