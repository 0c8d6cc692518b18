#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <chrono>
#include <cstdint>
#include <vector>

/// The music of the demo devices: four bars in A minor at 120 quarters a minute, over and over. Everything here is a
/// function of a step number alone, so that it can be looked at without waiting for it.
namespace corvel::hosts {

/// What a demo device plays.
enum class DemoPiece : std::uint8_t {
    /// A melody on channel 1, with sustain pedal, modulation and pitch bend.
    keyboard,
    /// Drums on channel 10.
    pads,
    /// A MIDI clock with its start, and bass, chords and arpeggio on channels 2 to 4, each with its program.
    sequencer,
};

/// A step is the time between two MIDI clocks, the 24th part of a quarter.
inline constexpr std::uint64_t kDemoStepsPerBar = 96;
inline constexpr std::uint64_t kDemoStepsPerCycle = 4 * kDemoStepsPerBar;

/// Time from step 0 to a step; exact, whatever came before, so that a performance does not drift.
[[nodiscard]] std::chrono::nanoseconds timeOfDemoStep(std::uint64_t step);

/// What a piece plays at a step, one message a packet. At the same step ends come before beginnings.
[[nodiscard]] std::vector<MIDIBytes> packetsAtDemoStep(DemoPiece piece, std::uint64_t step);

/// What ends a piece of which the steps before `step` were played: note-offs for the notes that sound, controllers and
/// bend back at rest, the clock stopped. Nothing when no step was played.
[[nodiscard]] std::vector<MIDIBytes> packetsAtDemoEnd(DemoPiece piece, std::uint64_t step);

}  // namespace corvel::hosts
