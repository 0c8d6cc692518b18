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

/// The complete text of a failure.
struct MIDIFailureReport {
    std::string message;
};

/// A report other than an activity: rare, and never dropped.
using MIDINotice = std::variant<MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// A report of an engine to its delegate.
using MIDIReport = std::variant<MIDIActivityEvent, MIDIEndpointsReport, MIDIFailureReport, MIDIDiagnosticEvent>;

/// Holds an engine's reports until the main thread takes them, in the order in which they were made.
///
/// If more than `kActivityLimit` activities wait, the oldest is dropped and counted, so that memory stays bounded while
/// the main thread is blocked. Any thread may push; one thread at a time takes. Pushing the activity of a message of up
/// to 16 bytes allocates nothing while at most `kKeptActivities` wait.
class MIDIReportQueue {
public:
    static constexpr std::size_t kActivityLimit = 1'048'576;
    static constexpr std::size_t kKeptActivities = 4'096;

    /// Adds the activities of messages that were sent at this time, and moves from the messages. Returns whether the
    /// caller must wake the main thread: true for the first push after the queue was found empty.
    [[nodiscard]] bool push(std::span<RoutedMIDIMessage> sent, Instant sentAt);

    /// Adds a notice. Returns the same as for activities.
    [[nodiscard]] bool push(MIDINotice notice);

    /// Removes and returns the oldest report, if any. After an empty result, the next push asks for a wake-up.
    [[nodiscard]] std::optional<MIDIReport> pop();

    /// Whether activities were dropped since the last `takeDroppedCount()`.
    [[nodiscard]] bool hasDropped() const { return droppedCount_ > 0; }

    /// The number of activities dropped since the last call.
    [[nodiscard]] std::size_t takeDroppedCount();

private:
    /// An activity as the routing thread records it. The main thread adds identity and kind, so that this work does not
    /// delay the next message.
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

    // Used only by the thread that takes. It takes whole chunks, so that the routing thread rarely finds the lock held.
    Activities takenActivities_{0};
    std::deque<NumberedNotice> takenNotices_;
};

}  // namespace corvel
