#include "program/QtMainQueue.hpp"

#include "tests/support/HeapCounter.hpp"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

/// The number of calls of `write` on this thread.
thread_local int writeCount = 0;

}  // namespace

/// Replaces the C library's function and counts.
extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    ++writeCount;
    return ::syscall(SYS_write, descriptor, bytes, size);
}

namespace corvel {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

/// A test that waits this long fails. Longer than anything takes on a loaded machine.
constexpr std::chrono::seconds kDeadline{20};

class QtMainQueueTest : public ::testing::Test {
protected:
    /// Runs the event loop until the condition holds; false after the deadline.
    template <typename Condition>
    [[nodiscard]] static bool runUntil(Condition condition) {
        const QDeadlineTimer deadline(kDeadline);
        while (!condition() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 10);
        }
        return condition();
    }

    [[nodiscard]] bool runUntilIdle() {
        return runUntil([this] { return owner->isIdle(); });
    }

    /// Runs the event loop for this time.
    static void runFor(std::chrono::milliseconds time) {
        bool isOver = false;
        QTimer::singleShot(time, [&isOver] { isOver = true; });
        EXPECT_TRUE(runUntil([&isOver] { return isOver; }));
    }

    /// The number of calls of `write` when another thread posts a task, deferred or not.
    [[nodiscard]] int writesForPost(bool isDeferred) const {
        return std::async(std::launch::async,
                          [this, isDeferred] {
                              writeCount = 0;
                              isDeferred ? queue->asyncDeferred([] {}) : queue->async([] {});
                              return writeCount;
                          })
            .get();
    }

    int argumentCount = 1;
    char program[7] = "corvel";
    char* arguments[2] = {program, nullptr};
    const QCoreApplication application{argumentCount, arguments};
    std::optional<QtMainQueue> owner{std::in_place};
    const std::shared_ptr<DispatchQueue> queue = owner->queue();
    std::vector<int> order;
};

