#pragma once

#include "hosts/alsa/InputRoom.hpp"

#include <optional>

namespace corvel::hosts {

/// Asks the kernel, through an open sequencer descriptor, for the room in a client's input pool; no value for a client
/// that has no such pool or is gone. The sequencer's library asks for its own client only.
[[nodiscard]] std::optional<InputRoom> queryInputRoom(int sequencerDescriptor, int client);

}  // namespace corvel::hosts
