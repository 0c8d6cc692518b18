#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/host/MIDIHostChoice.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/RealtimeBroker.hpp"

#include <memory>
#include <string>

namespace corvel::hosts {

/// The MIDI services for a choice.
struct HostSelection {
    /// Never null. If only the sequencer was chosen, or it exists but cannot be opened and no JACK server runs, it is
    /// still the host: its engine reports the failure and stays unstarted.
    std::shared_ptr<MIDIHost> host;
    bool isDemo = false;
    /// Whether the host can work: now or, if JACK alone was chosen, when a server runs.
    bool hasService = true;
    /// What differs from the choice, in one line: the sequencer cannot be opened, or there is no JACK server. Otherwise
    /// empty.
    std::string problem;
};

/// Finds the services. Without a choice, the demo is used if there is neither a sequencer nor a JACK server, and its
/// log says so. If there is a sequencer, a JACK server may start later. `engineQueue` is the queue of the engine that
/// will use the service. `realtimeBroker` is asked for real-time priority if the kernel refuses it to the queue's
/// thread. Throws `std::system_error` if the system has no thread left.
[[nodiscard]] HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                                       const std::shared_ptr<DispatchQueue>& mainQueue,
                                       const RealtimeBroker& realtimeBroker = {});

/// Whether a status of opening the sequencer (negative errno) means that the machine has none. Other failures, such as
/// a full sequencer or a missing permission, mean that it exists.
[[nodiscard]] bool meansNoSequencer(int status);

}  // namespace corvel::hosts
