#pragma once

#include "core/host/MIDIHost.hpp"

#include <cstddef>
#include <memory>
#include <vector>

namespace corvel::hosts {

/// Maximum number of services that can be combined, given by the bits above a service's own references.
inline constexpr std::size_t kMaxServices = std::size_t{1} << (32 - kMIDIObjectRefBits);

/// Combines several MIDI services into one.
///
/// Their endpoints are in one list, those of the first service first. An endpoint whose unique ID is in use by another
/// service gets the next free ID while it is present. A client or port is created if at least one service succeeds; the
/// failures of the others go to the diagnostics.
///
/// Precondition: 1 to `kMaxServices` services, which all use the same queues.
[[nodiscard]] std::shared_ptr<MIDIHost> makeCompositeMIDIHost(std::vector<std::shared_ptr<MIDIHost>> services);

}  // namespace corvel::hosts
