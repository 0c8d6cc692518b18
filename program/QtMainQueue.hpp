#pragma once

#include "core/support/DispatchQueue.hpp"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <memory>

namespace corvel {

/// The main thread's queue, run by Qt's event loop: tasks also run during modal dialogs, menus and drags, and in a
/// program without windows.
///
/// A task wakes the main thread at once, a deferred one within 10 ms. While deferred tasks keep coming, the main thread
/// checks for them by a timer, so posting one costs the real-time thread no system call. The timer stops 300 ms after
/// the last one, and an idle program sleeps. Tasks run for at most 5 ms before Qt handles its other events.
///
/// Main thread only, except the result of `queue()`.
class QtMainQueue {
public:
    static constexpr std::chrono::milliseconds kDeferral{10};
    static constexpr std::chrono::milliseconds kDeferredTasksEnd{300};
    static constexpr std::chrono::milliseconds kRoundLimit{5};

    /// Needs the application object. Throws `std::system_error` if the system has no descriptor left.
    QtMainQueue();
    QtMainQueue(const QtMainQueue&) = delete;
    QtMainQueue& operator=(const QtMainQueue&) = delete;
    /// Runs the tasks that were posted before; later ones are dropped.
    ~QtMainQueue();

    /// The queue to post to, from any thread, even after this object is destroyed. Posting allocates nothing while
    /// fewer than 256 tasks wait.
    [[nodiscard]] std::shared_ptr<DispatchQueue> queue() const;

    /// Whether all tasks have run, including deferred ones.
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
