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

/// What a server tells a client. All but `process` come on a thread of the library's, and must not call the library.
struct JackEvents {
    /// One period, on the real-time thread.
    std::function<void(JackBuffers& buffers, std::uint32_t frames)> process = [](JackBuffers&, std::uint32_t) {};
    /// Ports have come, gone or changed.
    std::function<void()> portsChanged = [] {};
    std::function<void(std::string from, std::string to)> portRenamed = [](const std::string&, const std::string&) {};
    std::function<void()> xrun = [] {};
    /// The server has gone or has thrown the client out.
    std::function<void(std::string reason)> shutdown = [](const std::string&) {};
};

/// A client of a running server, closed with its object. Operations may wait for the server, one that has died may make
/// them fail or hang: one thread, on which nothing depends. No event comes after the end.
class JackClient {
public:
    JackClient() = default;
    JackClient(const JackClient&) = delete;
    JackClient& operator=(const JackClient&) = delete;
    virtual ~JackClient() = default;

    /// "JACK" or "PipeWire".
    [[nodiscard]] virtual std::string serverName() = 0;
    /// The MIDI ports of all clients, this one included.
    [[nodiscard]] virtual std::vector<JackPort> ports() = 0;

    /// Starts the events and the periods. False if the server refuses.
    [[nodiscard]] virtual bool activate() = 0;
    [[nodiscard]] virtual std::uint32_t period() = 0;

    /// Makes a port of this client's: one that receives from a source, or that sends to a destination. Null if the
    /// server refuses.
    [[nodiscard]] virtual void* registerPort(const std::string& name, MIDIEndpointDirection otherSide) = 0;
    virtual void unregisterPort(void* port) = 0;
    /// Connects an own port with another client's. A connection that is there already is success.
    [[nodiscard]] virtual MIDIStatus connect(void* port, MIDIEndpointDirection otherSide,
                                             const std::string& otherPort) = 0;
};

/// How to come by a client.
class JackLibrary {
public:
    JackLibrary() = default;
    JackLibrary(const JackLibrary&) = delete;
    JackLibrary& operator=(const JackLibrary&) = delete;
    virtual ~JackLibrary() = default;

    /// A client of the server that runs; null if none does. Never starts a server.
    [[nodiscard]] virtual std::unique_ptr<JackClient> open(std::string_view name, JackEvents events) = 0;
};

}  // namespace corvel::hosts
