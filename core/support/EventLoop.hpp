#pragma once

#include "core/support/DispatchQueue.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace corvel {

/// A serial queue with a thread of its own that also watches file descriptors: the engine's queue.
///
/// One round calls the handlers of the descriptors that are ready, runs the tasks posted until then, and calls the
/// second handlers of those descriptors. Input that is read in the first handler and delivered in the second is thus
/// handled on one thread, behind every task that was posted before it was read.
///
/// The thread never uses its processor for more than 95 % of the time: with real-time priority, a flood would otherwise
/// keep other programs from running at all.
///
/// Releasing the last reference ends the loop after the tasks that were posted before, and waits for its thread, except
/// on that thread itself, where the loop ends on its own after the current task.
class EventLoop : public DispatchQueue {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;
    using Handler = std::function<void()>;

    /// A loop whose thread is named by the label's last 15 characters. Throws `std::system_error` when the system has
    /// no descriptor or thread left.
    [[nodiscard]] static std::shared_ptr<EventLoop> withThread(const std::string& label);

    /// Watches a descriptor for reading until `unwatch`: calls `onReady` while it has something to read (or has
    /// failed), and in the same round `afterTasks`. On the loop only. Throws `std::system_error`.
    virtual void watch(int descriptor, Handler onReady, Handler afterTasks) = 0;

    /// Ends watching; no handler is called again. On the loop only, before the descriptor is closed.
    virtual void unwatch(int descriptor) = 0;

    /// When the current round began. On the loop only; costs nothing, unlike reading the clock.
    [[nodiscard]] virtual SteadyTime roundTime() const = 0;
};

}  // namespace corvel
