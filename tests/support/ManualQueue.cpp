#include "tests/support/ManualQueue.hpp"

#include <algorithm>
#include <utility>

namespace corvel::tests {

namespace {

constexpr std::size_t kInitialCapacity = 64;

}  // namespace

ManualQueue::ManualQueue(Current current) : current_(current), tasks_(kInitialCapacity) {}

void ManualQueue::async(Task task) {
    const std::lock_guard lock(mutex_);
    if (tasks_.full()) {
        tasks_.set_capacity(tasks_.capacity() * 2);
    }
    tasks_.push_back(std::move(task));
}

void ManualQueue::sync(Task task) {
    if (!isCurrent()) {
        runAll();
    }
    run(std::move(task));
}

void ManualQueue::asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) {
    const std::lock_guard lock(mutex_);
    scheduled_.push_back({now_ + delay, std::move(item)});
}

bool ManualQueue::isCurrent() const {
    const std::lock_guard lock(mutex_);
    const std::thread::id caller = std::this_thread::get_id();
    return caller == runner_ || (current_ == Current::onMakerThread && caller == maker_);
}

bool ManualQueue::runNext() {
    Task task = takeNext();
    if (!task) {
        return false;
    }
    run(std::move(task));
    return true;
}

std::size_t ManualQueue::runAll() {
    std::size_t count = 0;
    while (runNext()) {
        ++count;
    }
    return count;
}

void ManualQueue::advance(std::chrono::nanoseconds duration) {
    runAll();
    std::chrono::nanoseconds until{};
    {
        const std::lock_guard lock(mutex_);
        until = now_ + duration;
    }
    while (std::shared_ptr<DispatchWorkItem> item = takeDue(until)) {
        async([item = std::move(item)] { item->perform(); });
        runAll();
    }
    const std::lock_guard lock(mutex_);
    now_ = until;
}

Task ManualQueue::takeNext() {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty()) {
        return {};
    }
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

std::shared_ptr<DispatchWorkItem> ManualQueue::takeDue(std::chrono::nanoseconds until) {
    const std::lock_guard lock(mutex_);
    // The first of those with the same due time, so that they run in the order in which they were scheduled.
    const auto first = std::ranges::min_element(scheduled_, {}, &Scheduled::due);
    if (first == scheduled_.end() || first->due > until) {
        return nullptr;
    }
    now_ = first->due;
    std::shared_ptr<DispatchWorkItem> item = std::move(first->item);
    scheduled_.erase(first);
    return item;
}

void ManualQueue::run(Task task) {
    // Restores the runner even if the task throws.
    class Running {
    public:
        explicit Running(ManualQueue& queue) : queue_(queue) {
            const std::lock_guard lock(queue_.mutex_);
            before_ = std::exchange(queue_.runner_, std::this_thread::get_id());
        }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        ~Running() {
            const std::lock_guard lock(queue_.mutex_);
            queue_.runner_ = before_;
        }

    private:
        ManualQueue& queue_;
        std::thread::id before_;
    };
    const Running running(*this);
    // A local variable, so that what the task owns is released while the queue still counts as running, as on a real
    // one.
    Task work = std::move(task);
    work();
}

}  // namespace corvel::tests
