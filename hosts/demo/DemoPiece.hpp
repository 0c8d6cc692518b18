#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <chrono>
#include <cstdint>
#include <vector>

/// The music of the demo devices: four bars in A minor at 120 quarters a minute, repeated. Every result depends only on
/// a step number, so that tests need not wait.
namespace corvel::hosts {

/// What a demo device plays.
enum class DemoPiece : std::uint8_t {
    /// A melody on channel 1, with sustain pedal, modulation and pitch bend.
    keyboard,
    /// Drums on channel 10.
    pads,
    /// A MIDI clock with its start, and bass, chords and arpeggio on channels 2 to 4, each with its own program.
    sequencer,
};

/// A step is the time between two MIDI clocks, the 24th part of a quarter.
inline constexpr std::uint64_t kDemoStepsPerBar = 96;
inline constexpr std::uint64_t kDemoStepsPerCycle = 4 * kDemoStepsPerBar;

/// Time from step 0 to a step. Exact for every step, so that a performance does not drift.
[[nodiscard]] std::chrono::nanoseconds timeOfDemoStep(std::uint64_t step);

/// What a piece plays at a step, one message in each packet. In the same step, notes end before others start.
[[nodiscard]] std::vector<MIDIBytes> packetsAtDemoStep(DemoPiece piece, std::uint64_t step);

/// What ends a piece whose steps before `step` were played: note-offs for sounding notes, controllers and bend reset,
/// the clock stopped. Empty if no step was played.
[[nodiscard]] std::vector<MIDIBytes> packetsAtDemoEnd(DemoPiece piece, std::uint64_t step);

}  // namespace corvel::hosts
