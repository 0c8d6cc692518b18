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
#include <string_view>
#include <unordered_map>

namespace corvel {

/// Writes the model's reports as lines of text, for a program without a window.
///
/// Diagnostics and failures, also failed saves, are "HH:mm:ss.SSS message"; further lines of the message are indented
/// by two spaces. Routed messages are the time, the names of source and destination, the kind, and all bytes in
/// hexadecimal, separated by tabs. Main thread only.
class HeadlessReporter {
public:
    /// Receives one whole line, with its line feed.
    using LineSink = std::function<void(std::string line)>;

    /// The form of diagnostics and failures.
    enum class Style {
        /// For people: each begins with its time.
        timed,
        /// For a journal with its own times: each line begins with its priority, "<6>" for a diagnostic, "<4>" for a
        /// failure.
        prioritized,
    };

    /// If `activity` is empty, routed messages are not written.
    HeadlessReporter(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<const Clock> clock, Style style,
                     LineSink diagnostics, LineSink activity);
    HeadlessReporter(const HeadlessReporter&) = delete;
    HeadlessReporter& operator=(const HeadlessReporter&) = delete;

private:
    struct RouteNames {
        std::string source;
        std::string destination;
    };

    void write(std::string_view priority, Instant instant, const std::string& message) const;
    void writeActivity(const MIDIActivityEvent& event);
    void nameRoutes();

    const std::shared_ptr<MIDIRouterViewModel> model_;
    const std::shared_ptr<const Clock> clock_;
    const Style style_;
    const LineSink diagnostics_;
    const LineSink activity_;
    /// Rebuilt after a change of endpoints or connections, so that a line costs one lookup.
    std::unordered_map<UUID, RouteNames> names_;
    bool areNamesStale_ = true;
    std::array<Observation, 4> observations_;
};

}  // namespace corvel
