#include "core/support/ProcessorShare.hpp"

#include "core/support/EventLoop.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <functional>
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

/// The part of its processor that this thread used while it did the work.
double usedShare(const std::function<void()>& work) {
    const auto began = steady_clock::now();
    const nanoseconds usedBefore = usedProcessorTime();
    work();
    return static_cast<double>((usedProcessorTime() - usedBefore).count()) /
           static_cast<double>(nanoseconds(steady_clock::now() - began).count());
}

void work(nanoseconds duration) {
    for (const auto end = steady_clock::now() + duration; steady_clock::now() < end;) {
    }
}

TEST(ProcessorShare, LeavesAPartOfTheProcessorToOthersHoweverMuchWorkThereIs) {
    const double share = usedShare([] {
        ProcessorShare processorShare;
        for (const auto end = steady_clock::now() + 300ms; steady_clock::now() < end;) {
            const auto began = steady_clock::now();
            work(1ms);
            processorShare.endRound(began, true);
        }
    });
    // 95 % are promised; the first window, which has none before it to compare with, is used whole.
    EXPECT_LT(share, 0.97);
    EXPECT_GT(share, 0.0);
}

TEST(ProcessorShare, NoticesThatItIsBusyByTheNumberOfRoundsAlone) {
    const double share = usedShare([] {
        ProcessorShare processorShare;
        for (const auto end = steady_clock::now() + 300ms; steady_clock::now() < end;) {
            const auto began = steady_clock::now();
            work(500us);
            processorShare.endRound(began, false);
        }
    });
    EXPECT_LT(share, 0.97);
}

TEST(ProcessorShare, NeverPausesAThreadThatWaitsForItsWork) {
    ProcessorShare processorShare;
    auto now = steady_clock::now();
    const auto began = now;
    for (int round = 0; round < 10'000; ++round) {
        // Ten rounds a second, none with more work behind it: the clock is told, no time passes.
        now += 100ms;
        processorShare.endRound(now, false);
    }
    EXPECT_LT(steady_clock::now() - began, 1s) << "a pause each round would be 13 s";
}

TEST(EventLoop, LeavesAPartOfTheProcessorToOthersWhileItsTasksKeepPosting) {
    const auto loop = EventLoop::withThread("test");
    struct Reposting {
        EventLoop* loop;
        steady_clock::time_point end;
        std::promise<void>* isOver;
        void operator()() const {
            work(200us);
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
