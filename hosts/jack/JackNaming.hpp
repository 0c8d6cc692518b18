#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "hosts/jack/JackPort.hpp"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

/// Names and identities of JACK's ports. All functions are pure.
namespace corvel::hosts {

/// The name that a port's client asked for. A server puts a number behind the name of a second client: JACK "-01" to
/// "-09", PipeWire any number, which the port's alias does not have. Other numbers stay: a client "Juno-60" is called
/// so.
[[nodiscard]] std::string baseClientName(const JackPort& port);

/// Whether the port is one of Corvel's own, of whatever instance.
[[nodiscard]] bool isCorvels(const JackPort& port);

/// The unique ID of a port, the same whenever the same port of a client of the same name is seen. Never 0.
[[nodiscard]] std::int32_t uniqueJackID(MIDIEndpointDirection direction, std::string_view client,
                                        std::string_view port);

/// The name shown for a port: its pretty name or, without one, its client's where that has one port of that direction,
/// else both. Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string displayNameOf(const JackPort& port, bool isOnlyPort);

/// The name for Corvel's port that is connected to another: that one's, without the colon, which servers take for the
/// end of a client's name, no longer than servers allow, and told apart from those in `taken`.
[[nodiscard]] std::string ownPortName(std::string_view otherPort, const std::set<std::string>& taken);

}  // namespace corvel::hosts
