#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/Clock.hpp"
#include "ui/RouterWindow/RouteLines.hpp"
#include "ui/RouterWindow/RouteOutputPulse.hpp"
#include "ui/RouterWindow/RouteSignal.hpp"

#include <QPointF>

#include <vector>

namespace corvel::ui {

/// Everything that moves on the stage, at one instant.
struct RouteActivity {
    struct PlacedSignal {
        RouteSignal signal;
        QPointF position;

        bool operator==(const PlacedSignal&) const = default;
    };
    struct PlacedPulse {
        RouteOutputPulse pulse;
        /// The middle of the output's connector mark.
        QPointF position;

        bool operator==(const PlacedPulse&) const = default;
    };

    /// In the order of their events: oldest first, events of the same instant in order of arrival.
    std::vector<PlacedSignal> activeSignals;
    std::vector<PlacedPulse> outputPulses;

    bool operator==(const RouteActivity&) const = default;

    /// What the events, given in order of arrival, show on the lines at `now`. Events of connections without a line
    /// show nothing, nor do events in the future, which occur after the clock was set back.
    [[nodiscard]] static RouteActivity at(Instant now, const RouteLines& lines,
                                          const MIDIRouterViewModel::ActivityEvents& events);

    /// Whether all events show nothing at `now` and later.
    [[nodiscard]] static bool hasPassed(Instant now, const MIDIRouterViewModel::ActivityEvents& events);
};

}  // namespace corvel::ui
