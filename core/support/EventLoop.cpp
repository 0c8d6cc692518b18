#include "core/support/EventLoop.hpp"

#include "core/support/ProcessorShare.hpp"
#include "core/support/QueueMutex.hpp"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace corvel {

namespace {

using SteadyTime = EventLoop::SteadyTime;

/// A file descriptor that its owner closes.
class Descriptor {
public:
    Descriptor(int value, const char* what) : value_(value) {
        if (value < 0) {
            throw std::system_error(errno, std::generic_category(), what);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(value_); }

    [[nodiscard]] int get() const { return value_; }

    /// Reads the count of an event or timer descriptor, so that the descriptor is no longer ready.
    void drain() const {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t size = ::read(value_, &count, sizeof count);
    }

private:
    int value_;
};

/// The loop itself. Its thread shares it with the handle, so that either may end first.
class Loop {
public:
    explicit Loop(std::string label) : label_(std::move(label)) {
        add(wake_.get());
        add(timer_.get());
    }

    /// Makes the calling thread the loop's thread.
    void adoptThread() { thread_.store(std::this_thread::get_id()); }

    [[nodiscard]] bool isCurrent() const {
        return thread_.load(std::memory_order_relaxed) == std::this_thread::get_id();
    }

    void async(Task&& task) {
        bool mustWake = false;
        {
            const std::lock_guard lock(mutex_);
            if (hasEnded_) {
                return;
            }
            pending_.push_back(std::move(task));
            hasPending_.store(true, std::memory_order_release);
            mustWake = isWaiting_.exchange(false);
        }
        if (mustWake) {
            wakeUp();
        }
    }

    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) {
        bool mustWake = false;
        {
            const std::lock_guard lock(mutex_);
            if (hasEnded_) {
                return;
            }
            timed_.emplace(std::chrono::steady_clock::now() + delay, std::move(item));
            mustWake = isWaiting_.exchange(false);
        }
        if (mustWake) {
            wakeUp();
        }
    }

    void stop() {
        {
            const std::lock_guard lock(mutex_);
            isStopping_ = true;
            isWaiting_ = false;
        }
        wakeUp();
    }

    void run() {
        while (const std::optional<int> timeout = beginRound()) {
            const bool isDue = handleReadyDescriptors(*timeout);
            const bool hasTasks = isDue || hasPending_.load(std::memory_order_acquire);
            if (hasTasks) {
                takePendingTasks();
                runTakenTasks();
            }
            callSecondHandlers();
            share_.look(hasTasks ? std::chrono::steady_clock::now() : roundTime_, hasTasks);
        }
        // Tasks posted before the end still run. Tasks that these post do not, because the loop might never end.
        takePendingTasks();
        runTakenTasks();
        // Remaining tasks are destroyed on this thread; later posts are dropped.
        std::vector<Task> tasks;
        std::multimap<SteadyTime, std::shared_ptr<DispatchWorkItem>> items;
        {
            const std::lock_guard lock(mutex_);
            hasEnded_ = true;
            tasks.swap(pending_);
            items.swap(timed_);
        }
        watches_.clear();
    }

    void watch(int descriptor, EventLoop::Handler onReady, EventLoop::Handler afterTasks) {
        watches_[descriptor] = std::make_shared<Watch>(std::move(onReady), std::move(afterTasks));
        add(descriptor);
    }

    void unwatch(int descriptor) {
        if (const auto found = watches_.find(descriptor); found != watches_.end()) {
            found->second->isEnded = true;
            watches_.erase(found);
            ::epoll_ctl(poll_.get(), EPOLL_CTL_DEL, descriptor, nullptr);
        }
    }

    [[nodiscard]] SteadyTime roundTime() const { return roundTime_; }

    void shareProcessor() { share_.look(std::chrono::steady_clock::now(), true); }

private:
    struct Watch {
        Watch(EventLoop::Handler first, EventLoop::Handler second)
            : onReady(std::move(first)), afterTasks(std::move(second)) {}

        EventLoop::Handler onReady;
        EventLoop::Handler afterTasks;
        bool isEnded = false;
    };

    static constexpr std::size_t kEventsPerWait = 16;

    void add(int descriptor) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        if (::epoll_ctl(poll_.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
            throw std::system_error(errno, std::generic_category(), "epoll_ctl");
        }
    }

    void wakeUp() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t size = ::write(wake_.get(), &one, sizeof one);
    }

    /// Sets the timer and returns how many milliseconds to wait for descriptors, -1 for no limit. No value if the loop
    /// is to end.
    std::optional<int> beginRound() {
        const std::lock_guard lock(mutex_);
        if (isStopping_) {
            return std::nullopt;
        }
        isWaiting_ = pending_.empty();
        const std::optional<SteadyTime> next =
            timed_.empty() ? std::nullopt : std::optional<SteadyTime>(timed_.begin()->first);
        if (next != armed_) {
            armed_ = next;
            arm();
        }
        return isWaiting_ ? -1 : 0;
    }

    void arm() {
        itimerspec setting{};
        if (armed_) {
            // The steady clock is the timer's monotonic clock. A time of zero would disable the timer.
            const std::int64_t nanoseconds =
                std::max<std::int64_t>(1, std::chrono::nanoseconds(armed_->time_since_epoch()).count());
            setting.it_value.tv_sec = nanoseconds / 1'000'000'000;
            setting.it_value.tv_nsec = nanoseconds % 1'000'000'000;
        }
        ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
    }

