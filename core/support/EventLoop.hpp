#pragma once

#include "core/support/DispatchQueue.hpp"

#include <functional>
#include <memory>
#include <string>

namespace corvel {

/// A serial queue that also watches file descriptors: the engine's queue, and the main queue inside Qt's loop.
///
/// One round runs the handlers of the descriptors that are ready, then the work items that are due, then the tasks that
/// were posted before the round. So work that is read from a descriptor and posted is done on the same thread, with no
/// switch in between.
///
/// Releasing the last reference ends the loop after the tasks that were posted before. It waits for the loop's thread,
/// except on that thread itself, where the loop ends on its own after the current task. A loop that is not being run
/// drops its tasks instead.
class EventLoop : public DispatchQueue {
public:
    /// Called on the loop while the descriptor has something to read (or has failed).
    using ReadyHandler = std::function<void()>;

    /// A loop with a thread of its own, named by the label's last 15 characters. Throws `std::system_error` when the
    /// system has no descriptor or thread left.
    [[nodiscard]] static std::shared_ptr<EventLoop> withThread(const std::string& label);

    /// A loop that its maker runs on the calling thread, which it belongs to from now on. Throws `std::system_error`.
    [[nodiscard]] static std::shared_ptr<EventLoop> onThisThread(std::string label);

    /// Runs a loop made by `onThisThread` until `stop()`; the tasks posted before `stop()` are run.
    virtual void run() = 0;

    /// Ends `run()`. Any thread.
    virtual void stop() = 0;

    /// For a thread that runs another library's loop: a descriptor that this loop makes readable when it has something
    /// to do. That is watched from the first `runReady()` on.
    [[nodiscard]] virtual int readyDescriptor() const = 0;

    /// Does one round without waiting, instead of `run()`. A task may run the other library's loop inside itself: the
    /// rounds in there go on with the tasks in their order, and with those that are posted meanwhile.
    virtual void runReady() = 0;

    /// Watches a descriptor for reading until `unwatch`. On the loop only.
    virtual void watch(int descriptor, ReadyHandler handler) = 0;

    /// Ends watching; the handler is not called again. On the loop only, before the descriptor is closed.
    virtual void unwatch(int descriptor) = 0;
};

}  // namespace corvel
