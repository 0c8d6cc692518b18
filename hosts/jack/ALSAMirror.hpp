#pragma once

#include "hosts/jack/JackPort.hpp"

namespace corvel::hosts {

/// Whether a port only mirrors a port of the ALSA sequencer.
///
/// If Corvel uses the sequencer itself, such ports are left out. Otherwise the same keyboard would be in the list
/// twice, and a user who connects both would hear every note twice. The direct path is also faster, by more than a
/// period. Mirrors are made by
/// - PipeWire's bridge: each port has an alias that begins with "alsa:seq:"; its client is called "Midi-Bridge";
/// - a2jmidid: a client "a2j" with a port for each port of the sequencer;
/// - the server's own drivers: clients "system" with ports "midi_..." whose alias names ALSA, and "system_midi".
///   A server's port of another driver, such as FireWire, is not a mirror.
[[nodiscard]] bool mirrorsALSA(const JackPort& port);

}  // namespace corvel::hosts
