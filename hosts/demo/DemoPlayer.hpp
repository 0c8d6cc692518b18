#pragma once

#include "core/messages/MIDIBytes.hpp"
#include "hosts/demo/DemoPiece.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace corvel::hosts {

/// Plays one piece for one source, step by step, to all clients connected to that source.
///
/// It starts at the first bar line at which it is heard, so that all players keep together, and ends what it has
/// started. A listener that reloads its endpoints disconnects for a moment: packets that fall due in that moment are
/// kept, because a lost note-off would leave a note hanging. Uses no time and no threads.
class DemoPlayer {
public:
    /// Number of consecutive steps without a listener after which the player gives up.
    static constexpr unsigned kPatience = 3;

    explicit DemoPlayer(DemoPiece piece) : piece_(piece) {}

    /// Whether a piece has started and not ended.
    [[nodiscard]] bool isPlaying() const { return begin_.has_value(); }

    /// Plays a step of the performance that all players share. Must be called for every step in turn. Deliver the
    /// result now; it is empty if nobody listens.
    [[nodiscard]] std::vector<MIDIBytes> play(std::uint64_t step, bool isHeard);

    /// Whether packets are waiting for the listener to come back.
    [[nodiscard]] bool hasWaiting() const { return !waiting_.empty(); }

    /// The waiting packets. Deliver them now.
    [[nodiscard]] std::vector<MIDIBytes> takeWaiting();

    /// Ends the piece: returns the waiting packets and those that end all sounding notes. Deliver them now. Empty if
    /// nothing is playing.
    [[nodiscard]] std::vector<MIDIBytes> end();

private:
    DemoPiece piece_;
    /// The performance's step at which the piece started, and the number of steps of the piece that were played.
    std::optional<std::uint64_t> begin_;
    std::uint64_t playedSteps_ = 0;
    std::vector<MIDIBytes> waiting_;
    unsigned unheardSteps_ = 0;
};

}  // namespace corvel::hosts
