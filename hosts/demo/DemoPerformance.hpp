#pragma once

#include "hosts/demo/DemoSetup.hpp"

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <vector>

namespace corvel::hosts {

/// What the demo service and its playing thread share.
struct DemoState {
    /// Guards everything here; never held while a handler runs, since a handler may call the service or release it.
    std::mutex mutex;
    /// Told of new connections and of `endings`.
    std::condition_variable_any changed;
    DemoSetup setup;
    /// Ends of pieces that the playing thread owes. Only that thread delivers what is played, so that an end cannot
    /// overtake a note.
    std::vector<DemoDelivery> endings;
};

/// Has the demo players play together, on the calling thread, from the first connection on and as long as anyone
/// listens, until the stop; ends what they have begun. Keeps to the steady clock without drift.
void performDemo(const std::stop_token& stop, DemoState& state);

}  // namespace corvel::hosts
