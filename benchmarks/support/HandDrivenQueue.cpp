#include "benchmarks/support/HandDrivenQueue.hpp"

#include <utility>

namespace corvel::benchmarks {

void HandDrivenQueue::async(Task task) {
    const std::lock_guard lock(mutex_);
    pending_.push_back(std::move(task));
}

void HandDrivenQueue::sync(Task task) {
    runAll();
    task();
}

void HandDrivenQueue::asyncAfter(std::chrono::nanoseconds, std::shared_ptr<DispatchWorkItem>) {}

bool HandDrivenQueue::runRound() {
    {
        const std::lock_guard lock(mutex_);
        running_.swap(pending_);
    }
    const bool isAnything = !running_.empty();
    for (Task& posted : running_) {
        Task task = std::move(posted);
        task();
    }
    running_.clear();
    return isAnything;
}

void HandDrivenQueue::runAll() {
    while (runRound()) {
    }
}

}  // namespace corvel::benchmarks
