#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/support/EventLoop.hpp"
#include "tests/core/engine/StormHost.hpp"
#include "tests/support/RecordingDelegate.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <latch>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// The engine on real queues while all threads work at once. Mainly for the thread sanitizer, hence the small numbers.
/// The assertions hold for every interleaving.
namespace corvel::tests {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;
/// Ends the program with a message if a test does not end, because a hanging test would say nothing.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit)
        : thread_([this, limit] {
              std::unique_lock lock(mutex_);
              if (!changed_.wait_for(lock, limit, [this] { return isOver_; })) {
                  std::fputs("The storm did not end\n", stderr);
                  std::abort();
              }
          }) {}
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog() {
        {
            const std::lock_guard lock(mutex_);
            isOver_ = true;
        }
        changed_.notify_one();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isOver_ = false;
    std::thread thread_;
};

/// Every source to the synthesizer, always; also to the drums, at changing places, only in odd variations.
std::vector<MIDIRoute> routes(unsigned variation) {
    std::vector<MIDIRoute> list;
    for (unsigned index = 0; index < kSources; ++index) {
        const auto sourceID = static_cast<std::int32_t>(1000 + kFirstSource + index);
        list.push_back(makeRoute({.id = makeID(index), .sourceID = sourceID, .destinationID = 1000 + kSynth}));
        MIDIRoute extra = makeRoute({.id = makeID(100 + index), .sourceID = sourceID, .destinationID = 1000 + kDrums});
        extra.isEnabled = variation % 2 == 1;
        list.insert(variation % 4 < 2 ? list.begin() : list.end(), extra);
    }
    return list;
}

/// A note whose channel is its source and whose data are its number.
MIDIBytes note(unsigned source, unsigned number) {
    return {static_cast<std::uint8_t>(0x90U + source), static_cast<std::uint8_t>(number >> 7U),
            static_cast<std::uint8_t>(number & 0x7FU)};
}

/// The numbers that arrived at a destination, by source.
std::array<std::vector<unsigned>, kSources> numbersAt(MIDIObjectRef destination,
                                                      const std::vector<StormHost::Sent>& sent) {
    std::array<std::vector<unsigned>, kSources> numbers;
    for (const StormHost::Sent& packet : sent) {
        if (packet.destination == destination) {
            numbers.at(packet.bytes[0] & 0x0FU).push_back(packet.bytes[1] * 128U + packet.bytes[2]);
        }
    }
    return numbers;
}

std::vector<unsigned> firstNumbers(std::size_t count) {
    std::vector<unsigned> numbers(count);
    for (unsigned number = 0; number < numbers.size(); ++number) {
        numbers[number] = number;
    }
    return numbers;
}

bool isStrictlyIncreasing(const std::vector<unsigned>& numbers) {
    return std::ranges::adjacent_find(numbers, std::greater_equal<>()) == numbers.end();
}

/// A started engine on real queues, and the threads of a storm.
class Storm {
public:
    Storm() {
        mainQueue->sync([this] {
            delegate->onReport = [this] { isOnMain = isOnMain && mainQueue->isCurrent(); };
            engine->setDelegate(delegate);
        });
        engine->updateRoutes(routes(0));
        engine->start();
        finish();
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;
    ~Storm() { finish(); }

    /// Adds a thread that waits for the others.
    void add(std::function<void()> work) { works_.push_back(std::move(work)); }

    /// Adds for each source a thread that sends this number of packets, up to three together.
    void addSenders(unsigned packets) {
        for (unsigned source = 0; source < kSources; ++source) {
            add([this, source, packets] {
                for (unsigned number = 0; number < packets;) {
                    std::vector<MIDIBytes> together;
                    const unsigned end = std::min(packets, number + 1 + number % 3);
                    while (number < end) {
                        together.push_back(note(source, number++));
                    }
                    host->receive(together, kFirstSource + source);
                }
            });
        }
    }

    /// Runs all added threads at once and waits for their end.
    void blow() {
        std::latch start(static_cast<std::ptrdiff_t>(works_.size()));
        std::vector<std::thread> threads;
        threads.reserve(works_.size());
        for (std::function<void()>& work : works_) {
            threads.emplace_back([&start, work = std::move(work)] {
                start.arrive_and_wait();
                work();
            });
        }
        works_.clear();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    /// Waits until both queues are empty: main first, then the engine's, then main again.
    void finish() {
        mainQueue->sync([] {});
        queue->sync([] {});
        mainQueue->sync([] {});
    }

    const std::shared_ptr<StormHost> host = std::make_shared<StormHost>();
    std::shared_ptr<EventLoop> queue = EventLoop::withThread("storm.engine");
    const std::shared_ptr<EventLoop> mainQueue = EventLoop::withThread("storm.main");
    const std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<CoreMIDIRouterEngine> engine =
        CoreMIDIRouterEngine::create(host, queue, mainQueue, makeSystemClock());
    /// Whether every report came on the main queue. Main queue only.
    bool isOnMain = true;

private:
    std::vector<std::function<void()>> works_;
};

TEST(EngineStorm, DeliversEveryPacketOnceAndInOrderAmidUpdatesReloadsAndNotifications) {
    const Watchdog watchdog(std::chrono::seconds(120));
    constexpr unsigned kPackets = 400;
    constexpr unsigned kChanges = 100;
    Storm storm;
    storm.addSenders(kPackets);
    storm.add([&] {
        for (unsigned number = 1; number <= 2 * kChanges; ++number) {
            storm.engine->updateRoutes(routes(number));
        }
    });
    storm.add([&] {
        for (unsigned number = 0; number < kChanges; ++number) {
            storm.host->setPassingSource(number % 2 == 0);
            storm.engine->reloadEndpoints();
        }
    });
    std::size_t fewestSources = kSources;
    std::size_t maxSources = kSources;
    storm.add([&] {
        for (unsigned number = 0; number < kChanges; ++number) {
            const std::size_t count = storm.engine->endpoints().sources.size();
            fewestSources = std::min(fewestSources, count);
            maxSources = std::max(maxSources, count);
        }
    });
    storm.add([&] {
        for (unsigned number = 0; number < kChanges; ++number) {
            storm.mainQueue->async([&storm] { storm.host->notify({}); });
            storm.host->diagnose("Overrun " + std::to_string(number));
            storm.engine->start();
        }
    });
    storm.blow();
    storm.finish();

    EXPECT_THAT(storm.host->violations(), IsEmpty());
    EXPECT_EQ(fewestSources, kSources);
    EXPECT_THAT(maxSources, AllOf(Ge(kSources), Le(kSources + 1)));

    const std::vector<StormHost::Sent> sent = storm.host->sent();
    EXPECT_THAT(numbersAt(kSynth, sent), Each(firstNumbers(kPackets)));
    for (const std::vector<unsigned>& numbers : numbersAt(kDrums, sent)) {
        EXPECT_TRUE(isStrictlyIncreasing(numbers));
    }

    storm.mainQueue->sync([&] {
        EXPECT_TRUE(storm.isOnMain);
        EXPECT_THAT(storm.delegate->failures, IsEmpty());
        // At most 3,200, so none had to be dropped.
        EXPECT_EQ(storm.delegate->activities.size(), sent.size());
        std::map<UUID, std::vector<unsigned>> numbersByRoute;
        for (const MIDIActivityEvent& event : storm.delegate->activities) {
            numbersByRoute[event.routeID].push_back(event.bytes[1] * 128U + event.bytes[2]);
        }
        for (unsigned index = 0; index < kSources; ++index) {
            EXPECT_EQ(numbersByRoute[makeID(index)], firstNumbers(kPackets));
            EXPECT_EQ(numbersByRoute[makeID(100 + index)], numbersAt(kDrums, sent).at(index));
        }

        unsigned notifications = 0;
        unsigned overruns = 0;
        unsigned starts = 0;
        for (const std::string& message : storm.delegate->messages()) {
            notifications += message == "CoreMIDI notification: setup changed" ? 1U : 0U;
            starts += message == "Starting CoreMIDI client on main run loop" ? 1U : 0U;
            overruns += message == "Overrun " + std::to_string(overruns) ? 1U : 0U;
        }
        EXPECT_EQ(notifications, kChanges);
        EXPECT_EQ(overruns, kChanges);
        EXPECT_EQ(starts, 1U);
        // The first load, one change for each reload and notification, and some settled reloads between them.
        EXPECT_THAT(storm.delegate->endpointChanges, AllOf(Ge(1 + 2 * kChanges), Le(1 + 3 * kChanges)));
    });
}

TEST(EngineStorm, ReleasedByManyThreadsSendsAnUnbrokenBeginningAndNothingAfterwards) {
    const Watchdog watchdog(std::chrono::seconds(120));
    for (unsigned round = 0; round < 20; ++round) {
        // At a send in the middle the queue waits until two of the owners have released the engine, so that there is
        // always work that comes too late.
        std::latch letGo(1);
        std::latch haveLetGo(2);
        std::size_t sends = 0;
        Storm storm;
        storm.host->onSend = [&] {
            if (++sends == 10 + round * 28) {
                letGo.count_down();
                haveLetGo.wait();
            }
        };
        const std::weak_ptr<CoreMIDIRouterEngine> released = storm.engine;
        storm.add([&, owned = storm.engine]() mutable {
            for (unsigned number = 0; number < round * 3; ++number) {
                owned->updateRoutes(routes(number));
            }
            letGo.wait();
            owned.reset();
            haveLetGo.count_down();
        });
        storm.add([&, owned = storm.engine]() mutable {
            for (unsigned number = 0; number < round; ++number) {
                owned->reloadEndpoints();
            }
            letGo.wait();
            owned.reset();
            haveLetGo.count_down();
        });
        if (round % 2 == 1) {
            // Waits for the queue, so the queue must not wait for it. Often the last owner.
            storm.add([owned = storm.engine]() mutable {
                EXPECT_EQ(owned->endpoints().destinations.size(), 2U);
                owned.reset();
            });
        }
        storm.engine.reset();
        storm.addSenders(150);
        storm.add([&] {
            for (unsigned number = 0; number < 20; ++number) {
                storm.mainQueue->async([&storm] { storm.host->notify({.messageID = MIDINotification::kObjectAdded}); });
                storm.host->diagnose("Overrun");
            }
        });
        storm.blow();
        storm.finish();

        ASSERT_TRUE(released.expired());
        EXPECT_THAT(storm.host->violations(), IsEmpty());
        EXPECT_THAT(storm.host->disposals(), ElementsAre("port 2", "port 3", "client 1"));
        const std::vector<StormHost::Sent> sent = storm.host->sent();
        EXPECT_GE(sent.size(), 10 + round * 28);
        for (const std::vector<unsigned>& numbers : numbersAt(kSynth, sent)) {
            EXPECT_EQ(numbers, firstNumbers(numbers.size()));
        }
        for (const std::vector<unsigned>& numbers : numbersAt(kDrums, sent)) {
            EXPECT_TRUE(isStrictlyIncreasing(numbers));
        }

        std::size_t reports = 0;
        storm.mainQueue->sync([&] {
            EXPECT_TRUE(storm.isOnMain);
            EXPECT_LE(storm.delegate->activities.size(), sent.size());
            reports = storm.delegate->reports.size();
        });
        storm.host->receive({note(0, 9999)}, kFirstSource);
        storm.mainQueue->sync([&] { storm.host->notify({}); });
        storm.host->diagnose("Overrun");
        storm.finish();
        EXPECT_EQ(storm.host->sent().size(), sent.size());
        storm.mainQueue->sync([&] { EXPECT_EQ(storm.delegate->reports.size(), reports); });
        EXPECT_THAT(storm.host->violations(), IsEmpty());
    }
}

TEST(EngineStorm, ReleasedOnItsQueueAsTheQueuesLastOwnerEndsThere) {
    const Watchdog watchdog(std::chrono::seconds(120));
    for (unsigned round = 0; round < 20; ++round) {
        const auto host = std::make_shared<StormHost>();
        const auto mainQueue = EventLoop::withThread("storm.main");
        std::future<std::thread::id> disposal = host->clientDisposal();
        auto queue = EventLoop::withThread("storm.engine");
        auto engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, makeSystemClock());
        engine->updateRoutes(routes(0));
        engine->start();
        mainQueue->sync([] {});
        std::thread::id queueThread;
        queue->sync([&] { queueThread = std::this_thread::get_id(); });
        mainQueue->sync([] {});
        // A running report or callback would also own the engine. So the main queue is blocked until the engine has
        // ended, and the packet comes on the engine's queue itself.
        std::promise<void> hasEnded;
        mainQueue->async([ended = hasEnded.get_future().share()] { ended.wait(); });
        host->onSend = [&engine] { engine.reset(); };
        queue->async([host] { host->receive({note(0, 0)}, kFirstSource); });
        queue.reset();
        EXPECT_EQ(disposal.get(), queueThread);
        hasEnded.set_value();
        EXPECT_THAT(host->disposals(), ElementsAre("port 2", "port 3", "client 1"));
        EXPECT_EQ(host->sent().size(), 1U);
        EXPECT_THAT(host->violations(), IsEmpty());
    }
}

TEST(EngineStorm, ReleasedRightAfterStartFromAnyThreadDisposesOfWhatItMade) {
    const Watchdog watchdog(std::chrono::seconds(120));
    for (unsigned round = 0; round < 50; ++round) {
        const auto host = std::make_shared<StormHost>();
        const auto mainQueue = EventLoop::withThread("storm.main");
        const auto queue = EventLoop::withThread("storm.engine");
        auto engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, makeSystemClock());
        const std::weak_ptr<CoreMIDIRouterEngine> released = engine;
        std::vector<std::thread> threads;
        for (unsigned index = 0; index < 3; ++index) {
            threads.emplace_back([owned = engine]() mutable {
                owned->start();
                owned.reset();
            });
        }
        engine.reset();
        for (std::thread& thread : threads) {
            thread.join();
        }
        mainQueue->sync([] {});
        queue->sync([] {});
        mainQueue->sync([] {});
        EXPECT_TRUE(released.expired());
        // Depends on when the last owner released the engine: nothing created, only the client, or all three.
        const std::vector<std::string> disposals = host->disposals();
        EXPECT_TRUE(disposals.empty() || disposals == std::vector<std::string>{"client 1"} ||
                    disposals == std::vector<std::string>({"port 2", "port 3", "client 1"}))
            << ::testing::PrintToString(disposals);
        EXPECT_THAT(host->violations(), IsEmpty());
    }
}

}  // namespace
}  // namespace corvel::tests
