#pragma once

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/engine/MIDIRouterEngineDelegate.hpp"
#include "core/support/Clock.hpp"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvel {

/// Writes what an engine reports as lines of text: the eyes and ears of a program without a window.
///
/// Diagnostics and failures are "HH:mm:ss.SSS message", further lines of the message indented by two blanks. Routed
/// messages are, separated by tabs, the time, the names of source and destination, the kind, and all bytes in
/// hexadecimal. Main thread only.
class HeadlessReporter : public MIDIRouterEngineDelegate {
public:
    /// Takes one whole line, its line feed included.
    using LineSink = std::function<void(std::string line)>;

    /// `routes` are those that the engine was given. `activity` may be empty: routed messages are then not written.
    HeadlessReporter(const std::vector<MIDIRoute>& routes, std::shared_ptr<const Clock> clock, LineSink diagnostics,
                     LineSink activity);

    void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine& engine) override;
    void midiRouterEngineDidRoute(CoreMIDIRouterEngine& engine, const MIDIActivityEvent& event) override;
    void midiRouterEngineDidFail(CoreMIDIRouterEngine& engine, const std::string& message) override;
    void midiRouterEngineDidLog(CoreMIDIRouterEngine& engine, const MIDIDiagnosticEvent& event) override;

private:
    struct RouteNames {
        std::string source;
        std::string destination;
    };

    void writeDiagnostic(Instant instant, const std::string& message) const;
    void nameRoutes(const MIDIEndpoints& endpoints);

    const std::vector<MIDIRoute> routes_;
    const std::shared_ptr<const Clock> clock_;
    const LineSink diagnostics_;
    const LineSink activity_;
    /// Made anew when the endpoints change, so that a line costs one look-up.
    std::unordered_map<UUID, RouteNames> names_;
};

}  // namespace corvel
