#pragma once

#include "core/support/DispatchQueue.hpp"

#include <mutex>
#include <vector>

namespace corvel::benchmarks {

/// A serial queue that its user runs by hand on one thread, and that costs what the event loop's own list of tasks
/// costs: a lock for each post, and one for each round of running.
///
/// With it a figure holds the work of posting and running, but neither system calls nor switches between threads, which
/// depend on how many messages come together and not on the code that is measured.
class HandDrivenQueue final : public DispatchQueue {
public:
    void async(Task task) override;
    void sync(Task task) override;

    /// Work for later is dropped: no time passes here.
    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) override;

    /// Always: there is one thread.
    [[nodiscard]] bool isCurrent() const override { return true; }

    /// Runs what was posted before the call; true if there was anything.
    bool runRound();

    /// Runs what is pending, and what that posts.
    void runAll();

private:
    std::mutex mutex_;
    std::vector<Task> pending_;
    std::vector<Task> running_;
};

}  // namespace corvel::benchmarks
