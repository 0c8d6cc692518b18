#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/jack/JackLibrary.hpp"

#include <memory>

namespace corvel::hosts {

/// The MIDI ports of a JACK server, or of PipeWire in its place.
///
/// The client can always be created: where no server runs, the endpoints come once one does, and they go and come with
/// it. No server is ever started. What arrives in one period goes out in the next, at the same frame.
///
/// It is read, sent to and asked on `queue`, which has to be the engine's own; the server is talked to on a thread of
/// the host's. Notifications come on `mainQueue`. With `leavesOutALSAMirrors`, ports that only mirror the ALSA
/// sequencer's are no endpoints. Throws `std::system_error` when the system has no thread or descriptor left.
[[nodiscard]] std::shared_ptr<MIDIHost> makeJackMIDIHost(std::shared_ptr<EventLoop> queue,
                                                         std::shared_ptr<DispatchQueue> mainQueue,
                                                         std::shared_ptr<JackLibrary> library,
                                                         bool leavesOutALSAMirrors);

}  // namespace corvel::hosts
