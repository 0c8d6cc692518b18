#include "core/engine/MIDIReportQueue.hpp"

#include <iterator>
#include <mutex>
#include <utility>

namespace corvel {

bool MIDIReportQueue::push(std::span<RoutedMIDIMessage> sent, Instant sentAt) {
    const std::lock_guard lock(mutex_);
    for (RoutedMIDIMessage& message : sent) {
        if (pushedActivities_.size() == kActivityLimit) {
            pushedActivities_.pop(1);
            ++droppedCount_;
        }
        pushedActivities_.push({nextNumber_++, message.routeID, sentAt, std::move(message.bytes)});
    }
    return !std::exchange(isAnnounced_, true);
}

bool MIDIReportQueue::push(MIDINotice notice) {
    const std::lock_guard lock(mutex_);
    pushedNotices_.push_back({nextNumber_++, std::move(notice)});
    return !std::exchange(isAnnounced_, true);
}

std::optional<MIDIReport> MIDIReportQueue::pop() {
    if (takenActivities_.empty()) {
        takePushed();
    }
    const bool isActivityNext =
        !takenActivities_.empty() &&
        (takenNotices_.empty() || takenActivities_.front().front().number < takenNotices_.front().number);
    std::optional<MIDIReport> report;
    if (isActivityNext) {
        Activity& next = takenActivities_.front().front();
        report.emplace(MIDIActivityEvent(UUID::random(), next.routeID, next.sentAt, std::move(next.bytes)));
        takenActivities_.pop(1);
    } else if (!takenNotices_.empty()) {
        report = std::visit([](auto& notice) { return MIDIReport(std::move(notice)); }, takenNotices_.front().notice);
        takenNotices_.pop_front();
    }
    return report;
}

/// Takes activities, and all notices that were pushed before the newest of them. So the numbers in both lists give the
/// order.
void MIDIReportQueue::takePushed() {
    const std::lock_guard lock(mutex_);
    pushedActivities_.moveFrontTo(takenActivities_);
    takenNotices_.insert(takenNotices_.end(), std::make_move_iterator(pushedNotices_.begin()),
                         std::make_move_iterator(pushedNotices_.end()));
    pushedNotices_.clear();
    isAnnounced_ = !takenActivities_.empty() || !takenNotices_.empty();
}

std::size_t MIDIReportQueue::takeDroppedCount() {
    return droppedCount_.exchange(0);
}

}  // namespace corvel
