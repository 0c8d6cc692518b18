#include "ui/RouterWindow/RouteActivity.hpp"

#include <algorithm>
#include <optional>

namespace corvel::ui {

namespace {

/// Events before this instant show nothing more at `now`.
Instant oldestLive(Instant now) {
    return now - RouteLine::kSignalDuration - std::max(RouteLine::kSignalFadeDuration, RouteLine::kOutputPulseDuration);
}

/// The events that can show anything at `now`, oldest first.
std::vector<const MIDIActivityEvent*> liveEvents(Instant now, const MIDIRouterViewModel::ActivityEvents& events) {
    const Instant oldest = oldestLive(now);
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

bool RouteActivity::hasPassed(Instant now, const MIDIRouterViewModel::ActivityEvents& events) {
    return std::ranges::all_of(
        events, [oldest = oldestLive(now)](const MIDIActivityEvent& event) { return event.timestamp < oldest; });
}

}  // namespace corvel::ui
