#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/RealtimeBroker.hpp"

#include <memory>

namespace corvel::hosts {

/// The operating system's MIDI: the ALSA sequencer.
///
/// All its work runs on `queue`, which must be the engine's own, so that a delivery costs no thread switch.
/// Notifications come on `mainQueue`. `realtimeBroker` is asked for the real-time priority that the kernel refuses to
/// `queue`'s thread.
[[nodiscard]] std::shared_ptr<MIDIHost> makeALSAMIDIHost(std::shared_ptr<EventLoop> queue,
                                                         std::shared_ptr<DispatchQueue> mainQueue,
                                                         RealtimeBroker realtimeBroker = {});

}  // namespace corvel::hosts
