#pragma once

#include <optional>

namespace corvel::hosts {

/// A client's pool for events that it has not read yet, in the sequencer's cells.
struct InputPool {
    int size = 0;
    int free = 0;
};

/// Asks the kernel, through an open sequencer descriptor, for a client's input pool; no value for a client that has
/// none or is gone. The sequencer's library asks for its own client only.
[[nodiscard]] std::optional<InputPool> queryInputPool(int sequencerDescriptor, int client);

}  // namespace corvel::hosts
