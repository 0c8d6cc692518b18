#pragma once

#include "core/support/DispatchQueue.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace corvel {

/// A serial queue with its own thread that also watches file descriptors: the engine's queue.
///
/// One round calls the handlers of the ready descriptors, runs the tasks posted so far, and calls the second handlers
/// of those descriptors. So input that the first handler reads and the second delivers is handled on one thread, after
/// every task that was posted before the read.
///
/// The thread leaves at least 5 % of each 100 ms of its processor to others (`ProcessorShare`): at real-time
/// priority, a flood would otherwise stop all other programs. A task or handler that may take longer
/// than some milliseconds calls `shareProcessor` between its steps.
///
/// Releasing the last reference ends the loop after the tasks posted before, and waits for its thread. If it is
/// released on that thread, the loop ends after the current task instead.
class EventLoop : public DispatchQueue {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;
    using Handler = std::function<void()>;

    /// A loop whose thread is named by the last 15 characters of the label. Throws `std::system_error` if the system
    /// has no descriptor or thread left.
    [[nodiscard]] static std::shared_ptr<EventLoop> withThread(const std::string& label);

    /// Watches a descriptor until `unwatch`. While it can be read (or has failed), calls `onReady` and, in the same
    /// round, `afterTasks`. On the loop only. Throws `std::system_error`.
    virtual void watch(int descriptor, Handler onReady, Handler afterTasks) = 0;

    /// Ends the watch; its handlers are not called again. On the loop only, before the descriptor is closed.
    virtual void unwatch(int descriptor) = 0;

    /// The time when the current round began. On the loop only; cheaper than reading the clock.
    [[nodiscard]] virtual SteadyTime roundTime() const = 0;

    /// Pauses for up to 1 ms if other threads have not had their share of the processor. Best called right after input
    /// has been read, so that there is room for messages that arrive during the pause. On the loop only; costs a read
    /// of the clock.
    virtual void shareProcessor() = 0;
};

}  // namespace corvel
