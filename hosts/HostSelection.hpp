#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/host/MIDIHostChoice.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"

#include <memory>
#include <string>

namespace corvel::hosts {

/// The MIDI service that a choice came to.
struct HostSelection {
    /// Null where the service that was asked for is not there.
    std::shared_ptr<MIDIHost> host;
    bool isDemo = false;
    /// One line for the user: why there is no host, or why it is the demo. Empty when all is as asked.
    std::string message;
};

/// Finds the service. Where the demo stands in for the system's MIDI, its log says so as well. `engineQueue` is the
/// queue of the engine that will use it. Throws `std::system_error` when the system has no thread left.
[[nodiscard]] HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                                       const std::shared_ptr<DispatchQueue>& mainQueue);

}  // namespace corvel::hosts
