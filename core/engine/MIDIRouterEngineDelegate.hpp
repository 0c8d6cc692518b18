#pragma once

#include "core/engine/MIDIActivityEvent.hpp"
#include "core/engine/MIDIDiagnosticEvent.hpp"

#include <string>

namespace corvel {

class CoreMIDIRouterEngine;

/// Receives all reports of an engine on the main thread, in the order in which they were made, and never from inside a
/// call of the engine.
class MIDIRouterEngineDelegate {
public:
    virtual ~MIDIRouterEngineDelegate() = default;

    /// The endpoints or their state may have changed: call `endpoints()` again.
    virtual void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine& engine) = 0;

    /// A message was delivered through a connection. If the main thread falls behind, the oldest of these reports are
    /// dropped.
    virtual void midiRouterEngineDidRoute(CoreMIDIRouterEngine& engine, const MIDIActivityEvent& event) = 0;

    /// An operation failed; the text ends with the status in parentheses.
    virtual void midiRouterEngineDidFail(CoreMIDIRouterEngine& engine, const std::string& message) = 0;

    /// An entry for the diagnostic log.
    virtual void midiRouterEngineDidLog(CoreMIDIRouterEngine& engine, const MIDIDiagnosticEvent& event) = 0;
};

}  // namespace corvel
