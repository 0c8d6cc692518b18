#include "program/QtMainQueue.hpp"

#include "core/support/ApplicationIdentifier.hpp"
#include "core/support/QueueMutex.hpp"

#include <boost/circular_buffer.hpp>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <future>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t kInitialCapacity = 256;

/// Runs a task. Catches its exceptions, because Qt calls this and must not receive any.
void runGuarded(Task& task) {
    const std::string label = std::string(kApplicationIdentifier) + ".main";
    try {
        task();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: a task failed: %s\n", label.c_str(), error.what());
    } catch (...) {
        std::fprintf(stderr, "%s: a task failed\n", label.c_str());
    }
}

}  // namespace

/// The waiting tasks, and the state by which posting threads wake the main thread only when needed.
class QtMainQueue::Inbox final : public DispatchQueue {
public:
    explicit Inbox(QObject& timers)
        : timers_(timers), wakeUp_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), tasks_(kInitialCapacity) {
        if (wakeUp_ < 0) {
            throw std::system_error(errno, std::generic_category(), "eventfd");
        }
        // Writes to the memory once, so that the routing thread does not wait for page faults.
        while (!tasks_.full()) {
            tasks_.push_back(Task());
        }
        tasks_.clear();
    }
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;
    ~Inbox() override { ::close(wakeUp_); }

    void async(Task task) override { post(std::move(task), false); }
    void asyncDeferred(Task task) override { post(std::move(task), true); }

    void sync(Task task) override {
        if (isCurrent()) {
            task();
            return;
        }
        // If the task is dropped, the broken promise also ends the wait.
        std::promise<void> done;
        const std::future<void> isDone = done.get_future();
        async([&task, done = std::move(done)]() mutable {
            task();
            done.set_value();
        });
        isDone.wait();
    }

    void asyncAfter(std::chrono::nanoseconds delay, std::shared_ptr<DispatchWorkItem> item) override {
        async([this, dueAt = SteadyClock::now() + delay, item = std::move(item)] {
            auto* const timer = new QTimer(&timers_);
            timer->setSingleShot(true);
            timer->setTimerType(Qt::PreciseTimer);
            // Posted when it is due, so that it stays behind tasks that were posted before.
            QObject::connect(timer, &QTimer::timeout, [this, timer, item] {
                async([item] { item->perform(); });
                timer->deleteLater();
            });
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(dueAt - SteadyClock::now());
            timer->start(std::max(rest, std::chrono::milliseconds(0)));
        });
    }

    [[nodiscard]] bool isCurrent() const override { return thread_ == std::this_thread::get_id(); }

    // For the main thread

    /// Readable when there is something to do.
    [[nodiscard]] int descriptor() const { return wakeUp_; }

    /// Makes the descriptor unreadable until the next wake-up.
    void acceptWakeUp() {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t size = ::read(wakeUp_, &count, sizeof count);
        const std::lock_guard lock(mutex_);
        isWoken_ = false;
    }

    /// Whether to start the timer: a deferred task came while it was stopped.
    [[nodiscard]] bool beginsTimer() {
        const std::lock_guard lock(mutex_);
        return hasNewDeferred_ && !std::exchange(isTimerRunning_, true);
    }

    /// Called when the timer expires: makes the waiting tasks due. Returns whether the timer must run again.
    [[nodiscard]] bool continuesTimer() {
        // The clock is read here and not for every post, which must be cheap.
        const SteadyClock::time_point now = SteadyClock::now();
        const std::lock_guard lock(mutex_);
        isDue_ = !tasks_.empty();
        if (std::exchange(hasNewDeferred_, false)) {
            lastDeferred_ = now;
        }
        isTimerRunning_ = now - lastDeferred_ < kDeferredTasksEnd;
        return isTimerRunning_;
    }

    [[nodiscard]] bool isDue() const {
        const std::lock_guard lock(mutex_);
        return isDue_;
    }

    [[nodiscard]] bool isEmpty() const {
        const std::lock_guard lock(mutex_);
        return tasks_.empty();
    }

    /// The number of tasks posted so far.
    [[nodiscard]] std::uint64_t postedCount() const {
        const std::lock_guard lock(mutex_);
        return takenCount_ + tasks_.size();
    }

    /// Removes and returns the oldest task if it is one of the first `end` that were posted.
    [[nodiscard]] Task take(std::uint64_t end) {
        Task task;
        bool mustWake = false;
        {
            const std::lock_guard lock(mutex_);
            if (tasks_.empty() || takenCount_ >= end) {
                return task;
            }
            task = std::move(tasks_.front());
            tasks_.pop_front();
            ++takenCount_;
            isDue_ = isDue_ && !tasks_.empty();
            // The task may run an event loop, which must then continue with the other tasks.
            mustWake = isDue_ && !std::exchange(isWoken_, true);
        }
        if (mustWake) {
            wake();
        }
        return task;
    }

    void end() {
        boost::circular_buffer<Task> dropped;
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        tasks_.swap(dropped);
    }

