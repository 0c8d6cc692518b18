#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "app/Observers.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/engine/MIDIRouterEngineDelegate.hpp"
#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace corvel {

/// Writes what an engine reports as lines of text: the eyes and ears of a program without a window.
///
/// Stands between the engine and the model as the engine's delegate and hands everything on before it writes, but the
/// routed messages, which the model keeps for a window to draw: the model's lists of events are short, and one who
/// looked at them now and then would miss lines. Says as well when the model could not save, since there is no status
/// line to show it.
///
/// Diagnostics and failures are "HH:mm:ss.SSS message", further lines of the message indented by two blanks. Routed
/// messages are, separated by tabs, the time, the names of source and destination, the kind, and all bytes in
/// hexadecimal. Main thread only.
class HeadlessReporter : public MIDIRouterEngineDelegate {
public:
    /// Takes one whole line, its line feed included.
    using LineSink = std::function<void(std::string line)>;

    /// `activity` may be empty: routed messages are then not written.
    HeadlessReporter(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<const Clock> clock,
                     LineSink diagnostics, LineSink activity);
    HeadlessReporter(const HeadlessReporter&) = delete;
    HeadlessReporter& operator=(const HeadlessReporter&) = delete;
    HeadlessReporter(HeadlessReporter&&) = delete;
    HeadlessReporter& operator=(HeadlessReporter&&) = delete;
    ~HeadlessReporter() override = default;

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
    void writeSaveFailure();
    void nameRoutes();

    const std::shared_ptr<MIDIRouterViewModel> model_;
    const std::shared_ptr<const Clock> clock_;
    const LineSink diagnostics_;
    const LineSink activity_;
    /// Made anew when endpoints or connections have changed, so that a line costs one look-up.
    std::unordered_map<UUID, RouteNames> names_;
    bool areNamesStale_ = true;
    /// What was said last of a failed save; none while the document is saved.
    std::optional<std::string> saveFailure_;
    Observation observation_;
};

}  // namespace corvel
