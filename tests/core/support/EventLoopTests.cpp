#include "core/support/EventLoop.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
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

TEST(EventLoop, RunsATaskThatMayWaitWithoutBeingWokenOtherwise) {
    const auto loop = EventLoop::withThread("test");
    loop->sync([] {});
    std::promise<void> ran;
    loop->asyncDeferred([&ran] { ran.set_value(); });
    ran.get_future().wait();
}

TEST(EventLoop, KeepsTheOrderOfTasksThatMayWaitAndThoseThatMayNot) {
    const auto loop = EventLoop::withThread("test");
    std::vector<int> order;
    loop->asyncDeferred([&order] { order.push_back(1); });
    loop->async([&order] { order.push_back(2); });
    loop->asyncDeferred([&order] { order.push_back(3); });
    loop->sync([&order] { order.push_back(4); });
    EXPECT_EQ(order, (std::vector{1, 2, 3, 4}));
}

TEST(EventLoop, RunsWorkItemsOnTimeBesideTasksThatMayWait) {
    const auto loop = EventLoop::withThread("test");
    std::vector<int> order;
    std::promise<void> done;
    loop->sync([&] {
        loop->asyncAfter(40ms, std::make_shared<DispatchWorkItem>([&] {
                             order.push_back(2);
                             done.set_value();
                         }));
    });
    loop->asyncDeferred([&order] { order.push_back(1); });
    done.get_future().wait();
    EXPECT_EQ(order, (std::vector{1, 2}));
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

TEST(EventLoop, CallsTheHandlerOfADescriptorThatIsReady) {
    const auto loop = EventLoop::withThread("test");
    const Signal signal;
    std::promise<bool> handled;
    loop->sync([&] {
        loop->watch(signal.descriptor(), [&] {
            signal.clear();
            handled.set_value(loop->isCurrent());
        });
    });
    signal.raise();
    EXPECT_TRUE(handled.get_future().get());
    loop->sync([&] { loop->unwatch(signal.descriptor()); });
}

TEST(EventLoop, DoesWhatAHandlerPostsInTheSameRound) {
    const auto loop = EventLoop::withThread("test");
    const Signal signal;
    std::vector<int> order;
    std::promise<void> done;
    loop->sync([&] {
        loop->watch(signal.descriptor(), [&] {
            signal.clear();
            order.push_back(1);
            loop->async([&] {
                order.push_back(2);
                done.set_value();
            });
        });
    });
    signal.raise();
    done.get_future().wait();
    EXPECT_EQ(order, (std::vector{1, 2}));
    loop->sync([&] { loop->unwatch(signal.descriptor()); });
}

TEST(EventLoop, LetsAHandlerEndItsOwnWatch) {
    const auto loop = EventLoop::withThread("test");
    const Signal signal;
    int calls = 0;
    loop->sync([&] {
        loop->watch(signal.descriptor(), [&] {
            ++calls;
            loop->unwatch(signal.descriptor());
        });
        signal.raise();
    });
    // The descriptor stays ready; only the watch keeps the handler from being called in each of these rounds.
    for (int round = 0; round < 10; ++round) {
        loop->sync([] {});
    }
    loop->sync([&] { EXPECT_EQ(calls, 1); });
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
    std::atomic<int> count = 0;
    {
        auto loop = EventLoop::withThread("test");
        struct Reposting {
            std::weak_ptr<EventLoop> loop;
            std::atomic<int>& count;
            void operator()() const {
                ++count;
                if (const auto strongLoop = loop.lock()) {
                    strongLoop->async(*this);
                }
            }
        };
        loop->async(Reposting{loop, count});
        loop->sync([] {});
    }
    EXPECT_GE(count, 1);
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

TEST(EventLoop, DropsWhatNobodyRanWhenItsLastReferenceGoes) {
    auto loop = EventLoop::onThisThread("test");
    bool hasRun = false;
    loop->async([&hasRun] { hasRun = true; });
    loop.reset();
    EXPECT_FALSE(hasRun);
}

TEST(EventLoop, RunsOnTheThreadThatMadeItUntilStopped) {
    const auto loop = EventLoop::onThisThread("test");
    EXPECT_TRUE(loop->isCurrent());
    std::vector<int> order;
    loop->async([&] { order.push_back(1); });
    std::thread other([&] {
        loop->async([&] { order.push_back(2); });
        loop->stop();
    });
    other.join();
    loop->run();
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(EventLoop, TellsALoopInsideOneOfItsTasksOfWhatIsPostedMeanwhile) {
    const auto queue = EventLoop::onThisThread("test.main");
    queue->runReady();
    std::vector<int> order;
    queue->async([&] {
        order.push_back(1);
        std::thread([&] { queue->async([&] { order.push_back(3); }); }).join();
        pollfd ready{queue->readyDescriptor(), POLLIN, 0};
        EXPECT_EQ(::poll(&ready, 1, 5'000), 1);
        queue->runReady();
    });
    queue->async([&] { order.push_back(2); });
    queue->runReady();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
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
