#include "core/engine/MIDIReportQueue.hpp"

#include <mutex>
#include <utility>

namespace corvel {

bool MIDIReportQueue::push(MIDIReport report) {
    if (auto* activity = std::get_if<MIDIActivityEvent>(&report)) {
        return push(std::move(*activity));
    }
    const std::lock_guard lock(mutex_);
    pushed_.others.push_back({nextNumber_++, std::move(report)});
    return !std::exchange(isAnnounced_, true);
}

bool MIDIReportQueue::push(MIDIActivityEvent&& activity) {
    const std::lock_guard lock(mutex_);
    pushed_.activities.push_back({nextNumber_++, std::move(activity)});
    return !std::exchange(isAnnounced_, true);
}

std::optional<MIDIReport> MIDIReportQueue::pop() {
    if (taken_.size() == 0) {
        const std::lock_guard lock(mutex_);
        // Each by itself: moving a deque as a whole takes memory from the heap.
        taken_.activities.swap(pushed_.activities);
        taken_.others.swap(pushed_.others);
        isAnnounced_ = taken_.size() > 0;
    }
    auto& [activities, others] = taken_;
    const bool isActivityNext =
        !activities.empty() && (others.empty() || activities.front().number < others.front().number);
    std::optional<MIDIReport> report;
    if (isActivityNext) {
        report.emplace(std::move(activities.front().report));
        activities.pop_front();
    } else if (!others.empty()) {
        report.emplace(std::move(others.front().report));
        others.pop_front();
    }
    return report;
}

std::size_t MIDIReportQueue::size() const {
    const std::lock_guard lock(mutex_);
    return taken_.size() + pushed_.size();
}

}  // namespace corvel
