#pragma once

#include "core/engine/MIDIEndpointModel.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace corvel::hosts {

/// A MIDI port of another client, as the server describes it. Names may contain any bytes.
struct JackPort {
    /// "client:port", the name on the server.
    std::string name;
    /// A client's output is a source, its input a destination.
    MIDIEndpointDirection direction = MIDIEndpointDirection::source;
    std::vector<std::string> aliases;
    /// From the metadata; empty if there is none.
    std::string prettyName;

    /// The parts of the name.
    [[nodiscard]] std::string_view client() const { return std::string_view(name).substr(0, name.find(':')); }
    [[nodiscard]] std::string_view port() const {
        const std::size_t colon = name.find(':');
        return colon == std::string::npos ? std::string_view() : std::string_view(name).substr(colon + 1);
    }

    bool operator==(const JackPort&) const = default;
};

}  // namespace corvel::hosts
