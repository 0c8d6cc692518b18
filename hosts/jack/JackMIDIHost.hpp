#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/RealtimePriority.hpp"
#include "hosts/jack/JackLibrary.hpp"

#include <memory>

namespace corvel::hosts {

/// The MIDI ports of a JACK server, or of PipeWire in its place.
///
/// The client can always be created: the endpoints appear when a server runs, and disappear when it ends. Never starts
/// a server. Messages that arrive in one period are sent in the next, at the same frame.
///
/// Arrivals and sends run on `queue`, which must be the engine's own; calls to the server run on a thread of the host.
/// Notifications come on `mainQueue`. With `leavesOutALSAMirrors`, ports that only mirror the ALSA sequencer's are left
/// out. `priority` is that of `queue`'s thread, requested with the client; null if another host does that. Throws
/// `std::system_error` if the system has no thread or descriptor left.
[[nodiscard]] std::shared_ptr<MIDIHost> makeJackMIDIHost(std::shared_ptr<EventLoop> queue,
                                                         std::shared_ptr<DispatchQueue> mainQueue,
                                                         std::shared_ptr<JackLibrary> library,
                                                         bool leavesOutALSAMirrors,
                                                         std::shared_ptr<RealtimePriority> priority = nullptr);

}  // namespace corvel::hosts
