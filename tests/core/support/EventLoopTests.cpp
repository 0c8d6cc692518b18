#include "core/support/EventLoop.hpp"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvel {
namespace {

using namespace std::chrono_literals;

/// An event descriptor that a test can make ready.
class Signal {
public:
    Signal() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() { ::close(descriptor_); }

    [[nodiscard]] int descriptor() const { return descriptor_; }
    void raise() const {
        const std::uint64_t one = 1;
        ASSERT_EQ(::write(descriptor_, &one, sizeof one), static_cast<ssize_t>(sizeof one));
    }
    void clear() const {
        std::uint64_t count = 0;
        ASSERT_EQ(::read(descriptor_, &count, sizeof count), static_cast<ssize_t>(sizeof count));
    }

private:
    int descriptor_;
};

TEST(EventLoop, RunsTasksInTheOrderInWhichTheyWerePosted) {
    const auto loop = EventLoop::withThread("test");
    std::vector<int> order;
    for (int number = 0; number < 1000; ++number) {
        loop->async([&order, number] { order.push_back(number); });
    }
    loop->sync([] {});
    ASSERT_EQ(order.size(), 1000U);
    for (int number = 0; number < 1000; ++number) {
        EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
    }
}

TEST(EventLoop, NeverRunsATaskInsideThePost) {
    const auto loop = EventLoop::withThread("test");
    bool hasReturned = false;
    bool hadReturned = false;
    loop->sync([&] {
        loop->async([&] { hadReturned = hasReturned; });
        hasReturned = true;
    });
    loop->sync([] {});
    EXPECT_TRUE(hadReturned);
}

TEST(EventLoop, RunsASyncTaskAtOnceOnTheLoopItself) {
    const auto loop = EventLoop::withThread("test");
    bool hasRun = false;
    loop->sync([&] { loop->sync([&] { hasRun = true; }); });
    EXPECT_TRUE(hasRun);
}

TEST(EventLoop, IsCurrentOnlyOnItsOwnThread) {
    const auto loop = EventLoop::withThread("test");
    EXPECT_FALSE(loop->isCurrent());
    bool isCurrentInside = false;
    loop->sync([&] { isCurrentInside = loop->isCurrent(); });
    EXPECT_TRUE(isCurrentInside);
}

TEST(EventLoop, GoesOnAfterATaskThatThrows) {
    const auto loop = EventLoop::withThread("test");
    loop->async([] { throw std::runtime_error("expected by the test"); });
    loop->async([] { throw 1; });
    bool hasRun = false;
    loop->sync([&] { hasRun = true; });
    EXPECT_TRUE(hasRun);
}

TEST(EventLoop, RunsAWorkItemOnceItsDelayHasPassed) {
    const auto loop = EventLoop::withThread("test");
    const auto start = std::chrono::steady_clock::now();
    std::promise<std::chrono::steady_clock::time_point> ran;
    loop->asyncAfter(20ms,
                     std::make_shared<DispatchWorkItem>([&ran] { ran.set_value(std::chrono::steady_clock::now()); }));
    EXPECT_GE(ran.get_future().get() - start, 20ms);
}

TEST(EventLoop, RunsWorkItemsByTheirTimesWhateverTheOrderOfPosting) {
    const auto loop = EventLoop::withThread("test");
    std::vector<int> order;
    std::promise<void> done;
    loop->sync([&] {
        loop->asyncAfter(15ms, std::make_shared<DispatchWorkItem>([&] {
                             order.push_back(2);
                             done.set_value();
                         }));
        loop->asyncAfter(5ms, std::make_shared<DispatchWorkItem>([&] { order.push_back(1); }));
    });
    done.get_future().wait();
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(EventLoop, DoesNotRunAWorkItemThatWasCalledOff) {
    const auto loop = EventLoop::withThread("test");
    bool hasRun = false;
    const auto item = std::make_shared<DispatchWorkItem>([&] { hasRun = true; });
    std::promise<void> later;
    loop->sync([&] {
        loop->asyncAfter(1ms, item);
        item->cancel();
        loop->asyncAfter(5ms, std::make_shared<DispatchWorkItem>([&] { later.set_value(); }));
    });
    later.get_future().wait();
    EXPECT_FALSE(hasRun);
}

TEST(EventLoop, RunsAWorkItemThatIsDueBehindTheTasksPostedBefore) {
    const auto loop = EventLoop::withThread("test");
    std::vector<int> order;
    std::promise<void> done;
    loop->sync([&] {
        loop->asyncAfter(1ms, std::make_shared<DispatchWorkItem>([&] {
                             order.push_back(3);
                             done.set_value();
                         }));
        loop->async([&] { order.push_back(1); });
        loop->async([&] { order.push_back(2); });
        // The work item becomes due while both tasks wait.
        for (const auto due = std::chrono::steady_clock::now() + 5ms; std::chrono::steady_clock::now() < due;) {
        }
    });
    done.get_future().wait();
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

/// A loop that watches a descriptor and records what runs in what order.
class EventLoopRound : public ::testing::Test {
protected:
    ~EventLoopRound() override {
        loop->sync([&] { loop->unwatch(signal.descriptor()); });
    }

    /// Watches the signal; the handlers are called once each time it is raised.
    void watch(const EventLoop::Handler& first, const EventLoop::Handler& second) {
        loop->sync([&] {
            loop->watch(
                signal.descriptor(),
                [this, first] {
                    signal.clear();
                    note("first");
                    first();
                },
                [this, second] {
                    note("second");
                    second();
                    ended.set_value();
                });
        });
    }

    void note(const std::string& what) { order.push_back(what); }

    /// Raises the signal and waits until its second handler has ended.
    std::vector<std::string> orderOfARound() {
        signal.raise();
        waitForEnd();
        return order;
    }

    void waitForEnd() {
        ended.get_future().wait();
        loop->sync([] {});
    }

    const std::shared_ptr<EventLoop> loop = EventLoop::withThread("test");
    const Signal signal;
    std::vector<std::string> order;
    std::promise<void> ended;
};

TEST_F(EventLoopRound, CallsTheFirstHandlerRunsTheTasksAndCallsTheSecondHandlerAllOnItsThread) {
    bool isOnLoop = true;
    const auto check = [&] { isOnLoop = isOnLoop && loop->isCurrent(); };
    watch(
        [&] {
            check();
            loop->async([&] {
                check();
                note("task");
                loop->async([&] { note("task of the next round"); });
            });
        },
        check);
    orderOfARound();
    EXPECT_EQ(order, (std::vector<std::string>{"first", "task", "second", "task of the next round"}));
    EXPECT_TRUE(isOnLoop);
}

TEST_F(EventLoopRound, RunsATaskThatWasPostedBeforeTheInputWasReadAheadOfItsSecondHandler) {
    watch([] {}, [] {});
    loop->async([this] {
        // Ready from now on, so the next round finds both the input and this task.
        signal.raise();
        loop->async([this] { note("task"); });
    });
    waitForEnd();
    EXPECT_EQ(order, (std::vector<std::string>{"first", "task", "second"}));
}

TEST_F(EventLoopRound, TellsWhenItBegan) {
    EventLoop::SteadyTime inFirst{};
    EventLoop::SteadyTime inTask{};
    EventLoop::SteadyTime inSecond{};
    watch(
        [&] {
            inFirst = loop->roundTime();
            loop->async([&] { inTask = loop->roundTime(); });
        },
        [&] { inSecond = loop->roundTime(); });
    const auto before = std::chrono::steady_clock::now();
    orderOfARound();
    EXPECT_GE(inFirst, before);
    EXPECT_LE(inFirst, std::chrono::steady_clock::now());
    EXPECT_EQ(inTask, inFirst);
    EXPECT_EQ(inSecond, inFirst);
}

TEST_F(EventLoopRound, CallsTheSecondHandlerAlsoAfterTheFirstThrew) {
    watch([] { throw std::runtime_error("expected by the test"); }, [] {});
    EXPECT_EQ(orderOfARound(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(EventLoopRound, CallsNoHandlerOfADescriptorWhoseWatchHasEnded) {
    int firstCalls = 0;
    int secondCalls = 0;
    for (const bool endsInFirst : {true, false}) {
        firstCalls = secondCalls = 0;
        const Signal other;
        loop->sync([&] {
            loop->watch(
                other.descriptor(),
                [&] {
                    ++firstCalls;
                    if (endsInFirst) {
                        loop->unwatch(other.descriptor());
                    } else {
                        loop->async([&] { loop->unwatch(other.descriptor()); });
                    }
                },
                [&] { ++secondCalls; });
            other.raise();
        });
        // The descriptor stays ready, so only the end of the watch keeps the handlers from being called in these
        // rounds.
        for (int round = 0; round < 10; ++round) {
            loop->sync([] {});
        }
        loop->sync([&] {
            EXPECT_EQ(firstCalls, 1);
            EXPECT_EQ(secondCalls, 0);
        });
    }
}

TEST(EventLoop, RunsWhatWasPostedBeforeItsLastReferenceGoes) {
    std::atomic<int> count = 0;
    {
        const auto loop = EventLoop::withThread("test");
        for (int number = 0; number < 100; ++number) {
            loop->async([&count] { ++count; });
        }
    }
    EXPECT_EQ(count, 100);
}

TEST(EventLoop, EndsThoughItsTasksKeepPosting) {
    // Shared, because the last task may still run after the test.
    const auto count = std::make_shared<std::atomic<int>>(0);
    {
        auto loop = EventLoop::withThread("test");
        struct Reposting {
            std::weak_ptr<EventLoop> loop;
            std::shared_ptr<std::atomic<int>> count;
            void operator()() const {
                ++*count;
                if (const auto strongLoop = loop.lock()) {
                    strongLoop->async(*this);
                }
            }
        };
        loop->async(Reposting{loop, count});
        loop->sync([] {});
    }
    EXPECT_GE(*count, 1);
}

TEST(EventLoop, MayLoseItsLastReferenceOnItsOwnThread) {
    auto loop = EventLoop::withThread("test");
    std::promise<void> released;
    std::promise<void> taken;
    loop->async([own = loop, &released, isTaken = taken.get_future().share()]() mutable {
        isTaken.wait();
        own.reset();
        released.set_value();
    });
    loop.reset();
    taken.set_value();
    released.get_future().wait();
}

TEST(EventLoop, TakesPostsFromManyThreadsWithoutLosingAny) {
    const auto loop = EventLoop::withThread("test");
    constexpr int kThreads = 4;
    constexpr int kPosts = 5000;
    int count = 0;
    std::vector<int> last(kThreads, -1);
    bool isInOrder = true;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                for (int number = 0; number < kPosts; ++number) {
                    loop->async([&, thread, number] {
                        ++count;
                        int& previous = last[static_cast<std::size_t>(thread)];
                        isInOrder = isInOrder && previous == number - 1;
                        previous = number;
                    });
                }
            });
        }
    }
    loop->sync([] {});
    EXPECT_EQ(count, kThreads * kPosts);
    EXPECT_TRUE(isInOrder);
}

}  // namespace
}  // namespace corvel
