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

    /// Those of the oldest events first; of events of one instant, in the order of their arrival.
    std::vector<PlacedSignal> activeSignals;
    std::vector<PlacedPulse> outputPulses;

    bool operator==(const RouteActivity&) const = default;

    /// What the events, given in the order of their arrival, show on the lines at `now`. Events of connections that
    /// have no line, and of a time to come, as when the clock was set back, show nothing.
    [[nodiscard]] static RouteActivity at(Instant now, const RouteLines& lines,
                                          const MIDIRouterViewModel::ActivityEvents& events);

    /// Whether none of the events shows anything at `now` or later.
    [[nodiscard]] static bool hasPassed(Instant now, const MIDIRouterViewModel::ActivityEvents& events);
};

}  // namespace corvel::ui
