#pragma once

#include "core/support/DispatchQueue.hpp"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <memory>

namespace corvel {

/// The main thread's queue, run by Qt's event loop: its tasks go on inside modal dialogs, menus and drags, and in a
/// program without windows.
///
/// A task wakes the main thread at once, a deferred one within 10 ms. While deferred tasks keep coming, the main thread
/// looks for them by a timer, so that posting one costs the real-time thread no system call; 300 ms after the last one
/// the timer stops, and an idle program sleeps. After 5 ms of tasks Qt's other events have their turn.
///
/// Main thread only, apart from what `queue()` gives.
class QtMainQueue {
public:
    static constexpr std::chrono::milliseconds kDeferral{10};
    static constexpr std::chrono::milliseconds kDeferredTasksEnd{300};
    static constexpr std::chrono::milliseconds kRoundLimit{5};

    /// While the application object exists. Throws `std::system_error` when the system has no descriptor left.
    QtMainQueue();
    QtMainQueue(const QtMainQueue&) = delete;
    QtMainQueue& operator=(const QtMainQueue&) = delete;
    /// Runs the tasks that were posted before. Later ones are dropped.
    ~QtMainQueue();

    /// Where to post, from any thread, also after this object has gone. Posting allocates nothing while fewer than 256
    /// tasks wait.
    [[nodiscard]] std::shared_ptr<DispatchQueue> queue() const;

    /// Whether all tasks have run, the deferred ones included.
    [[nodiscard]] bool isIdle() const;

private:
    class Inbox;

    void handleWakeUp();
    void handleTimer();
    void runRound();

    /// Owns the timers of work items.
    QObject timers_;
    const std::shared_ptr<Inbox> inbox_;
    QSocketNotifier wakeUps_;
    QTimer deferralTimer_;
};

}  // namespace corvel
