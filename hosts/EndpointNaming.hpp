#pragma once

#include "core/engine/MIDIEndpointModel.hpp"

#include <cstdint>
#include <string>
#include <string_view>

/// Names and identities of endpoints, by which a returning device or program is recognised. All functions are pure.
namespace corvel::hosts {

/// The name without the PID that some programs put into it ("FLUID Synth (1234)" becomes "FLUID Synth", "Synth input
/// port (1234:0)" becomes "Synth input port (0)"), because a restarted program has another PID. Invalid UTF-8 becomes
/// U+FFFD. `processID` -1 means that there is none.
[[nodiscard]] std::string stableName(std::string_view name, int processID);

/// The display name of a port: the port's name if it begins with the client's, otherwise both names.
[[nodiscard]] std::string combinedName(std::string_view clientName, std::string_view portName);

/// The unique ID of a port, the same at any time and place for the same port of the same device: a hash of the
/// direction, the identity of the device or program, the port's number and its name. Never 0.
[[nodiscard]] std::int32_t uniqueEndpointID(MIDIEndpointDirection direction, std::string_view identity, int port,
                                            std::string_view portName);

}  // namespace corvel::hosts
