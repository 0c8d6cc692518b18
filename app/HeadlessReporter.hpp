#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "app/Observers.hpp"
#include "core/engine/MIDIActivityEvent.hpp"
#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

namespace corvel {

/// Writes what the engine reports to the model as lines of text, for a program without a window.
///
/// Diagnostics and failures, also those to save, are "HH:mm:ss.SSS message", further lines of the message indented by
/// two blanks. Routed messages are, separated by tabs, the time, the names of source and destination, the kind, and all
/// bytes in hexadecimal. Main thread only.
class HeadlessReporter {
public:
    /// Takes one whole line, its line feed included.
    using LineSink = std::function<void(std::string line)>;

    /// `activity` may be empty: routed messages are then not written.
    HeadlessReporter(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<const Clock> clock,
                     LineSink diagnostics, LineSink activity);
    HeadlessReporter(const HeadlessReporter&) = delete;
    HeadlessReporter& operator=(const HeadlessReporter&) = delete;

private:
    struct RouteNames {
        std::string source;
        std::string destination;
    };

    void writeDiagnostic(Instant instant, const std::string& message) const;
    void writeActivity(const MIDIActivityEvent& event);
    void nameRoutes();

    const std::shared_ptr<MIDIRouterViewModel> model_;
    const std::shared_ptr<const Clock> clock_;
    const LineSink diagnostics_;
    const LineSink activity_;
    /// Made anew when endpoints or connections have changed, so that a line costs one look-up.
    std::unordered_map<UUID, RouteNames> names_;
    bool areNamesStale_ = true;
    std::array<Observation, 4> observations_;
};

}  // namespace corvel
