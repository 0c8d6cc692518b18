#include "core/support/ProcessorShare.hpp"

#include "core/support/EventLoop.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <future>
#include <memory>

namespace corvel {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

nanoseconds usedProcessorTime() {
    timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + nanoseconds(used.tv_nsec);
}

/// Uses this much time of the processor, however much other programs use meanwhile.
void use(nanoseconds duration) {
    for (const nanoseconds end = usedProcessorTime() + duration; usedProcessorTime() < end;) {
    }
}

/// The shortest pause at the end of windows in which this thread used its processor for `usedPerWindow`. Each window
/// has 25 ms of simulated time, in rounds of equal length.
nanoseconds shortestPause(nanoseconds usedPerWindow, int rounds, bool hasMoreWork) {
    ProcessorShare share;
    steady_clock::time_point now = steady_clock::now();
    nanoseconds shortest = 1h;
    for (int window = 0; window < 4; ++window) {
        nanoseconds pause{};
        for (int round = 0; round < rounds; ++round) {
            use(usedPerWindow / rounds);
            now += 25'000us / rounds;
            const auto before = steady_clock::now();
            share.endRound(now, hasMoreWork);
            pause += steady_clock::now() - before;
        }
        // The first two windows have no window before them to compare with.
        if (window > 1) {
            shortest = std::min(shortest, pause);
        }
    }
    return shortest;
}

// The rest of the 5 % of a window.
constexpr nanoseconds kPause = 1'300us;

TEST(ProcessorShare, PausesAThreadThatUsedNearlyAllOfAWindow) {
    EXPECT_GE(shortestPause(24'500us, 5, true), kPause);
}

TEST(ProcessorShare, NoticesByTheNumberOfRoundsAloneThatAThreadIsBusy) {
    EXPECT_GE(shortestPause(24'500us, 25, false), kPause);
}

TEST(ProcessorShare, DoesNotPauseAThreadThatLeavesEnoughToOthers) {
    EXPECT_LT(shortestPause(15'000us, 5, true), kPause);
}

TEST(EventLoop, LeavesAPartOfTheProcessorToOthersWhileItsTasksKeepPosting) {
    const auto loop = EventLoop::withThread("test");
    struct Reposting {
        EventLoop* loop;
        steady_clock::time_point end;
        std::promise<void>* isOver;
        void operator()() const {
            use(200us);
            if (steady_clock::now() < end) {
                loop->async(*this);
            } else {
                isOver->set_value();
            }
        }
    };
    nanoseconds usedBefore{};
    nanoseconds usedAfter{};
    std::promise<void> isOver;
    loop->sync([&] { usedBefore = usedProcessorTime(); });
    const auto began = steady_clock::now();
    loop->async(Reposting{loop.get(), began + 300ms, &isOver});
    isOver.get_future().wait();
    loop->sync([&] { usedAfter = usedProcessorTime(); });
    const nanoseconds elapsed = steady_clock::now() - began;
    EXPECT_LT(usedAfter - usedBefore, elapsed * 97 / 100);
}

}  // namespace
}  // namespace corvel
