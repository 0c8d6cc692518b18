#pragma once

namespace corvel::hosts {

/// How much room a client has for events that it has not read yet, in the sequencer's cells.
struct InputRoom {
    int size = 0;
    int free = 0;
};

}  // namespace corvel::hosts