    /// Returns whether work items may be due.
    bool handleReadyDescriptors(int timeout) {
        std::array<epoll_event, kEventsPerWait> events;
        const int count = ::epoll_wait(poll_.get(), events.data(), kEventsPerWait, timeout);
        isWaiting_.store(false, std::memory_order_relaxed);
        roundTime_ = std::chrono::steady_clock::now();
        bool isDue = false;
        for (int index = 0; index < count; ++index) {
            const int descriptor = events[static_cast<std::size_t>(index)].data.fd;
            if (descriptor == wake_.get()) {
                wake_.drain();
            } else if (descriptor == timer_.get()) {
                timer_.drain();
                isDue = true;
            } else if (const auto found = watches_.find(descriptor); found != watches_.end()) {
                // The handler may end its own watch, so keep the watch until the handler returns.
                ready_.push_back(found->second);
                guarded(ready_.back()->onReady);
            }
        }
        return isDue;
    }

    void callSecondHandlers() {
        for (const std::shared_ptr<Watch>& watch : ready_) {
            if (!watch->isEnded) {
                guarded(watch->afterTasks);
            }
        }
        ready_.clear();
    }

    /// Takes all waiting tasks. A due work item is added at the end, after the tasks posted before.
    void takePendingTasks() {
        const std::lock_guard lock(mutex_);
        for (const SteadyTime now = std::chrono::steady_clock::now(); !timed_.empty() && timed_.begin()->first <= now;
             timed_.erase(timed_.begin())) {
            pending_.emplace_back([item = std::move(timed_.begin()->second)] { item->perform(); });
        }
        running_.swap(pending_);
        hasPending_.store(false, std::memory_order_relaxed);
    }

    void runTakenTasks() {
        for (Task& taken : running_) {
            // Each task is destroyed as soon as it has run, with everything it holds.
            Task task = std::move(taken);
            guarded(task);
        }
        running_.clear();
    }

    template <typename Callable>
    void guarded(Callable&& callable) {
        try {
            callable();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: a task failed: %s\n", label_.c_str(), error.what());
        } catch (...) {
            std::fprintf(stderr, "%s: a task failed\n", label_.c_str());
        }
    }

    const std::string label_;
    const Descriptor poll_{::epoll_create1(EPOLL_CLOEXEC), "epoll_create1"};
    const Descriptor wake_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"};
    const Descriptor timer_{::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create"};
    std::atomic<std::thread::id> thread_;

    QueueMutex mutex_;
    std::vector<Task> pending_;
    /// Whether `pending_` holds tasks; can be read without the lock.
    std::atomic<bool> hasPending_ = false;
    std::multimap<SteadyTime, std::shared_ptr<DispatchWorkItem>> timed_;
    /// Whether the next post must wake the thread. The loop clears it without the lock: a superfluous wake-up does no
    /// harm.
    std::atomic<bool> isWaiting_ = false;
    std::optional<SteadyTime> armed_;
    bool isStopping_ = false;
    bool hasEnded_ = false;

    // Loop's thread only
    SteadyTime roundTime_{};
    std::vector<Task> running_;
    std::map<int, std::shared_ptr<Watch>> watches_;
    /// The watches whose descriptors are ready in this round.
    std::vector<std::shared_ptr<Watch>> ready_;
    ProcessorShare share_;
};

class LoopHandle final : public EventLoop {
public:
    explicit LoopHandle(const std::string& label) : loop_(std::make_shared<Loop>(label)) {
        std::promise<void> adopted;
        thread_ = std::thread([loop = loop_, &adopted] {
            loop->adoptThread();
            adopted.set_value();
            loop->run();
        });
        adopted.get_future().wait();
        constexpr std::size_t kMaxThreadName = 15;
        const std::size_t start = label.size() > kMaxThreadName ? label.size() - kMaxThreadName : 0;
        ::pthread_setname_np(thread_.native_handle(), label.c_str() + start);
    }
    LoopHandle(const LoopHandle&) = delete;
    LoopHandle& operator=(const LoopHandle&) = delete;

    ~LoopHandle() override {
        loop_->stop();
        if (loop_->isCurrent()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }

    void async(Task task) override { loop_->async(std::move(task)); }

    void sync(Task task) override {
        if (isCurrent()) {
            task();
            return;
        }
        // If the loop ends and drops the task, the broken promise also ends the wait.
        std::promise<void> done;
        const std::future<void> isDone = done.get_future();
        loop_->async([&task, done = std::move(done)]() mutable {
            task();
            done.set_value();
        });
        isDone.wait();
    }

    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) override {
        loop_->asyncAfter(delay, std::move(item));
    }

    [[nodiscard]] bool isCurrent() const override { return loop_->isCurrent(); }
    void watch(int descriptor, Handler onReady, Handler afterTasks) override {
        loop_->watch(descriptor, std::move(onReady), std::move(afterTasks));
    }
    void unwatch(int descriptor) override { loop_->unwatch(descriptor); }
    [[nodiscard]] SteadyTime roundTime() const override { return loop_->roundTime(); }
    void shareProcessor() override { loop_->shareProcessor(); }

private:
    const std::shared_ptr<Loop> loop_;
    std::thread thread_;
};

}  // namespace

std::shared_ptr<EventLoop> EventLoop::withThread(const std::string& label) {
    return std::make_shared<LoopHandle>(label);
}

}  // namespace corvel