TEST_F(QtMainQueueTest, RunsTasksInTheOrderOfTheirPostsDeferredOrNot) {
    queue->asyncDeferred([this] { order.push_back(1); });
    queue->async([this] { order.push_back(2); });
    queue->asyncDeferred([this] { order.push_back(3); });
    queue->async([this] { order.push_back(4); });
    EXPECT_THAT(order, ElementsAre()) << "never inside the post";
    ASSERT_TRUE(runUntilIdle());
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST_F(QtMainQueueTest, RunsDeferredTasksByThemselves) {
    for (int number = 1; number <= 3; ++number) {
        queue->asyncDeferred([this, number] { order.push_back(number); });
        ASSERT_TRUE(runUntilIdle());
    }
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_F(QtMainQueueTest, RunsWhatOtherThreadsPostOnItsOwnThread) {
    constexpr int kPosts = 10'000;
    bool isElsewhere = false;
    std::thread poster([&] {
        EXPECT_FALSE(queue->isCurrent());
        for (int number = 0; number < kPosts; ++number) {
            const auto task = [&, number] {
                order.push_back(number);
                isElsewhere |= !queue->isCurrent();
            };
            number % 3 == 0 ? queue->asyncDeferred(task) : queue->async(task);
        }
    });
    EXPECT_TRUE(runUntil([this] { return order.size() == kPosts; }));
    poster.join();
    std::vector<int> expected(kPosts);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
    EXPECT_FALSE(isElsewhere);
}

TEST_F(QtMainQueueTest, GoesOnAfterATaskThatThrows) {
    queue->async([] { throw std::runtime_error("on purpose"); });
    queue->async([] { throw 5; });
    queue->async([this] { order.push_back(1); });
    ASSERT_TRUE(runUntilIdle());
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(QtMainQueueTest, RunsASyncTaskAtOnceOnItselfAndWaitsElsewhere) {
    queue->sync([this] { order.push_back(1); });
    EXPECT_THAT(order, ElementsAre(1));
    std::future<void> other = std::async(std::launch::async, [this] {
        queue->sync([this] { order.push_back(2); });
        order.push_back(3);
    });
    EXPECT_TRUE(runUntil([&other] { return other.wait_for(0s) == std::future_status::ready; }));
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_F(QtMainQueueTest, PostsWorkItemsOnceTheyAreDueUnlessTheyAreCancelled) {
    const auto start = std::chrono::steady_clock::now();
    std::optional<std::chrono::nanoseconds> passed;
    const auto cancelled = std::make_shared<DispatchWorkItem>([this] { order.push_back(1); });
    queue->asyncAfter(1ms, cancelled);
    queue->asyncAfter(20ms, std::make_shared<DispatchWorkItem>([&] {
                          passed = std::chrono::steady_clock::now() - start;
                          order.push_back(2);
                      }));
    cancelled->cancel();
    ASSERT_TRUE(runUntil([&passed] { return passed.has_value(); }));
    EXPECT_GE(*passed, 20ms);
    EXPECT_THAT(order, ElementsAre(2));
}

TEST_F(QtMainQueueTest, RunsADueWorkItemBehindTheTasksThatWerePostedBefore) {
    queue->asyncAfter(0ms, std::make_shared<DispatchWorkItem>([this] { order.push_back(4); }));
    for (int number = 1; number <= 3; ++number) {
        queue->async([this, number] { order.push_back(number); });
    }
    ASSERT_TRUE(runUntil([this] { return order.size() == 4; }));
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST_F(QtMainQueueTest, GoesOnInsideAnEventLoopOfATask) {
    QEventLoop dialog;
    queue->async([&] {
        order.push_back(1);
        dialog.exec();
        order.push_back(6);
    });
    queue->async([&] {
        order.push_back(2);
        queue->asyncDeferred([&] {
            order.push_back(4);
            queue->asyncDeferred([&] {
                order.push_back(5);
                dialog.quit();
            });
        });
    });
    queue->asyncDeferred([this] { order.push_back(3); });
    queue->async([] {});
    ASSERT_TRUE(runUntil([this] { return order.size() == 6; }));
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(QtMainQueueTest, GoesOnInsideAnEventLoopOfADeferredTask) {
    QEventLoop dialog;
    queue->asyncDeferred([&] {
        queue->asyncDeferred([&dialog] { dialog.quit(); });
        dialog.exec();
        order.push_back(1);
    });
    ASSERT_TRUE(runUntil([this] { return order.size() == 1; }));
}

TEST_F(QtMainQueueTest, LetsOtherEventsHaveTheirTurnUnderAFlood) {
    bool hasTicked = false;
    QTimer::singleShot(1ms, [&hasTicked] { hasTicked = true; });
    struct Flood {
        std::shared_ptr<DispatchQueue> queue;
        bool& isOver;
        void operator()() const {
            if (!isOver) {
                queue->async(*this);
            }
        }
    };
    for (int count = 0; count < 100; ++count) {
        queue->async(Flood{queue, hasTicked});
    }
    EXPECT_TRUE(runUntil([&hasTicked] { return hasTicked; }));
    EXPECT_TRUE(runUntilIdle());
}

TEST_F(QtMainQueueTest, InterruptsARoundOfSlowTasks) {
    const auto slowTask = [this] {
        const auto end = std::chrono::steady_clock::now() + QtMainQueue::kRoundLimit;
        while (std::chrono::steady_clock::now() < end) {
        }
        order.push_back(1);
    };
    queue->async(slowTask);
    queue->async(slowTask);
    QCoreApplication::processEvents();
    EXPECT_THAT(order, ElementsAre(1));
    ASSERT_TRUE(runUntilIdle());
    EXPECT_THAT(order, ElementsAre(1, 1));
}

TEST_F(QtMainQueueTest, WakesItsThreadOnceForTasksThatFollowEachOther) {
    EXPECT_EQ(writesForPost(false), 1);
    EXPECT_EQ(writesForPost(false), 0);
    EXPECT_EQ(writesForPost(true), 0);
    ASSERT_TRUE(runUntilIdle());
    EXPECT_EQ(writesForPost(false), 1);
}

TEST_F(QtMainQueueTest, NeedsNoWakeUpForDeferredTasksWhileTheyKeepComing) {
    EXPECT_EQ(writesForPost(true), 1) << "the first wakes its thread, which then looks by itself";
    ASSERT_TRUE(runUntilIdle());
    for (int count = 0; count < 3; ++count) {
        runFor(100ms);
        EXPECT_EQ(writesForPost(true), 0);
    }
    ASSERT_TRUE(runUntilIdle());
    EXPECT_EQ(writesForPost(false), 1) << "others come at once all the same";
    ASSERT_TRUE(runUntilIdle());

    runFor(QtMainQueue::kDeferredTasksEnd + 5 * QtMainQueue::kDeferral);
    EXPECT_EQ(writesForPost(true), 1) << "after a silence it looks no more";
}

TEST_F(QtMainQueueTest, AllocatesNothingForAPost) {
    const std::size_t before = tests::heapAllocationCount();
    for (int count = 0; count < 200; ++count) {
        queue->asyncDeferred([] {});
    }
    EXPECT_EQ(tests::heapAllocationCount(), before);
    ASSERT_TRUE(runUntilIdle());
}

TEST_F(QtMainQueueTest, KeepsMoreTasksThanItHasRoomForAtFirst) {
    for (int number = 0; number < 1'000; ++number) {
        queue->asyncDeferred([this, number] { order.push_back(number); });
    }
    ASSERT_TRUE(runUntilIdle());
    std::vector<int> expected(1'000);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
}

TEST_F(QtMainQueueTest, RunsAtItsEndWhatWasPostedBeforeAndDropsTheRest) {
    const auto dropped = std::make_shared<int>();
    queue->async([&] {
        order.push_back(1);
        queue->async([this, dropped] { order.push_back(9); });
    });
    queue->asyncDeferred([this] { order.push_back(2); });
    owner.reset();
    EXPECT_THAT(order, ElementsAre(1, 2));
    queue->async([this, dropped] { order.push_back(9); });
    queue->asyncDeferred([this, dropped] { order.push_back(9); });
    queue->asyncAfter(0ms, std::make_shared<DispatchWorkItem>([dropped] {}));
    std::async(std::launch::async, [this] { queue->sync([this] { order.push_back(9); }); }).get();
    QCoreApplication::processEvents();
    EXPECT_THAT(order, ElementsAre(1, 2));
    EXPECT_EQ(dropped.use_count(), 1);
}

TEST_F(QtMainQueueTest, MayEndWhileOthersPost) {
    std::atomic<bool> isOver = false;
    std::atomic<int> posted = 0;
    std::vector<std::thread> posters;
    for (int number = 0; number < 3; ++number) {
        posters.emplace_back([&] {
            while (!isOver) {
                queue->async([] {});
                queue->asyncDeferred([] {});
                queue->asyncAfter(1ms, std::make_shared<DispatchWorkItem>([] {}));
                ++posted;
            }
        });
    }
    EXPECT_TRUE(runUntil([&posted] { return posted > 100; }));
    owner.reset();
    const int before = posted;
    EXPECT_TRUE(runUntil([&] { return posted > before + 100; }));
    isOver = true;
    for (std::thread& poster : posters) {
        poster.join();
    }
}

}  // namespace
}  // namespace corvel
