#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/host/MIDIHostChoice.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/RealtimeBroker.hpp"

#include <memory>
#include <string>

namespace corvel::hosts {

/// The MIDI services that a choice came to.
struct HostSelection {
    /// Never null. Where the sequencer alone was chosen or is there, but cannot be opened, it is the host all the same:
    /// its engine reports the failure and stays unstarted.
    std::shared_ptr<MIDIHost> host;
    bool isDemo = false;
    /// Whether the host can do anything, now or once a JACK server runs.
    bool hasService = true;
    /// What is not as it was asked for, one line: the sequencer that cannot be opened, no JACK server. Else empty.
    std::string problem;
};

/// Finds the services. Without a choice, the demo stands in where there is neither a sequencer nor a JACK server, and
/// its log says so; where there is a sequencer, a JACK server may come later. `engineQueue` is the queue of the engine
/// that will use the service; `realtimeBroker` is asked for the real-time priority that the kernel refuses to its
/// thread. Throws `std::system_error` when the system has no thread left.
[[nodiscard]] HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                                       const std::shared_ptr<DispatchQueue>& mainQueue,
                                       const RealtimeBroker& realtimeBroker = {});

/// Whether a status of opening the sequencer (negative errno) means that the machine has none. Other failures, such as
/// a full sequencer or a missing permission, mean that it exists.
[[nodiscard]] bool meansNoSequencer(int status);

}  // namespace corvel::hosts
