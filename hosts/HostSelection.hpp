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
    /// Never null. Where the sequencer was chosen or is there, but cannot be opened, it is the host all the same: its
    /// engine reports the failure and stays unstarted.
    std::shared_ptr<MIDIHost> host;
    bool isDemo = false;
    /// Why the sequencer cannot be opened, one line. Empty where it can, or was not asked for.
    std::string problem;
};

/// Finds the service. With `MIDIHostChoice::automatic`, the demo stands in for a sequencer that is not there, and its
/// log says so. `engineQueue` is the queue of the engine that will use the service. Throws `std::system_error` when the
/// system has no thread left.
[[nodiscard]] HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                                       const std::shared_ptr<DispatchQueue>& mainQueue);

/// Whether a status of opening the sequencer (negative errno) means that this machine has none, rather than one that is
/// full, forbidden or out of reach for the moment.
[[nodiscard]] bool meansNoSequencer(int status);

}  // namespace corvel::hosts
