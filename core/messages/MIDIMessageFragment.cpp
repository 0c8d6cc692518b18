#include "core/messages/MIDIMessageFragment.hpp"

#include <utility>

namespace corvel {

MIDIMessageFragment::MIDIMessageFragment(MIDIBytes givenBytes)
    : bytes(std::move(givenBytes)), messageKind(detectMessageKind(bytes)) {}

}  // namespace corvel
