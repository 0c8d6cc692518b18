#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"

#include <memory>

namespace corvel::hosts {

/// The operating system's MIDI: the ALSA sequencer.
///
/// It is read, written and asked on `queue`, which has to be the engine's own, so that a delivery costs no switch of
/// threads. Notifications come on `mainQueue`.
[[nodiscard]] std::shared_ptr<MIDIHost> makeALSAMIDIHost(std::shared_ptr<EventLoop> queue,
                                                         std::shared_ptr<DispatchQueue> mainQueue);

}  // namespace corvel::hosts
