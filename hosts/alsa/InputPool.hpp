#pragma once

#include <optional>

namespace corvel::hosts {

/// A client's pool for events that it has not read yet, in cells of the sequencer.
struct InputPool {
    int size = 0;
    int free = 0;
};

/// Asks the kernel for a client's input pool, through an open sequencer descriptor; no value if the client has none or
/// does not exist. The library's own function works only for the calling client.
[[nodiscard]] std::optional<InputPool> queryInputPool(int sequencerDescriptor, int client);

}  // namespace corvel::hosts
