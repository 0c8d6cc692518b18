#pragma once

#include "hosts/demo/DemoSetup.hpp"

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <vector>

namespace corvel::hosts {

/// The state that the demo service and its playing thread share.
struct DemoState {
    /// Guards all members. Never held while a handler runs, because a handler may call or release the service.
    std::mutex mutex;
    /// Signals new connections and `endings`.
    std::condition_variable_any changed;
    DemoSetup setup;
    /// The ends of pieces that the playing thread must deliver. Only that thread delivers what is played, so that an
    /// end cannot overtake a note.
    std::vector<DemoDelivery> endings;
};

/// Runs the demo players together on the calling thread, from the first connection on and while anything listens, until
/// the stop. Then ends the pieces that they have started. Follows the steady clock without drift.
void performDemo(const std::stop_token& stop, DemoState& state);

}  // namespace corvel::hosts
