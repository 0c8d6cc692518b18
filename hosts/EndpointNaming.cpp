#include "hosts/EndpointNaming.hpp"

#include "core/support/Text.hpp"

namespace corvel::hosts {

namespace {

void removeAll(std::string& text, std::string_view part, std::string_view replacement) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + replacement.size())) {
        text.replace(at, part.size(), replacement);
    }
}

}  // namespace

std::string stableName(std::string_view name, int processID) {
    std::string stable = text::repairedUTF8(name);
    if (processID < 0) {
        return stable;
    }
    const std::string id = std::to_string(processID);
    // Only in the form of a PID: the 88 in "Stage Piano 88" is part of the name, even if the process is number 88.
    removeAll(stable, " (" + id + ")", "");
    removeAll(stable, "(" + id + ")", "");
    removeAll(stable, "(" + id + ":", "(");
    removeAll(stable, "[" + id + "]", "");
    if (stable.ends_with("-" + id)) {
        stable.resize(stable.size() - id.size() - 1);
    }
    return stable;
}

std::string combinedName(std::string_view clientName, std::string_view portName) {
    if (portName.starts_with(clientName)) {
        return std::string(portName);
    }
    return std::string(clientName) + " " + std::string(portName);
}

std::int32_t uniqueEndpointID(MIDIEndpointDirection direction, std::string_view identity, int port,
                              std::string_view portName) {
    const std::string text = std::string(rawValue(direction)) + "\n" + std::string(identity) + "\n" +
                             std::to_string(port) + "\n" + std::string(portName);
    constexpr std::uint32_t kOffsetBasis = 0x811c9dc5;
    constexpr std::uint32_t kPrime = 0x01000193;
    std::uint32_t hash = kOffsetBasis;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * kPrime;
    }
    return hash == 0 ? 1 : static_cast<std::int32_t>(hash);
}

}  // namespace corvel::hosts
