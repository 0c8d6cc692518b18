#include "core/engine/SendFailures.hpp"

namespace corvel {

std::string_view SendFailures::message(MIDIStatus status) {
    return status == kMIDIPacketNotMade ? "MIDI packet could not be created" : "MIDI message could not be sent";
}

bool SendFailures::add(std::int32_t destinationID, MIDIStatus status) {
    const auto [entry, isFirst] = repetitions_.try_emplace({destinationID, status}, 0);
    entry->second += isFirst ? 0 : 1;
    return isFirst;
}

std::vector<std::string> SendFailures::takeRepeated() {
    std::vector<std::string> texts;
    std::erase_if(repetitions_, [](const auto& entry) { return entry.second == 0; });
    for (auto& [key, count] : repetitions_) {
        const MIDIStatus status = key.second;
        texts.push_back(std::string(message(status)) + " (" + std::to_string(status) + "), repeated " +
                        std::to_string(count) + (count == 1 ? " time" : " times"));
        count = 0;
    }
    return texts;
}

}  // namespace corvel
