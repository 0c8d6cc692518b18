#include "hosts/RealtimePriority.hpp"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel::hosts {

namespace {

/// Above ordinary programs, below the threads that feed sound cards.
constexpr int kWantedPriority = 20;

/// Long enough for the thread to leave the processor. A sleep of a microsecond can end before that.
constexpr std::chrono::milliseconds kShortSleep{1};

/// Makes the kernel count the calling thread's real-time use from zero.
///
/// The kernel does so only when the thread wakes at real-time priority. After a loss it would otherwise count on from
/// the limit, and take the priority away again at once.
void restartTimeCount() {
    std::this_thread::sleep_for(kShortSleep);
}

int setPriority(int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    const int error = ::pthread_setschedparam(::pthread_self(), SCHED_RR, &parameters);
    if (error == 0) {
        restartTimeCount();
    }
    return error;
}

/// Gives the calling thread as much priority as the kernel grants.
RealtimeAnswer askKernel() {
    int error = setPriority(kWantedPriority);
    if (error == 0) {
        return {kWantedPriority, "the kernel"};
    }
    rlimit limit{};
    ::getrlimit(RLIMIT_RTPRIO, &limit);
    if (const auto granted = static_cast<int>(std::min<rlim_t>(limit.rlim_cur, kWantedPriority)); granted > 0) {
        error = setPriority(granted);
        if (error == 0) {
            return {granted, "the kernel"};
        }
    }
    return {0, "the kernel: " + std::system_category().message(error)};
}

}  // namespace

RealtimePriority::RealtimePriority(const std::shared_ptr<EventLoop>& queue, RealtimeBroker broker,
                                   std::chrono::milliseconds retryDelay)
    : queue_(queue), broker_(std::move(broker)), retryDelay_(retryDelay) {}

void RealtimePriority::request(DiagnosticHandler diagnose) {
    diagnose_ = std::move(diagnose);
    // Before anything sets a limit on the thread's time.
    watch();
    ask();
}

void RealtimePriority::end() {
    diagnose_ = nullptr;
    if (const auto queue = queue_.lock(); queue && alarm_) {
        queue->unwatch(alarm_->descriptor());
    }
    alarm_.reset();
}

void RealtimePriority::ask() {
    const RealtimeAnswer kernel = askKernel();
    if (kernel.priority > 0) {
        rlimit limit{};
        // The kernel kills a program that exceeds an administrator's limit. The alarm comes at half of it.
        if (::getrlimit(RLIMIT_RTTIME, &limit) == 0 && limit.rlim_max != RLIM_INFINITY) {
            static_cast<void>(RealtimeAlarm::limit(std::chrono::microseconds(limit.rlim_max)));
        }
        finish({}, kernel);
    } else if (!broker_) {
        finish({}, kernel);
    } else {
        broker_(::gettid(), kWantedPriority,
                [weakSelf = weak_from_this(), weakQueue = queue_, kernel](RealtimeAnswer answer) {
                    if (const auto queue = weakQueue.lock()) {
                        queue->async([weakSelf, kernel, answer = std::move(answer)] {
                            if (answer.priority > 0) {
                                restartTimeCount();
                            }
                            if (const auto self = weakSelf.lock()) {
                                self->finish(kernel.reason + "; ", answer);
                            }
                        });
                    }
                });
    }
}

void RealtimePriority::finish(const std::string& refusal, const RealtimeAnswer& answer) {
    if (!diagnose_) {
        return;
    }
    if (answer.priority > 0) {
        diagnose_("Routing at real-time priority " + std::to_string(answer.priority) + ", granted by " + answer.reason);
    } else {
        diagnose_("Real-time priority was not granted (" + refusal + answer.reason + "); under load MIDI may be late");
    }
}

void RealtimePriority::watch() {
    if (const auto queue = queue_.lock(); queue && !alarm_) {
        alarm_.emplace(::gettid());
        queue->watch(
            alarm_->descriptor(),
            [weakSelf = weak_from_this()] {
                if (const auto self = weakSelf.lock()) {
                    self->handleAlarm();
                }
            },
            [] {});
    }
}

void RealtimePriority::handleAlarm() {
    const auto queue = queue_.lock();
    if (!alarm_ || !alarm_->acknowledge() || !diagnose_ || !queue) {
        return;
    }
    diagnose_("Real-time priority was given up for some seconds: routing used a processor too long without a pause");
    queue->asyncAfter(retryDelay_, std::make_shared<DispatchWorkItem>([weakSelf = weak_from_this()] {
                          if (const auto self = weakSelf.lock(); self && self->diagnose_) {
                              self->ask();
                          }
                      }));
}

}  // namespace corvel::hosts
