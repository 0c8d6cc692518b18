#include "ui/RouterWindow/RouteAnimationTicker.hpp"

#include "tests/support/ManualClock.hpp"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

namespace corvel::tests {

namespace {

using namespace ui;
using namespace std::chrono_literals;

class RouteAnimationTickerTest : public ::testing::Test {
protected:
    RouteAnimationTickerTest() {
        QObject::connect(ticker.get(), &RouteAnimationTicker::nowChanged, ticker.get(),
                         [this] { instants.push_back(ticker->now()); });
    }

    /// Runs Qt's loop for this number of ticks; false if they do not come within two seconds.
    template <typename Action>
    [[nodiscard]] bool tickUntil(std::size_t count, const Action& eachTurn) {
        const auto deadline = std::chrono::steady_clock::now() + 2s;
        while (instants.size() < count && std::chrono::steady_clock::now() < deadline) {
            eachTurn();
            QCoreApplication::processEvents();
        }
        return instants.size() >= count;
    }

    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    std::unique_ptr<RouteAnimationTicker> ticker = std::make_unique<RouteAnimationTicker>(clock);
    std::vector<Instant> instants;
};

TEST_F(RouteAnimationTickerTest, standsAtTheClocksInstantUntilItIsStarted) {
    clock->advance(1s);
    EXPECT_EQ(ticker->now(), ManualClock::kStart);
    EXPECT_FALSE(ticker->isRunning());
}

TEST_F(RouteAnimationTickerTest, tellsItsObserversOfEveryInstant) {
    clock->advance(5ms);
    ticker->tick();
    clock->advance(-3ms);
    ticker->tick();
    EXPECT_EQ(instants, (std::vector<Instant>{ManualClock::kStart + 5ms, ManualClock::kStart + 2ms}));
}

TEST_F(RouteAnimationTickerTest, followsTheClockOnceStarted) {
    ticker->start();
    EXPECT_TRUE(ticker->isRunning());
    clock->advance(7ms);
    ASSERT_TRUE(tickUntil(2, [] {}));
    EXPECT_EQ(instants.front(), ManualClock::kStart + 7ms);
}

TEST_F(RouteAnimationTickerTest, keepsItsTimerWhenStartedAgain) {
    // If each start restarted the interval, no tick would ever come.
    EXPECT_TRUE(tickUntil(2, [this] { ticker->start(); }));
}

TEST_F(RouteAnimationTickerTest, ticksSixtyTimesASecondAtMostAFewMore) {
    ticker->start();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(tickUntil(30, [] {}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 450ms);
}

TEST_F(RouteAnimationTickerTest, stops) {
    ticker->start();
    ticker->stop();
    EXPECT_FALSE(ticker->isRunning());
}

TEST_F(RouteAnimationTickerTest, isNotKeptByItsTimer) {
    auto other = std::make_unique<RouteAnimationTicker>(clock);
    std::size_t ticksOfOther = 0;
    QObject::connect(other.get(), &RouteAnimationTicker::nowChanged, other.get(), [&] { ++ticksOfOther; });
    other->start();
    ticker->start();
    other.reset();
    ASSERT_TRUE(tickUntil(2, [] {}));
    EXPECT_EQ(ticksOfOther, 0U);
}

}  // namespace

}  // namespace corvel::tests
