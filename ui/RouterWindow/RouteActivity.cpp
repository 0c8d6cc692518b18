#include "ui/RouterWindow/RouteActivity.hpp"

#include <algorithm>
#include <optional>

namespace corvel::ui {

namespace {

/// The events that can show anything at `now`, the oldest first.
std::vector<const MIDIActivityEvent*> liveEvents(Instant now, const MIDIRouterViewModel::ActivityEvents& events) {
    const Instant oldest =
        now - RouteLine::kSignalDuration - std::max(RouteLine::kSignalFadeDuration, RouteLine::kOutputPulseDuration);
    std::vector<const MIDIActivityEvent*> live;
    for (const MIDIActivityEvent& event : events) {
        if (event.timestamp >= oldest && event.timestamp <= now) {
            live.push_back(&event);
        }
    }
    std::ranges::stable_sort(live, {}, &MIDIActivityEvent::timestamp);
    return live;
}

}  // namespace

RouteActivity RouteActivity::at(Instant now, const RouteLines& lines,
                                const MIDIRouterViewModel::ActivityEvents& events) {
    RouteActivity activity;
    for (const MIDIActivityEvent* const event : liveEvents(now, events)) {
        lines.forEachOf(event->routeID, [&](const RouteLine& line) {
            if (const std::optional<RouteSignal> signal = line.activeSignal(*event, now)) {
                activity.activeSignals.push_back({*signal, line.pointAt(signal->progress)});
            }
            if (const std::optional<RouteOutputPulse> pulse = line.outputPulse(*event, now)) {
                activity.outputPulses.push_back({*pulse, line.endMark().center()});
            }
        });
    }
    return activity;
}

}  // namespace corvel::ui
