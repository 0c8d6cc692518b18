#pragma once

#include "core/engine/MIDIActivityEvent.hpp"
#include "core/engine/MIDIDiagnosticEvent.hpp"
#include "core/messages/MIDIBytes.hpp"
#include "core/support/Clock.hpp"
#include "core/support/QueueMutex.hpp"
#include "core/support/UUID.hpp"
#include "core/support/WarmRing.hpp"

#include <boost/circular_buffer.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <variant>

namespace corvel {

/// The endpoints may have changed.
struct MIDIEndpointsReport {};

/// A failure's whole text.
struct MIDIFailureReport {
    std::string message;
};

using MIDIReport = std::variant<MIDIActivityEvent, MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// Holds an engine's reports until the main thread takes them, in the order in which they were made.
///
/// Of the activity reports only the newest `kActivityLimit` are kept, so that a main thread that stands still does not
/// let memory grow with the traffic; all other reports are kept until taken. Any thread pushes, one at a time takes; a
/// queue of its own, hence the lock. Pushing an activity of up to 16 bytes allocates nothing.
class MIDIReportQueue {
public:
    static constexpr std::size_t kActivityLimit = 4096;

    /// Adds a report. True if the main thread has to be woken: nobody has been told since it last found the queue
    /// empty.
    [[nodiscard]] bool push(MIDIReport report);

    /// The same for an activity, the one report that comes with every message, without a detour through the others'
    /// common form.
    [[nodiscard]] bool push(MIDIActivityEvent&& activity);

    /// The oldest report, taken out; none when empty. Taking none makes the next push ask for a wake-up.
    [[nodiscard]] std::optional<MIDIReport> pop();

    /// How many reports wait. For the one who takes.
    [[nodiscard]] std::size_t size() const;

private:
    template <typename Report>
    struct Numbered {
        std::uint64_t number;
        Report report;
    };

    struct Reports {
        boost::circular_buffer<Numbered<MIDIActivityEvent>> activities =
            makeWarmRing(kActivityLimit, Numbered<MIDIActivityEvent>{0, {UUID(), UUID(), Instant(), MIDIBytes()}});
        std::deque<Numbered<MIDIReport>> others;

        [[nodiscard]] std::size_t size() const { return activities.size() + others.size(); }
    };

    mutable QueueMutex mutex_;
    std::uint64_t nextNumber_ = 0;
    bool isAnnounced_ = false;
    Reports pushed_;

    /// The taker's only: what was pushed until it last looked. It takes all at once, as a thread that routes must not
    /// find the lock held for every report.
    Reports taken_;
};

}  // namespace corvel
