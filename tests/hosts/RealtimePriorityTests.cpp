#include "hosts/RealtimePriority.hpp"

#include "tests/support/Deadline.hpp"
#include "tests/support/UnprivilegedProcess.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

namespace corvel::hosts {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Lines from the queue's thread.
class Diagnostics {
public:
    void add(std::string line) {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
        arrival_.notify_all();
    }
    /// Waits until there are this many.
    [[nodiscard]] std::vector<std::string> wait(std::size_t count) {
        std::unique_lock lock(mutex_);
        arrival_.wait_for(lock, tests::kDeadline, [&] { return lines_.size() >= count; });
        return lines_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrival_;
    std::vector<std::string> lines_;
};

/// Uses the processor this long, however often the thread loses it meanwhile.
void useProcessor(std::chrono::milliseconds duration) {
    const auto usedTime = [] {
        timespec used{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
    };
    for (const auto end = usedTime() + duration; usedTime() < end;) {
    }
}

/// A queue whose thread requests real-time priority. Must be created in the process that uses it.
class AskingQueue {
public:
    explicit AskingQueue(RealtimeBroker broker)
        : priority_(std::make_shared<RealtimePriority>(queue_, std::move(broker), 1ms)) {
        queue_->sync([this] {
            priority_->request([this](std::string line) {
                diagnostics.add(std::move(line));
                useProcessor(useAfterLine);
            });
        });
    }
    AskingQueue(const AskingQueue&) = delete;
    AskingQueue& operator=(const AskingQueue&) = delete;
    ~AskingQueue() {
        queue_->sync([this] { priority_->end(); });
    }

    [[nodiscard]] pid_t thread() const {
        pid_t id = 0;
        queue_->sync([&id] { id = ::gettid(); });
        return id;
    }
    [[nodiscard]] int policy() const { return ::sched_getscheduler(thread()) & ~SCHED_RESET_ON_FORK; }

    /// Uses the processor in one task.
    void use(std::chrono::milliseconds duration) const {
        queue_->sync([duration] { useProcessor(duration); });
    }

    Diagnostics diagnostics;
    /// The queue's thread uses the processor this long after each line, before it can sleep.
    std::atomic<std::chrono::milliseconds> useAfterLine{0ms};

private:
    const std::shared_ptr<EventLoop> queue_ = EventLoop::withThread("test.engine");
    const std::shared_ptr<RealtimePriority> priority_;
};

/// Answers at once, and records the request.
struct FakeBroker {
    RealtimeAnswer answer;
    std::vector<std::pair<pid_t, int>>* requests;

    void operator()(pid_t thread, int priority, const std::function<void(RealtimeAnswer)>& take) const {
        requests->emplace_back(thread, priority);
        take(answer);
    }
};

bool kernelGrants() {
    return tests::holdsInProcess([] {
        sched_param parameters{};
        parameters.sched_priority = 20;
        ASSERT_EQ(::sched_setscheduler(0, SCHED_RR, &parameters), 0);
    });
}

TEST(RealtimePriority, OfTheKernelIsTakenWithoutAskingAnybodyElse) {
    if (!kernelGrants()) {
        GTEST_SKIP() << "the kernel grants this user no real-time priority";
    }
    std::vector<std::pair<pid_t, int>> requests;
    AskingQueue queue(FakeBroker{{15, "RealtimeKit"}, &requests});
    EXPECT_THAT(queue.diagnostics.wait(1), ElementsAre("Routing at real-time priority 20, granted by the kernel"));
    EXPECT_EQ(queue.policy(), SCHED_RR);
    EXPECT_THAT(requests, IsEmpty());
}

TEST(RealtimePriority, IsAskedOfTheBrokerForItsThreadWhereTheKernelRefuses) {
    EXPECT_TRUE(tests::holdsInUnprivilegedProcess([] {
        std::vector<std::pair<pid_t, int>> requests;
        AskingQueue queue(FakeBroker{{15, "RealtimeKit"}, &requests});
        EXPECT_THAT(queue.diagnostics.wait(1), ElementsAre("Routing at real-time priority 15, granted by RealtimeKit"));
        EXPECT_THAT(requests, ElementsAre(std::pair(queue.thread(), 20)));
    }));
}

TEST(RealtimePriority, ThatNobodyGrantsIsSaidWithBothReasons) {
    EXPECT_TRUE(tests::holdsInUnprivilegedProcess([] {
        std::vector<std::pair<pid_t, int>> requests;
        AskingQueue queue(FakeBroker{{0, "RealtimeKit: Permission denied"}, &requests});
        EXPECT_THAT(queue.diagnostics.wait(1),
                    ElementsAre("Real-time priority was not granted (the kernel: Operation not permitted; "
                                "RealtimeKit: Permission denied); under load MIDI may be late"));
    }));
}

TEST(RealtimePriority, IsRefusedByTheKernelAloneWhereThereIsNobodyElseToAsk) {
    EXPECT_TRUE(tests::holdsInUnprivilegedProcess([] {
        AskingQueue queue({});
        EXPECT_THAT(queue.diagnostics.wait(1),
                    ElementsAre("Real-time priority was not granted (the kernel: Operation not permitted); "
                                "under load MIDI may be late"));
    }));
}

TEST(RealtimePriority, ThatComesWhenTheClientHasEndedIsNotReported) {
    EXPECT_TRUE(tests::holdsInUnprivilegedProcess([] {
        const auto loop = EventLoop::withThread("test.engine");
        std::function<void(RealtimeAnswer)> answer;
        const auto priority = std::make_shared<RealtimePriority>(
            loop, [&answer](pid_t, int, std::function<void(RealtimeAnswer)> take) { answer = std::move(take); });
        loop->sync([&] {
            priority->request([](const std::string& line) { ADD_FAILURE() << line; });
            priority->end();
        });
        answer({20, "RealtimeKit"});
        loop->sync([] {});
    }));
}

TEST(RealtimePriority, IsGivenUpAndAskedForAgainBeforeTheKernelWouldEndTheProgram) {
    if (!kernelGrants()) {
        GTEST_SKIP() << "the kernel grants this user no real-time priority";
    }
    EXPECT_TRUE(tests::holdsInProcess([] {
        AskingQueue queue({});
        ASSERT_EQ(queue.diagnostics.wait(1).size(), 1U);
        // The kernel would send SIGXCPU at 100 ms and kill at 200 ms.
        ASSERT_TRUE(RealtimeAlarm::limit(200ms));
        // Less than the time to the signal: after a loss the thread has that time again.
        queue.useAfterLine = 20ms;
        for (std::size_t count = 1; count <= 2; ++count) {
            queue.use(400ms);
            EXPECT_EQ(queue.diagnostics.wait(2 * count + 1).size(), 2 * count + 1);
            EXPECT_EQ(queue.policy(), SCHED_RR);
        }
        EXPECT_THAT(queue.diagnostics.wait(3),
                    testing::Contains("Real-time priority was given up for some seconds: routing used a processor too "
                                      "long without a pause")
                        .Times(2));
    }));
}

TEST(RealtimeAlarm, SetsHalfOfTheLimitForTheAlarmAndNeverRaisesTheLimit) {
    EXPECT_TRUE(tests::holdsInProcess([] {
        ASSERT_TRUE(RealtimeAlarm::limit(200ms));
        ASSERT_TRUE(RealtimeAlarm::limit(500ms));
        rlimit limits{};
        ASSERT_EQ(::getrlimit(RLIMIT_RTTIME, &limits), 0);
        EXPECT_EQ(limits.rlim_cur, 100'000U);
        EXPECT_EQ(limits.rlim_max, 200'000U);
    }));
}

}  // namespace
}  // namespace corvel::hosts
