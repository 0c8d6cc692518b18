#include "core/support/ProcessorShare.hpp"

#include <algorithm>
#include <ctime>
#include <thread>
#include <type_traits>

namespace corvel {

namespace {

using namespace std::chrono_literals;

/// Time between two checks of the thread's processor time.
constexpr std::chrono::nanoseconds kWindow = 5ms;
/// The same while the thread still owes other threads time.
constexpr std::chrono::nanoseconds kWindowInDebt = 2ms;

/// The share of the time for other threads. More than the 5 % that they need, because other real-time threads on the
/// same processor use some of it.
constexpr std::chrono::nanoseconds shareOf(std::chrono::nanoseconds time) {
    return time * 8 / 100;
}

/// Shorter pauses cost more than they give.
constexpr std::chrono::nanoseconds kMinPause = 200us;

/// Minimum number of checks in a window in which the thread counts as possibly busy.
constexpr unsigned kManyLooks = 16;

class SystemTime final : public ProcessorShare::Time {
public:
    [[nodiscard]] ProcessorShare::SteadyTime now() override { return std::chrono::steady_clock::now(); }
    [[nodiscard]] std::chrono::nanoseconds used() override {
        timespec used{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
    }
    void sleep(std::chrono::nanoseconds duration) override { std::this_thread::sleep_for(duration); }
};

/// Has nothing to destroy: a thread may still use it while the program exits.
constinit SystemTime systemTime;
static_assert(std::is_trivially_destructible_v<SystemTime>);

}  // namespace

ProcessorShare::ProcessorShare() : time_(systemTime) {}

void ProcessorShare::look(SteadyTime roughNow, bool mayBeBusy) {
    ++looks_;
    mayBeBusy_ = mayBeBusy_ || mayBeBusy || looks_ >= kManyLooks;
    if (roughNow - windowStart_ < (owed_ > 0ns ? kWindowInDebt : kWindow)) {
        return;
    }
    if (mayBeBusy_) {
        endBusyWindow();
    } else {
        usedBefore_ = -1ns;
        owed_ = -kMaxCredit;
        windowStart_ = roughNow;
    }
    looks_ = 0;
    mayBeBusy_ = false;
}

void ProcessorShare::endBusyWindow() {
    const SteadyTime now = time_.now();
    const std::chrono::nanoseconds pause = pauseAfter(now - windowStart_);
    if (pause > 0ns) {
        time_.sleep(pause);
    }
    // The next window starts after the pause, which would otherwise count as idle time in it.
    windowStart_ = now + pause;
}

std::chrono::nanoseconds ProcessorShare::pauseAfter(std::chrono::nanoseconds elapsed) {
    const std::chrono::nanoseconds used = time_.used();
    if (usedBefore_ >= 0ns) {
        const std::chrono::nanoseconds left = elapsed - (used - usedBefore_);
        owed_ = std::max(-kMaxCredit, owed_ + shareOf(elapsed) - left);
    }
    usedBefore_ = used;
    const std::chrono::nanoseconds pause = owed_ < kMinPause ? 0ns : std::min(owed_, kMaxPause);
    // During a pause, only the time beyond the others' regular share counts.
    owed_ -= pause - shareOf(pause);
    return pause;
}

}  // namespace corvel
