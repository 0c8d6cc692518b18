#pragma once

#include "hosts/jack/JackLibrary.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace corvel::tests {

/// An event in a port's buffer, or one that has gone out.
struct FakeJackEvent {
    std::uint32_t time = 0;
    std::vector<std::uint8_t> bytes;

    bool operator==(const FakeJackEvent&) const = default;
};

/// A JACK server in a test's hands: it has the ports that the test sets, runs a period when the test says so, and shows
/// what Corvel's ports are connected to and what they send. It has one client at a time. One thread only.
class FakeJackServer {
public:
    /// A port of Corvel's.
    struct OwnPort {
        std::string name;
        MIDIEndpointDirection otherSide = MIDIEndpointDirection::source;
        /// The other client's port; empty while there is none.
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
    /// How many events an output's buffer takes, and how long one may be.
    std::size_t bufferEvents = 1'000;
    std::size_t maxEvent = 32'720;

    // What it saw.
    std::size_t openCount = 0;
    std::size_t listCount = 0;
    /// The events of the client that there is.
    hosts::JackEvents events;
    bool hasClient = false;
    std::vector<std::unique_ptr<OwnPort>> ownPorts;
    /// What has gone out, by the destination's name, at frames of the server's clock.
    std::map<std::string, std::vector<FakeJackEvent>> sent;
    std::uint32_t frame = 10'000;

    void addSource(std::string portName);
    void addDestination(std::string portName);
    void remove(const std::string& portName);

    /// The next period, in which the sources' ports have these events.
    void runPeriod(std::map<std::string, std::vector<FakeJackEvent>> arriving = {});
    /// Ends as a server does that is stopped.
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
