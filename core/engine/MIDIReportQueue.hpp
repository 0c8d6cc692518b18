#pragma once

#include "core/engine/MIDIActivityEvent.hpp"
#include "core/engine/MIDIDiagnosticEvent.hpp"
#include "core/messages/MIDIBytes.hpp"
#include "core/messages/RoutedMIDIMessage.hpp"
#include "core/support/ChunkedQueue.hpp"
#include "core/support/Clock.hpp"
#include "core/support/QueueMutex.hpp"
#include "core/support/UUID.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <variant>

namespace corvel {

/// The endpoints may have changed.
struct MIDIEndpointsReport {};

/// A failure's whole text.
struct MIDIFailureReport {
    std::string message;
};

/// A report other than an activity: rare, and never dropped.
using MIDINotice = std::variant<MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// What an engine tells its delegate.
using MIDIReport = std::variant<MIDIActivityEvent, MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// Holds an engine's reports until the main thread takes them, in the order in which they were made.
///
/// Past `kActivityLimit` waiting activities the oldest is dropped and counted, so that a main thread that stands still
/// does not let memory grow without bound. Any thread pushes, one thread at a time takes. Pushing the activity of a
/// message of up to 16 bytes allocates nothing while at most `kKeptActivities` wait.
class MIDIReportQueue {
public:
    static constexpr std::size_t kActivityLimit = 1'048'576;
    static constexpr std::size_t kKeptActivities = 4'096;

    /// Adds the activities of messages that were sent at this time; the messages are moved from. True if the main
    /// thread has to be woken: nobody has been told since it last found the queue empty.
    [[nodiscard]] bool push(std::span<RoutedMIDIMessage> sent, Instant sentAt);

    /// Adds a notice, with the same answer.
    [[nodiscard]] bool push(MIDINotice notice);

    /// Takes out the oldest report; none when empty. Taking none makes the next push ask for a wake-up.
    [[nodiscard]] std::optional<MIDIReport> pop();

    /// Whether activities were dropped since the last `takeDroppedCount()`.
    [[nodiscard]] bool hasDropped() const { return droppedCount_ > 0; }

    /// The number of activities dropped since the last call.
    [[nodiscard]] std::size_t takeDroppedCount();

private:
    /// What the routing thread knows of an activity. The main thread makes identity and kind, so that the next message
    /// does not wait for them.
    struct Activity {
        std::uint64_t number = 0;
        UUID routeID;
        Instant sentAt;
        MIDIBytes bytes;
    };
    static constexpr std::size_t kChunkSize = 1'024;
    using Activities = ChunkedQueue<Activity, kChunkSize>;

    struct NumberedNotice {
        std::uint64_t number = 0;
        MIDINotice notice;
    };

    void takePushed();

    QueueMutex mutex_;
    std::uint64_t nextNumber_ = 0;
    bool isAnnounced_ = false;
    std::atomic<std::size_t> droppedCount_ = 0;
    Activities pushedActivities_{kKeptActivities};
    std::deque<NumberedNotice> pushedNotices_;

    // The taker's only. It takes a chunk at a time, since a thread that routes must not find the lock held for every
    // report.
    Activities takenActivities_{0};
    std::deque<NumberedNotice> takenNotices_;
};

}  // namespace corvel
