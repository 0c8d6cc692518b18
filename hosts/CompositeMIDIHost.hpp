#pragma once

#include "core/host/MIDIHost.hpp"

#include <cstddef>
#include <memory>
#include <vector>

namespace corvel::hosts {

/// The most services that can be put together: the bits above a service's own references tell so many apart.
inline constexpr std::size_t kMaxServices = std::size_t{1} << (32 - kMIDIObjectRefBits);

/// Several MIDI services as one.
///
/// Their endpoints stand in one list, those of the first service first. An endpoint whose unique ID belongs to one of
/// another service gets the next free ID, for as long as it is there. A client or port is there if at least one service
/// has made its own; why another could not goes to the diagnostics.
///
/// Precondition: 1 to `kMaxServices` services, all of which use the same queues.
[[nodiscard]] std::shared_ptr<MIDIHost> makeCompositeMIDIHost(std::vector<std::shared_ptr<MIDIHost>> services);

}  // namespace corvel::hosts
