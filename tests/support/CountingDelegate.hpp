#pragma once

#include "core/engine/MIDIRouterEngineDelegate.hpp"

#include <cstddef>
#include <string>

namespace corvel::tests {

/// Counts the messages that an engine reports, and stores nothing.
class CountingDelegate final : public MIDIRouterEngineDelegate {
public:
    std::size_t routed = 0;

    void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine&) override {}
    void midiRouterEngineDidRoute(CoreMIDIRouterEngine&, const MIDIActivityEvent&) override { ++routed; }
    void midiRouterEngineDidFail(CoreMIDIRouterEngine&, const std::string&) override {}
    void midiRouterEngineDidLog(CoreMIDIRouterEngine&, const MIDIDiagnosticEvent&) override {}
};

}  // namespace corvel::tests
