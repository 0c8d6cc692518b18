#include "hosts/demo/DemoPlayer.hpp"

#include <iterator>
#include <utility>

namespace corvel::hosts {

namespace {

void append(std::vector<MIDIBytes>& packets, std::vector<MIDIBytes> more) {
    packets.insert(packets.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

std::vector<MIDIBytes> DemoPlayer::play(std::uint64_t step, bool isHeard) {
    unheardSteps_ = isHeard ? 0 : unheardSteps_ + 1;
    if (!begin_) {
        if (!isHeard || step % kDemoStepsPerBar != 0) {
            return {};
        }
        begin_ = step;
    } else if (unheardSteps_ > kPatience) {
        // There are no listeners left to receive the end of the notes.
        *this = DemoPlayer(piece_);
        return {};
    }
    playedSteps_ = step - *begin_ + 1;
    append(waiting_, packetsAtDemoStep(piece_, step - *begin_));
    return isHeard ? takeWaiting() : std::vector<MIDIBytes>();
}

std::vector<MIDIBytes> DemoPlayer::takeWaiting() {
    return std::exchange(waiting_, {});
}

std::vector<MIDIBytes> DemoPlayer::end() {
    std::vector<MIDIBytes> packets = takeWaiting();
    append(packets, packetsAtDemoEnd(piece_, playedSteps_));
    *this = DemoPlayer(piece_);
    return packets;
}

}  // namespace corvel::hosts
