#include "ui/RouterWindow/RouteLines.hpp"

#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace corvel::tests {

namespace {

using namespace ui;
using ::testing::ElementsAre;

/// A horizontal line at this height, on a stage of 400 by 300.
RouteLine makeLine(std::uint32_t id, double height, bool isSelected = false) {
    return {.routeID = makeID(id),
            .size = QSizeF(400, 300),
            .startY = height,
            .endY = height,
            .routeColor = Qt::blue,
            .isSelected = isSelected};
}

std::vector<UUID> drawingOrder(const RouteLines& lines) {
    std::vector<UUID> ids;
    for (const RouteLine& line : lines.inDrawingOrder()) {
        ids.push_back(line.routeID);
    }
    return ids;
}

UUID idAt(const RouteLines& lines, const QPointF& point) {
    const RouteLine* const line = lines.at(point);
    return line != nullptr ? line->routeID : UUID();
}

TEST(RouteLines, areDrawnInTheOrderOfTheListWithTheSelectedOneLast) {
    const RouteLines lines({makeLine(1, 50), makeLine(2, 100, true), makeLine(3, 150), makeLine(4, 200)});
    EXPECT_THAT(drawingOrder(lines), ElementsAre(makeID(1), makeID(3), makeID(4), makeID(2)));
}

TEST(RouteLines, giveOfOverlappingCurvesTheOneOnTop) {
    const RouteLines lines({makeLine(1, 100), makeLine(2, 106), makeLine(3, 200)});
    EXPECT_EQ(idAt(lines, {200, 103}), makeID(2));
    EXPECT_EQ(idAt(lines, {200, 95}), makeID(1));
}

TEST(RouteLines, giveTheSelectedCurveBeforeAllOthers) {
    const RouteLines lines({makeLine(1, 100, true), makeLine(2, 106), makeLine(3, 200)});
    EXPECT_EQ(idAt(lines, {200, 103}), makeID(1));
}

TEST(RouteLines, giveNoneWhereThereIsNone) {
    const RouteLines lines({makeLine(1, 100), makeLine(2, 106), makeLine(3, 200)});
    EXPECT_EQ(lines.at({200, 150}), nullptr);
    EXPECT_EQ(RouteLines().at({200, 150}), nullptr);
}

TEST(RouteLines, areFoundByTheirConnectionAlsoWhereItIsThereTwice) {
    const RouteLines lines({makeLine(1, 100, true), makeLine(2, 110), makeLine(1, 120)});
    std::vector<double> heights;
    lines.forEachOf(makeID(1), [&heights](const RouteLine& line) { heights.push_back(line.startY); });
    EXPECT_THAT(heights, ::testing::UnorderedElementsAre(100, 120));
}

}  // namespace

}  // namespace corvel::tests
