#include "core/support/EventLoop.hpp"

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
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace corvel {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

/// How long a task that may wait is left alone: too short to be seen, long enough for whoever is more urgent.
constexpr std::chrono::milliseconds kConvenientDelay{10};

/// An open descriptor, closed with its owner.
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

    /// Takes the count that an event or timer descriptor holds, so that it is no longer ready.
    void drain() const {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t size = ::read(value_, &count, sizeof count);
    }

private:
    int value_;
};

/// The loop itself. Its thread shares it with the handle, so that either may go first.
class Loop {
public:
    explicit Loop(std::string label) : label_(std::move(label)) {
        add(wake_.get());
        add(timer_.get());
    }

    /// Makes the calling thread the loop's.
    void adoptThread() { thread_.store(std::this_thread::get_id()); }

    [[nodiscard]] bool isCurrent() const { return thread_.load() == std::this_thread::get_id(); }

    void async(Task&& task) {
        bool mustWake = false;
        {
            const std::lock_guard lock(mutex_);
            if (hasEnded_) {
                return;
            }
            pending_.push_back(std::move(task));
            mustWake = isWaiting_.exchange(false);
        }
        if (mustWake) {
            wakeUp();
        }
    }

    void asyncDeferred(Task&& task) {
        const std::lock_guard lock(mutex_);
        if (hasEnded_) {
            return;
        }
        pending_.push_back(std::move(task));
        if (isWaiting_ && !std::exchange(isWakeScheduled_, true)) {
            const SteadyTime convenient = std::chrono::steady_clock::now() + kConvenientDelay;
            if (!armed_ || convenient < *armed_) {
                armed_ = convenient;
                arm();
            }
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
            takeRound(*timeout);
            runTakenTasks();
        }
        // What was posted before the end is owed; what these last tasks post is not, or an end might never come.
        {
            const std::lock_guard lock(mutex_);
            takePendingTasks();
        }
        runTakenTasks();
        const std::lock_guard lock(mutex_);
        isStopping_ = false;
    }

    [[nodiscard]] int readyDescriptor() const { return poll_.get(); }

    void runReady() {
        takeRound(0);
        // A task may run the other library's loop, which has to hear of what is posted meanwhile.
        announceRest();
        runTakenTasks();
        announceRest();
    }

    /// Lets go of all that is left, on the thread that calls; later posts are dropped.
    void end() {
        std::vector<Task> tasks;
        std::multimap<SteadyTime, std::shared_ptr<DispatchWorkItem>> items;
        {
            const std::lock_guard lock(mutex_);
            hasEnded_ = true;
            tasks.swap(pending_);
            items.swap(timed_);
        }
        watched_.clear();
    }

    void watch(int descriptor, EventLoop::ReadyHandler handler) {
        watched_[descriptor] = std::make_shared<EventLoop::ReadyHandler>(std::move(handler));
        add(descriptor);
    }

    void unwatch(int descriptor) {
        if (watched_.erase(descriptor) > 0) {
            ::epoll_ctl(poll_.get(), EPOLL_CTL_DEL, descriptor, nullptr);
        }
    }

private:
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

