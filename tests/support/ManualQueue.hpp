#pragma once

#include "core/support/DispatchQueue.hpp"

#include <boost/circular_buffer.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace corvel::tests {

/// A serial queue that a test drives by hand: its tasks run, and its time passes, only when the test says so, on the
/// test's thread.
///
/// Any thread may post; one thread runs the tasks. An exception that leaves a task reaches the test.
class ManualQueue : public DispatchQueue {
public:
    /// When the queue is the current one.
    enum class Current : std::uint8_t {
        /// While one of its tasks runs.
        whileRunning,
        /// Always, on the thread that created the queue: a main queue whose main thread is the test's.
        onMakerThread,
    };

    explicit ManualQueue(Current current = Current::whileRunning);

    void async(Task task) override;

    /// Runs all pending tasks and then this one. On the queue itself, runs only this one.
    void sync(Task task) override;

    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) override;

    [[nodiscard]] bool isCurrent() const override;

    /// Runs the oldest pending task; false if there is none.
    bool runNext();

    /// Runs the pending tasks, and those that they post, until there are none. Returns how many ran.
    std::size_t runAll();

    /// Lets time pass on an otherwise idle queue: runs pending tasks, then each work item at the time at which it is
    /// due, with everything that it posts.
    void advance(std::chrono::nanoseconds duration);

private:
    struct Scheduled {
        std::chrono::nanoseconds due{};
        std::shared_ptr<DispatchWorkItem> item;
    };

    [[nodiscard]] Task takeNext();
    [[nodiscard]] std::shared_ptr<DispatchWorkItem> takeDue(std::chrono::nanoseconds until);
    void run(Task task);

    const Current current_;
    const std::thread::id maker_ = std::this_thread::get_id();
    mutable std::mutex mutex_;
    std::thread::id runner_;
    // A ring instead of a deque: after warm-up, posting allocates nothing, so that tests can count allocations.
    boost::circular_buffer<Task> tasks_;
    std::vector<Scheduled> scheduled_;
    std::chrono::nanoseconds now_{0};
};

}  // namespace corvel::tests
