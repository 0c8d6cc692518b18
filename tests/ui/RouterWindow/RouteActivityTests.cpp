#include "ui/RouterWindow/RouteActivity.hpp"

#include "tests/support/ManualClock.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace corvel::tests {

namespace {

using namespace ui;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Instant kNow = ManualClock::kStart;

/// Connection 1 horizontal at 100 and connection 2 from 100 to 200, both active; connection 3 paused. The stage is 400
/// by 300.
RouteLines makeLines() {
    const auto line = [](std::uint32_t id, double endY, RouteAvailability availability) {
        return RouteLine{.routeID = makeID(id),
                         .size = QSizeF(400, 300),
                         .startY = 100,
                         .endY = endY,
                         .routeColor = Qt::blue,
                         .availability = availability};
    };
    return RouteLines({line(1, 100, RouteAvailability::active), line(2, 200, RouteAvailability::active),
                       line(3, 250, RouteAvailability::paused)});
}

class RouteActivityTest : public ::testing::Test {
protected:
    /// Adds the event `id` of a connection, sent this long ago.
    void add(std::uint32_t id, std::uint32_t route, std::chrono::nanoseconds age) {
        events.push_back({makeID(id), makeID(route), kNow - age, MIDIBytes{0x90, 0x3C, 0x64}});
    }

    [[nodiscard]] RouteActivity activity() const { return RouteActivity::at(kNow, makeLines(), events); }

    [[nodiscard]] std::vector<UUID> signalIDs() const {
        std::vector<UUID> ids;
        for (const RouteActivity::PlacedSignal& placed : activity().activeSignals) {
            ids.push_back(placed.signal.id);
        }
        return ids;
    }

    MIDIRouterViewModel::ActivityEvents events{MIDIRouterViewModel::kGraphActivityLimit};
};

TEST_F(RouteActivityTest, ordersSignalsOfAllConnectionsOldestFirst) {
    add(1, 1, 100ms);
    add(2, 2, 300ms);
    add(3, 1, 200ms);
    EXPECT_THAT(signalIDs(), ElementsAre(makeID(2), makeID(3), makeID(1)));
}

TEST_F(RouteActivityTest, ordersSignalsOfOneInstantByTheirArrival) {
    add(9, 2, 100ms);
    add(4, 1, 100ms);
    add(6, 2, 100ms);
    add(1, 1, 200ms);
    EXPECT_THAT(signalIDs(), ElementsAre(makeID(1), makeID(9), makeID(4), makeID(6)));
}

TEST_F(RouteActivityTest, placesSignalsOnTheirCurvesAndRingsOnTheOutputsMarks) {
    add(1, 2, 312'500us);
    add(2, 2, 700ms);
    const RouteActivity found = activity();
    ASSERT_EQ(found.activeSignals.size(), 2U);
    EXPECT_EQ(found.activeSignals[0].position, QPointF(392, 200));
    EXPECT_NEAR(found.activeSignals[1].position.x(), 200, 1e-9);
    EXPECT_NEAR(found.activeSignals[1].position.y(), 150, 1e-9);
    ASSERT_EQ(found.outputPulses.size(), 1U);
    EXPECT_EQ(found.outputPulses[0].pulse.id, makeID(2));
    EXPECT_EQ(found.outputPulses[0].position, QPointF(396, 200));
}

TEST_F(RouteActivityTest, showsNothingOfConnectionsThatArePausedOrHaveNoLine) {
    add(1, 3, 100ms);
    add(2, 3, 700ms);
    add(3, 77, 100ms);
    EXPECT_EQ(activity(), RouteActivity());
}

TEST_F(RouteActivityTest, showsNothingOfEventsThatAreStillToComeAfterTheClockWasSetBack) {
    add(1, 1, -1ns);
    add(2, 1, -1h);
    add(3, 1, 100ms);
    EXPECT_THAT(signalIDs(), ElementsAre(makeID(3)));
    EXPECT_THAT(activity().outputPulses, IsEmpty());
}

TEST_F(RouteActivityTest, showsTheLastOfSignalAndRingAtTheirVeryEnds) {
    add(1, 1, 805ms);
    add(2, 1, 892'500us);
    add(3, 1, 892'500'001ns);
    const RouteActivity found = activity();
    ASSERT_EQ(found.activeSignals.size(), 1U);
    EXPECT_EQ(found.activeSignals[0].signal.id, makeID(1));
    ASSERT_EQ(found.outputPulses.size(), 2U);
    EXPECT_EQ(found.outputPulses[0].pulse.id, makeID(2));
    EXPECT_EQ(found.outputPulses[1].pulse.id, makeID(1));
}

TEST_F(RouteActivityTest, hasPassedOnceNoEventShowsAnythingNowOrLater) {
    EXPECT_TRUE(RouteActivity::hasPassed(kNow, events));
    add(1, 1, 892'500'001ns);
    EXPECT_TRUE(RouteActivity::hasPassed(kNow, events));
    add(2, 1, -1h);
    EXPECT_FALSE(RouteActivity::hasPassed(kNow, events));
    events.pop_back();
    add(3, 1, 892'500us);
    EXPECT_FALSE(RouteActivity::hasPassed(kNow, events));
}

}  // namespace

}  // namespace corvel::tests
