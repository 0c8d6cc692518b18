#pragma once

#include "core/host/MIDIHost.hpp"
#include "hosts/jack/JackBuffers.hpp"
#include "hosts/jack/JackPort.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::hosts {

/// The server's events for a client. All except `process` come on a thread of the library, and must not call the
/// library.
struct JackEvents {
    /// One period, on the real-time thread.
    std::function<void(JackBuffers& buffers, std::uint32_t frames)> process = [](JackBuffers&, std::uint32_t) {};
    /// Ports were added, removed or changed.
    std::function<void()> portsChanged = [] {};
    std::function<void(std::string from, std::string to)> portRenamed = [](const std::string&, const std::string&) {};
    std::function<void()> xrun = [] {};
    /// The server has ended or has removed the client.
    std::function<void(std::string reason)> shutdown = [](const std::string&) {};
};

/// A client of a running server; the destructor closes it. Operations may wait for the server; if the server has died,
/// they may fail or hang. So they run on one thread that nothing else depends on. No event comes after the destructor.
class JackClient {
public:
    JackClient() = default;
    JackClient(const JackClient&) = delete;
    JackClient& operator=(const JackClient&) = delete;
    virtual ~JackClient() = default;

    /// "JACK" or "PipeWire".
    [[nodiscard]] virtual std::string serverName() = 0;
    /// The MIDI ports of all clients, including this one.
    [[nodiscard]] virtual std::vector<JackPort> ports() = 0;

    /// Starts the events and the periods. False if the server refuses.
    [[nodiscard]] virtual bool activate() = 0;
    [[nodiscard]] virtual std::uint32_t period() = 0;

    /// Registers a port of this client, which receives from a source or sends to a destination. Null if the server
    /// refuses.
    [[nodiscard]] virtual void* registerPort(const std::string& name, MIDIEndpointDirection otherSide) = 0;
    virtual void unregisterPort(void* port) = 0;
    /// Connects an own port to another client's. An existing connection is success.
    [[nodiscard]] virtual MIDIStatus connect(void* port, MIDIEndpointDirection otherSide,
                                             const std::string& otherPort) = 0;
};

/// Opens clients.
class JackLibrary {
public:
    JackLibrary() = default;
    JackLibrary(const JackLibrary&) = delete;
    JackLibrary& operator=(const JackLibrary&) = delete;
    virtual ~JackLibrary() = default;

    /// A client of the running server; null if none runs. Never starts a server.
    [[nodiscard]] virtual std::unique_ptr<JackClient> open(std::string_view name, JackEvents events) = 0;
};

}  // namespace corvel::hosts
