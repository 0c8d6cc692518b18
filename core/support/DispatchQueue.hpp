#pragma once

#include "core/support/Task.hpp"

#include <chrono>
#include <memory>
#include <utility>

namespace corvel {

/// A task that is scheduled for later and can be cancelled until it runs.
class DispatchWorkItem {
public:
    explicit DispatchWorkItem(Task task) : task_(std::move(task)) {}

    /// Cancels the work. Only on the queue that it was scheduled on.
    void cancel() { task_ = Task(); }

    /// Runs the work once, unless it was cancelled. For queues.
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
/// Any thread may call all operations. An exception that leaves a task is reported on standard error and does not end
/// the queue.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;

    /// Posts a task and returns at once. The task never runs inside this call.
    virtual void async(Task task) = 0;

    /// Posts a task that may wait a few milliseconds, so that the queue need not wake its thread for it. All tasks
    /// still run in the order in which they were posted.
    virtual void asyncDeferred(Task task) { async(std::move(task)); }

    /// Posts a task and waits until it has run. If called on the queue itself, runs the task at once.
    virtual void sync(Task task) = 0;

    /// Posts the work item after `delay` on the steady clock.
    virtual void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) = 0;

    /// Whether the calling thread runs this queue's tasks.
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace corvel
