#pragma once

#include "core/support/EventLoop.hpp"
#include "tests/support/ManualQueue.hpp"

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <utility>

namespace corvel::tests {

/// An event loop that a test drives by hand: a `ManualQueue` whose descriptors are ready when the test says so.
class ManualEventLoop : public EventLoop {
public:
    void async(Task task) override { queue_.async(std::move(task)); }
    void sync(Task task) override { queue_.sync(std::move(task)); }
    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) override {
        queue_.asyncAfter(delay, std::move(item));
    }
    [[nodiscard]] bool isCurrent() const override { return queue_.isCurrent(); }

    void watch(int descriptor, Handler onReady, Handler afterTasks) override {
        watches_[descriptor] = {std::move(onReady), std::move(afterTasks)};
    }
    void unwatch(int descriptor) override { watches_.erase(descriptor); }
    [[nodiscard]] SteadyTime roundTime() const override { return SteadyTime(); }
    void shareProcessor() override {}

    /// Runs one round with this descriptor ready: its first handler, all tasks, its second handler.
    void runRound(int descriptor) {
        const auto [onReady, afterTasks] = watches_.at(descriptor);
        queue_.sync(onReady);
        queue_.runAll();
        if (watches_.contains(descriptor)) {
            queue_.sync(afterTasks);
        }
        queue_.runAll();
    }
    [[nodiscard]] bool isWatching(int descriptor) const { return watches_.contains(descriptor); }

    std::size_t runAll() { return queue_.runAll(); }
    void advance(std::chrono::nanoseconds duration) { queue_.advance(duration); }

private:
    ManualQueue queue_;
    std::map<int, std::pair<Handler, Handler>> watches_;
};

}  // namespace corvel::tests