    /// Arms the timer and tells how many milliseconds to wait for descriptors, -1 for as long as it takes. No value
    /// when the loop is to end.
    std::optional<int> beginRound() {
        const std::lock_guard lock(mutex_);
        if (isStopping_) {
            return std::nullopt;
        }
        isWaiting_ = pending_.empty();
        isWakeScheduled_ = false;
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
            // The steady clock and the timer's monotonic clock are the same; a zero time would disarm the timer.
            const std::int64_t nanoseconds =
                std::max<std::int64_t>(1, std::chrono::nanoseconds(armed_->time_since_epoch()).count());
            setting.it_value.tv_sec = nanoseconds / 1'000'000'000;
            setting.it_value.tv_nsec = nanoseconds % 1'000'000'000;
        }
        ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
    }

    /// Makes the descriptor ready again for what came meanwhile, so that others have their turn first.
    void announceRest() {
        if (beginRound() != -1) {
            wakeUp();
        }
    }

    /// Handles what is ready and due, and takes the tasks.
    void takeRound(int timeout) {
        handleReadyDescriptors(timeout);
        while (const std::shared_ptr<DispatchWorkItem> item = takeDueItemOrTasks()) {
            guarded([&item] { item->perform(); });
        }
    }

    void handleReadyDescriptors(int timeout) {
        std::array<epoll_event, 16> events{};
        const int count = ::epoll_wait(poll_.get(), events.data(), static_cast<int>(events.size()), timeout);
        isWaiting_ = false;
        for (int index = 0; index < count; ++index) {
            const int descriptor = events.at(static_cast<std::size_t>(index)).data.fd;
            if (descriptor == wake_.get()) {
                wake_.drain();
            } else if (descriptor == timer_.get()) {
                timer_.drain();
            } else if (const auto found = watched_.find(descriptor); found != watched_.end()) {
                // The handler may end its own watch: keep it until it returns.
                const std::shared_ptr<EventLoop::ReadyHandler> handler = found->second;
                guarded(*handler);
            }
        }
    }

    /// The next item that is due. Once there is none, takes the pending tasks, all with one lock.
    [[nodiscard]] std::shared_ptr<DispatchWorkItem> takeDueItemOrTasks() {
        const std::lock_guard lock(mutex_);
        if (timed_.empty() || timed_.begin()->first > std::chrono::steady_clock::now()) {
            takePendingTasks();
            return nullptr;
        }
        std::shared_ptr<DispatchWorkItem> item = std::move(timed_.begin()->second);
        timed_.erase(timed_.begin());
        return item;
    }

    /// With the lock held.
    void takePendingTasks() {
        if (running_.empty()) {
            running_.swap(pending_);
        } else {
            // A round inside one of the tasks: what that task's round has not run yet comes first.
            std::ranges::move(pending_, std::back_inserter(running_));
            pending_.clear();
        }
    }

    void runTakenTasks() {
        while (nextRunning_ < running_.size()) {
            // Each task goes as soon as it has run, and with it what it holds.
            Task task = std::move(running_[nextRunning_++]);
            guarded(task);
        }
        running_.clear();
        nextRunning_ = 0;
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
    std::multimap<SteadyTime, std::shared_ptr<DispatchWorkItem>> timed_;
    /// Set and asked with the lock held; the loop alone takes it back without, as a wake-up too many does no harm.
    std::atomic<bool> isWaiting_ = false;
    bool isWakeScheduled_ = false;
    std::optional<SteadyTime> armed_;
    bool isStopping_ = false;
    bool hasEnded_ = false;

    // Loop's thread only
    std::vector<Task> running_;
    std::size_t nextRunning_ = 0;
    std::map<int, std::shared_ptr<EventLoop::ReadyHandler>> watched_;
};

class LoopHandle final : public EventLoop {
public:
    explicit LoopHandle(std::string label) : loop_(std::make_shared<Loop>(std::move(label))) {}
    LoopHandle(const LoopHandle&) = delete;
    LoopHandle& operator=(const LoopHandle&) = delete;

    ~LoopHandle() override {
        loop_->stop();
        if (!thread_.joinable()) {
            loop_->end();
        } else if (loop_->isCurrent()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }

    void startThread(const std::string& label) {
        std::promise<void> adopted;
        thread_ = std::thread([loop = loop_, &adopted] {
            loop->adoptThread();
            adopted.set_value();
            loop->run();
            loop->end();
        });
        adopted.get_future().wait();
        constexpr std::size_t kLongestThreadName = 15;
        const std::size_t start = label.size() > kLongestThreadName ? label.size() - kLongestThreadName : 0;
        ::pthread_setname_np(thread_.native_handle(), label.c_str() + start);
    }

    void adoptThread() { loop_->adoptThread(); }

    void async(Task task) override { loop_->async(std::move(task)); }
    void asyncDeferred(Task task) override { loop_->asyncDeferred(std::move(task)); }

    void sync(Task task) override {
        if (isCurrent()) {
            task();
            return;
        }
        // A task that the loop drops at its end breaks the promise, which ends the wait as well.
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
    void run() override { loop_->run(); }
    void stop() override { loop_->stop(); }
    [[nodiscard]] int readyDescriptor() const override { return loop_->readyDescriptor(); }
    void runReady() override { loop_->runReady(); }
    void watch(int descriptor, ReadyHandler handler) override { loop_->watch(descriptor, std::move(handler)); }
    void unwatch(int descriptor) override { loop_->unwatch(descriptor); }

private:
    const std::shared_ptr<Loop> loop_;
    std::thread thread_;
};

}  // namespace

std::shared_ptr<EventLoop> EventLoop::withThread(const std::string& label) {
    auto loop = std::make_shared<LoopHandle>(label);
    loop->startThread(label);
    return loop;
}

std::shared_ptr<EventLoop> EventLoop::onThisThread(std::string label) {
    auto loop = std::make_shared<LoopHandle>(std::move(label));
    loop->adoptThread();
    return loop;
}

}  // namespace corvel
