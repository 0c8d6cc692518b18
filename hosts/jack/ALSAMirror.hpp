#pragma once

#include "hosts/jack/JackPort.hpp"

namespace corvel::hosts {

/// Whether a port only mirrors one of the ALSA sequencer.
///
/// Where Corvel has the sequencer itself, such a port is left out: the same keyboard would stand in the list twice, and
/// whoever connects both, or has a connection found again at the wrong one, plays every note twice. The direct way is
/// also the faster one, by a period and more. Mirrors are made by
/// - PipeWire's bridge: each port has an alias that begins with "alsa:seq:"; its client is called "Midi-Bridge";
/// - a2jmidid: a client "a2j" with a port for each of the sequencer's;
/// - the server's own drivers: clients "system" with ports "midi_...", whose alias tells of ALSA, and "system_midi".
///   A server's port of another driver, FireWire's for one, is no mirror.
[[nodiscard]] bool mirrorsALSA(const JackPort& port);

}  // namespace corvel::hosts