private:
    void post(Task&& task, bool isDeferred) {
        bool mustWake = false;
        {
            const std::lock_guard lock(mutex_);
            if (hasEnded_) {
                return;
            }
            if (tasks_.full()) {
                tasks_.set_capacity(2 * tasks_.capacity());
            }
            tasks_.push_back(std::move(task));
            hasNewDeferred_ = hasNewDeferred_ || isDeferred;
            isDue_ = isDue_ || !isDeferred;
            mustWake = !(isDeferred && isTimerRunning_) && !std::exchange(isWoken_, true);
        }
        if (mustWake) {
            wake();
        }
    }

    void wake() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t size = ::write(wakeUp_, &one, sizeof one);
    }

    const std::thread::id thread_ = std::this_thread::get_id();
    /// Must outlive every task and timer that uses it.
    QObject& timers_;
    const int wakeUp_;

    mutable QueueMutex mutex_;
    boost::circular_buffer<Task> tasks_;
    std::uint64_t takenCount_ = 0;
    /// Whether the descriptor is readable or is about to be.
    bool isWoken_ = false;
    /// Whether the waiting tasks must run at the next wake-up.
    bool isDue_ = false;
    bool isTimerRunning_ = false;
    /// Whether a deferred task came since the timer last expired.
    bool hasNewDeferred_ = false;
    /// When the timer last expired after a deferred task.
    SteadyClock::time_point lastDeferred_;
    bool hasEnded_ = false;
};

QtMainQueue::QtMainQueue()
    : inbox_(std::make_shared<Inbox>(timers_)), wakeUps_(inbox_->descriptor(), QSocketNotifier::Read) {
    QObject::connect(&wakeUps_, &QSocketNotifier::activated, &wakeUps_, [this] { handleWakeUp(); });
    deferralTimer_.setSingleShot(true);
    QObject::connect(&deferralTimer_, &QTimer::timeout, &deferralTimer_, [this] { handleTimer(); });
}

QtMainQueue::~QtMainQueue() {
    const std::uint64_t end = inbox_->postedCount();
    while (Task task = inbox_->take(end)) {
        runGuarded(task);
    }
    inbox_->end();
}

std::shared_ptr<DispatchQueue> QtMainQueue::queue() const {
    return inbox_;
}

bool QtMainQueue::isIdle() const {
    return inbox_->isEmpty();
}

void QtMainQueue::handleWakeUp() {
    inbox_->acceptWakeUp();
    if (inbox_->beginsTimer()) {
        deferralTimer_.start(kDeferral);
    }
    if (inbox_->isDue()) {
        runRound();
    }
}

void QtMainQueue::handleTimer() {
    // Restarted before the tasks run, because Qt does not let a repeating timer expire inside an event loop of one of
    // its own handlers.
    if (inbox_->continuesTimer()) {
        deferralTimer_.start(kDeferral);
    }
    runRound();
}

void QtMainQueue::runRound() {
    const SteadyClock::time_point limit = SteadyClock::now() + kRoundLimit;
    const std::uint64_t end = inbox_->postedCount();
    while (Task task = inbox_->take(end)) {
        runGuarded(task);
        if (SteadyClock::now() >= limit) {
            return;
        }
    }
}

}  // namespace corvel
