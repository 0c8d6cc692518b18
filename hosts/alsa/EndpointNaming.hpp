#pragma once

#include "core/engine/MIDIEndpointModel.hpp"

#include <cstdint>
#include <string>
#include <string_view>

/// Names and identities of endpoints, made so that a device or program is known again when it comes back. All functions
/// are pure.
namespace corvel::hosts {

/// The name without the process id that programs put into it ("FLUID Synth (1234)" becomes "FLUID Synth", "Synth input
/// port (1234:0)" becomes "Synth input port (0)"): with it, a restarted program would never be found again. Bytes that
/// are not UTF-8 become U+FFFD. `processID` -1 means that there is none.
[[nodiscard]] std::string stableName(std::string_view name, int processID);

/// The name shown for a port: the port's, if that begins with the client's, else both.
[[nodiscard]] std::string combinedName(std::string_view clientName, std::string_view portName);

/// The unique ID of a port, the same wherever and whenever the same port of the same device is seen: a hash of the
/// direction, the identity of device or program, the port's number and its name. Never 0.
[[nodiscard]] std::int32_t uniqueEndpointID(MIDIEndpointDirection direction, std::string_view identity, int port,
                                            std::string_view portName);

}  // namespace corvel::hosts
