#include "core/support/ProcessorShare.hpp"

#include "core/support/EventLoop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <future>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace corvel {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using ::testing::IsEmpty;

nanoseconds usedProcessorTime() {
    timespec used{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + nanoseconds(used.tv_nsec);
}

/// Uses the processor for this long, whatever other programs take meanwhile.
void use(nanoseconds duration) {
    for (const nanoseconds end = usedProcessorTime() + duration; usedProcessorTime() < end;) {
    }
}

/// A thread whose working and sleeping time a test drives by hand.
class ThreadByHand final : public ProcessorShare::Time {
public:
    [[nodiscard]] steady_clock::time_point now() override { return now_; }
    [[nodiscard]] nanoseconds used() override {
        ++questions;
        return used_;
    }
    void sleep(nanoseconds duration) override {
        pauses.push_back(duration);
        pass(duration, true);
    }

    void work(nanoseconds duration) {
        used_ += duration;
        pass(duration, false);
    }
    void waitForWork(nanoseconds duration) { pass(duration, true); }

    /// The minimum time that others got of any 100 ms so far.
    [[nodiscard]] nanoseconds leastLeftOf100ms() const {
        constexpr std::size_t kSteps = 100ms / kStep;
        std::ptrdiff_t left = std::count(isLeft_.begin(), isLeft_.begin() + kSteps, true);
        std::ptrdiff_t least = left;
        for (std::size_t end = kSteps; end < isLeft_.size(); ++end) {
            left += (isLeft_[end] ? 1 : 0) - (isLeft_[end - kSteps] ? 1 : 0);
            least = std::min(least, left);
        }
        return least * kStep;
    }

    std::vector<nanoseconds> pauses;
    int questions = 0;

private:
    static constexpr nanoseconds kStep = 10us;

    void pass(nanoseconds duration, bool isLeft) {
        now_ += duration;
        const auto end = static_cast<std::size_t>((now_ - kStart) / kStep);
        isLeft_.resize(std::max(end, isLeft_.size()), isLeft);
    }

    static constexpr steady_clock::time_point kStart{1h};
    steady_clock::time_point now_ = kStart;
    nanoseconds used_ = 5s;
    /// For each step of time, whether others had the processor.
    std::vector<bool> isLeft_;
};

class ProcessorShares : public ::testing::TestWithParam<nanoseconds> {};

TEST_P(ProcessorShares, LeaveOthersFivePercentOfEach100msWhateverTheLengthOfTheRounds) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    for (nanoseconds worked = 0ns; worked < 2s; worked += GetParam()) {
        thread.work(GetParam());
        share.look(thread.now(), true);
    }
    EXPECT_GE(thread.leastLeftOf100ms(), 5ms);
    EXPECT_LE(*std::ranges::max_element(thread.pauses), 1ms);
    EXPECT_LE(std::accumulate(thread.pauses.begin(), thread.pauses.end(), nanoseconds(0)), 200ms)
        << "no more than needed";
}

INSTANTIATE_TEST_SUITE_P(OfRounds, ProcessorShares, ::testing::Values(10us, 100us, 1ms, 3ms, 9ms, 10ms),
                         [](const auto& round) { return "of" + std::to_string(round.param / 1us) + "us"; });

TEST(ProcessorShare, LeavesThemWithinOneLongRoundToo) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    for (int round = 0; round < 4; ++round) {
        const auto roundBegan = thread.now();
        for (int step = 0; step < 400; ++step) {
            thread.work(1ms);
            share.look(thread.now(), true);
        }
        share.look(roundBegan, false);
    }
    EXPECT_GE(thread.leastLeftOf100ms(), 5ms);
    EXPECT_LE(*std::ranges::max_element(thread.pauses), 1ms);
}

TEST(ProcessorShare, LeavesThemWhereRoundsAreFewAndLongAndEachWaitedForItsWork) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    for (int round = 0; round < 500; ++round) {
        const auto roundBegan = thread.now();
        thread.work(2ms);
        share.look(thread.now(), true);
        thread.work(2ms);
        share.look(roundBegan, false);
    }
    EXPECT_GE(thread.leastLeftOf100ms(), 5ms);
}

TEST(ProcessorShare, MakesUpInPiecesForARoundThatTookLong) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    const auto work = [&](nanoseconds duration) {
        thread.work(duration);
        share.look(thread.now(), true);
    };
    work(20ms);
    work(300ms);
    for (int round = 0; round < 100; ++round) {
        work(1ms);
    }
    EXPECT_LE(*std::ranges::max_element(thread.pauses), 1ms);
    EXPECT_GE(std::accumulate(thread.pauses.begin(), thread.pauses.end(), nanoseconds(0)), 420ms * 7 / 100);
}

TEST(ProcessorShare, DoesNotPauseAThreadThatLeavesEnoughToOthers) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    for (int round = 0; round < 2'000; ++round) {
        thread.work(900us);
        share.look(thread.now(), true);
        thread.waitForWork(100us);
    }
    EXPECT_THAT(thread.pauses, IsEmpty());
}

TEST(ProcessorShare, DoesNotPauseABurstAfterAQuietTime) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    for (int burst = 0; burst < 50; ++burst) {
        for (int round = 0; round < 10; ++round) {
            thread.work(1ms);
            share.look(thread.now(), true);
        }
        thread.waitForWork(20ms);
    }
    EXPECT_THAT(thread.pauses, IsEmpty());
}

TEST(ProcessorShare, AsksTheSystemForNothingWhileNotesComeAlone) {
    ThreadByHand thread;
    ProcessorShare share(thread);
    for (int note = 0; note < 1'000; ++note) {
        const auto roundBegan = thread.now();
        thread.work(50us);
        share.look(roundBegan, false);
        thread.waitForWork(1ms);
    }
    EXPECT_EQ(thread.questions, 0);
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
