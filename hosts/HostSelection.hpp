#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/host/MIDIHostChoice.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"

#include <memory>
#include <string>

namespace corvel::hosts {

/// The MIDI service for a choice.
struct HostSelection {
    /// Never null. If the sequencer was chosen or exists but cannot be opened, it is still the host: its engine reports
    /// the failure and stays unstarted.
    std::shared_ptr<MIDIHost> host;
    bool isDemo = false;
    /// Why the sequencer cannot be opened, in one line. Empty if it can, or was not requested.
    std::string problem;
};

/// Finds the service. With `MIDIHostChoice::automatic`, the demo replaces a sequencer that does not exist, and its log
/// says so. `engineQueue` is the queue of the engine that will use the service. Throws `std::system_error` if the
/// system has no thread left.
[[nodiscard]] HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                                       const std::shared_ptr<DispatchQueue>& mainQueue);

/// Whether a status of opening the sequencer (negative errno) means that the machine has none. Other failures, such as
/// a full sequencer or a missing permission, mean that it exists.
[[nodiscard]] bool meansNoSequencer(int status);

}  // namespace corvel::hosts
