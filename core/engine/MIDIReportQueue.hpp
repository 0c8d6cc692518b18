#pragma once

#include "core/engine/MIDIActivityEvent.hpp"
#include "core/engine/MIDIDiagnosticEvent.hpp"
#include "core/messages/MIDIBytes.hpp"
#include "core/messages/RoutedMIDIMessage.hpp"
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

/// What is reported now and then, and never lost.
using MIDINotice = std::variant<MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// What an engine tells its delegate.
using MIDIReport = std::variant<MIDIActivityEvent, MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// Holds an engine's reports until the main thread takes them, in the order in which they were made.
///
/// Of the activities only the newest `kActivityLimit` are kept, so that a main thread that stands still does not let
/// memory grow with the traffic (as many again if it stands still in the middle of taking them); notices are kept until
/// taken. Any thread pushes, one at a time takes; a queue of its own, hence the lock. Pushing the activity of a message
/// of up to 16 bytes allocates nothing.
class MIDIReportQueue {
public:
    static constexpr std::size_t kActivityLimit = 4096;

    /// Adds the activity of a message that was sent at this time. True if the main thread has to be woken: nobody has
    /// been told since it last found the queue empty.
    [[nodiscard]] bool push(RoutedMIDIMessage&& sent, Instant sentAt);

    /// Adds a notice, with the same answer.
    [[nodiscard]] bool push(MIDINotice notice);

    /// The oldest report, taken out; none when empty. Taking none makes the next push ask for a wake-up.
    [[nodiscard]] std::optional<MIDIReport> pop();

    /// How many reports wait. For the one who takes.
    [[nodiscard]] std::size_t size() const;

private:
    /// What the thread that routes knows of an activity. Whoever takes it makes its identity and kind: the next message
    /// must not wait for them.
    struct Activity {
        std::uint64_t number;
        UUID routeID;
        Instant sentAt;
        MIDIBytes bytes;
    };

    struct NumberedNotice {
        std::uint64_t number;
        MIDINotice notice;
    };

    struct Reports {
        // The filler has a byte: g++ 12 warns of the unused bytes that an empty one copies.
        boost::circular_buffer<Activity> activities = makeWarmRing(kActivityLimit, Activity{0, {}, {}, MIDIBytes(1)});
        std::deque<NumberedNotice> notices;

        [[nodiscard]] std::size_t size() const { return activities.size() + notices.size(); }
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
