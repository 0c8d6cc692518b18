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

/// A serial queue that stands still: its tasks run only when a test says so, on the test's thread, and its time passes
/// only when the test lets it pass.
///
/// Posting is safe from any thread; running is for one thread. An exception that leaves a task reaches the test.
class ManualQueue : public DispatchQueue {
public:
    /// When the queue is the current one.
    enum class Current : std::uint8_t {
        /// While one of its tasks runs.
        whileRunning,
        /// Always, on the thread that made the queue: a main queue whose main thread is the test's.
        onMakerThread,
    };

    explicit ManualQueue(Current current = Current::whileRunning);

    void async(Task task) override;

    /// Runs everything that is pending and then the task; on the queue itself, the task alone.
    void sync(Task task) override;

    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) override;

    [[nodiscard]] bool isCurrent() const override;

    /// Runs the oldest pending task; false if there is none.
    bool runNext();

    /// Runs the pending tasks, and those that they post, until there is none. Returns how many ran.
    std::size_t runAll();

    /// Lets time pass on an otherwise idle queue: runs what is pending, then each work item at the instant at which it
    /// falls due, with everything that it posts.
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
    // A ring rather than a deque: once warm, posting allocates nothing, so allocations can be counted around it.
    boost::circular_buffer<Task> tasks_;
    std::vector<Scheduled> scheduled_;
    std::chrono::nanoseconds now_{0};
};

}  // namespace corvel::tests
