#include "core/engine/MIDIReportQueue.hpp"

#include <mutex>
#include <utility>

namespace corvel {

bool MIDIReportQueue::push(RoutedMIDIMessage&& sent, Instant sentAt) {
    const std::lock_guard lock(mutex_);
    pushed_.activities.push_back({nextNumber_++, sent.routeID, sentAt, std::move(sent.bytes)});
    return !std::exchange(isAnnounced_, true);
}

bool MIDIReportQueue::push(MIDINotice notice) {
    const std::lock_guard lock(mutex_);
    pushed_.notices.push_back({nextNumber_++, std::move(notice)});
    return !std::exchange(isAnnounced_, true);
}

std::optional<MIDIReport> MIDIReportQueue::pop() {
    if (taken_.size() == 0) {
        const std::lock_guard lock(mutex_);
        // Each by itself: moving a deque as a whole takes memory from the heap.
        taken_.activities.swap(pushed_.activities);
        taken_.notices.swap(pushed_.notices);
        isAnnounced_ = taken_.size() > 0;
    }
    auto& [activities, notices] = taken_;
    const bool isActivityNext =
        !activities.empty() && (notices.empty() || activities.front().number < notices.front().number);
    std::optional<MIDIReport> report;
    if (isActivityNext) {
        Activity& next = activities.front();
        report.emplace(MIDIActivityEvent(UUID::random(), next.routeID, next.sentAt, std::move(next.bytes)));
        activities.pop_front();
    } else if (!notices.empty()) {
        report = std::visit([](auto& notice) { return MIDIReport(std::move(notice)); }, notices.front().notice);
        notices.pop_front();
    }
    return report;
}

std::size_t MIDIReportQueue::size() const {
    const std::lock_guard lock(mutex_);
    return taken_.size() + pushed_.size();
}

}  // namespace corvel
