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

/// The client's name without the number that a server appends if the name is in use. JACK appends "-01" to "-09",
/// PipeWire any number, but not in the port's alias. Other numbers belong to the name, as in "Juno-60".
[[nodiscard]] std::string baseClientName(const JackPort& port);

/// Whether the port belongs to an instance of Corvel.
[[nodiscard]] bool isCorvels(const JackPort& port);

/// The unique ID of a port, always the same for the same port of a client of the same name. Never 0.
[[nodiscard]] std::int32_t uniqueJackID(MIDIEndpointDirection direction, std::string_view client,
                                        std::string_view port);

/// The display name of a port: its pretty name; otherwise its client's name if the client has only this port in that
/// direction; otherwise both names. Invalid UTF-8 becomes U+FFFD.
[[nodiscard]] std::string displayNameOf(const JackPort& port, bool isOnlyPort);

/// The name of Corvel's port for another port: the other's name without colons, because a server takes a colon for the
/// end of the client's name. Shortened to the servers' maximum, and different from all names in `taken`.
[[nodiscard]] std::string ownPortName(std::string_view otherPort, const std::set<std::string>& taken);

}  // namespace corvel::hosts
