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

/// Plays the pieces of all demo players on the calling thread while any source is connected, until a stop is requested.
/// Then ends the pieces that have started. Follows the steady clock without drift.
void performDemo(const std::stop_token& stop, DemoState& state);

}  // namespace corvel::hosts
