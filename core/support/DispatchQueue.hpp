#pragma once

#include "core/support/Task.hpp"

#include <chrono>
#include <memory>
#include <utility>

namespace corvel {

/// A task that was scheduled for later and can be called off until it runs.
class DispatchWorkItem {
public:
    explicit DispatchWorkItem(Task task) : task_(std::move(task)) {}

    /// Calls the work off. Only on the queue that it was scheduled on.
    void cancel() { task_ = Task(); }

    /// Runs the work once, unless it was called off. For queues.
    void perform() {
        if (Task task = std::move(task_); task) {
            task();
        }
    }

private:
    Task task_;
};

/// A serial queue: runs the tasks posted to it one at a time, in the order in which they were posted.
///
/// All operations may be called from any thread. An exception that leaves a task is reported on standard error and
/// does not end the queue.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;

    /// Posts a task and returns at once. Tasks are never run inside this call.
    virtual void async(Task task) = 0;

    /// Posts a task that may wait for some milliseconds, so that more urgent threads run first and the post is cheap
    /// for a real-time thread. The order among all tasks stays that of their posts.
    virtual void asyncDeferred(Task task) { async(std::move(task)); }

    /// Posts a task and waits until it has run. On the queue itself the task runs at once.
    virtual void sync(Task task) = 0;

    /// Posts the work item once `delay` has passed on the steady clock.
    virtual void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) = 0;

    /// Whether the calling thread is the one that runs this queue's tasks.
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace corvel
