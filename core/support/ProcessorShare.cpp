#include "core/support/ProcessorShare.hpp"

#include <algorithm>
#include <ctime>
#include <thread>

namespace corvel {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds kWindow = 25ms;

/// Messages that arrive during a pause must fit into the sequencer's buffer for a client.
constexpr std::chrono::nanoseconds kMaxPause = 2ms;

/// Minimum number of rounds in a window in which the thread counts as possibly busy.
constexpr unsigned kManyRounds = 16;

std::chrono::nanoseconds usedProcessorTime() {
    timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

}  // namespace

void ProcessorShare::endRound(SteadyTime began, bool hasMoreWork) {
    ++rounds_;
    mayBeBusy_ = mayBeBusy_ || hasMoreWork || rounds_ >= kManyRounds;
    if (began - windowStart_ >= kWindow) {
        endWindow(began);
    }
}

void ProcessorShare::endWindow(SteadyTime now) {
    const std::chrono::nanoseconds elapsed = now - windowStart_;
    std::chrono::nanoseconds pause = 0ns;
    if (mayBeBusy_) {
        const std::chrono::nanoseconds used = usedProcessorTime();
        if (usedBefore_ >= 0ns && used - usedBefore_ > elapsed * 19 / 20) {
            pause = std::min(elapsed / 19, kMaxPause);
            std::this_thread::sleep_for(pause);
        }
        usedBefore_ = used;
    } else {
        usedBefore_ = -1ns;
    }
    // The pause belongs to the window that it ends; in the next window it would count as idle time.
    windowStart_ = now + pause;
    rounds_ = 0;
    mayBeBusy_ = false;
}

}  // namespace corvel
