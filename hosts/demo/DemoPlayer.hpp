#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "hosts/demo/DemoPiece.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace corvel::hosts {

/// Plays one piece for one source, step by step, to whoever is connected to that source.
///
/// It begins at the first bar line at which it is heard, so that all players keep together, and it ends what it has
/// begun. A listener that reloads its endpoints disconnects for an instant: what falls due in that instant waits and
/// is not lost, or a note would hang. Knows no time and no threads.
class DemoPlayer {
public:
    /// How many steps in a row nobody has to listen before the player gives up.
    static constexpr unsigned kPatience = 3;

    explicit DemoPlayer(DemoPiece piece) : piece_(piece) {}

    /// Whether a piece has begun and not ended.
    [[nodiscard]] bool isPlaying() const { return begin_.has_value(); }

    /// Plays a step of the performance that all players share; called for every step in turn. The result is to be
    /// delivered now, and is empty when nobody listens.
    [[nodiscard]] std::vector<MIDIBytes> play(std::uint64_t step, bool isHeard);

    /// Whether packets wait for the listener to come back.
    [[nodiscard]] bool hasWaiting() const { return !waiting_.empty(); }

    /// The packets that wait; they are to be delivered now.
    [[nodiscard]] std::vector<MIDIBytes> takeWaiting();

    /// Ends the piece: what waits and what ends all that sounds, to be delivered now. Nothing when nothing is played.
    [[nodiscard]] std::vector<MIDIBytes> end();

private:
    DemoPiece piece_;
    /// The performance's step at which the piece began, and how many steps of the piece were played.
    std::optional<std::uint64_t> begin_;
    std::uint64_t playedSteps_ = 0;
    std::vector<MIDIBytes> waiting_;
    unsigned unheardSteps_ = 0;
};

}  // namespace corvel::hosts
