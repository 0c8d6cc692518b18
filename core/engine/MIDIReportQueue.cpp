#include "core/engine/MIDIReportQueue.hpp"

#include <mutex>
#include <utility>

namespace corvel {

bool MIDIReportQueue::push(MIDIReport report) {
    if (auto* activity = std::get_if<MIDIActivityEvent>(&report)) {
        return push(std::move(*activity));
    }
    const std::lock_guard lock(mutex_);
    others_.push_back({nextNumber_++, std::move(report)});
    return !std::exchange(isAnnounced_, true);
}

bool MIDIReportQueue::push(MIDIActivityEvent&& activity) {
    const std::lock_guard lock(mutex_);
    activities_.push_back({nextNumber_++, std::move(activity)});
    return !std::exchange(isAnnounced_, true);
}

std::optional<MIDIReport> MIDIReportQueue::pop() {
    const std::lock_guard lock(mutex_);
    if (activities_.empty() && others_.empty()) {
        isAnnounced_ = false;
        return std::nullopt;
    }
    const bool isActivityNext =
        others_.empty() || (!activities_.empty() && activities_.front().number < others_.front().number);
    std::optional<MIDIReport> report;
    if (isActivityNext) {
        report.emplace(std::move(activities_.front().report));
        activities_.pop_front();
    } else {
        report.emplace(std::move(others_.front().report));
        others_.pop_front();
    }
    return report;
}

std::size_t MIDIReportQueue::size() const {
    const std::lock_guard lock(mutex_);
    return activities_.size() + others_.size();
}

}  // namespace corvel
