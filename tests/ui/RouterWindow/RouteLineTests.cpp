#include "ui/RouterWindow/RouteLine.hpp"

#include "tests/support/ManualClock.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace corvel::tests {

namespace {

using namespace ui;
using namespace std::chrono_literals;

constexpr Instant kNow = ManualClock::kStart;

/// From 108 to 204 on a stage of 578 by 404.
RouteLine makeLine(RouteAvailability availability = RouteAvailability::active) {
    return {.routeID = makeID(1),
            .size = QSizeF(578, 404),
            .startY = 108,
            .endY = 204,
            .routeColor = QColor(0x267AEB),
            .availability = availability};
}

MIDIActivityEvent makeEvent(std::chrono::nanoseconds age) {
    return {makeID(7), makeID(1), kNow - age, MIDIBytes{0x90, 0x3C, 0x64}};
}

void expectPoint(const QPointF& point, double x, double y) {
    EXPECT_NEAR(point.x(), x, 1e-9);
    EXPECT_NEAR(point.y(), y, 1e-9);
}

void expectSignal(std::chrono::nanoseconds age, double progress, double opacity) {
    const std::optional<RouteSignal> signal = makeLine().activeSignal(makeEvent(age), kNow);
    ASSERT_TRUE(signal) << age.count();
    EXPECT_EQ(signal->id, makeID(7));
    EXPECT_EQ(signal->messageKind, MIDIMessageKind::noteOn);
    EXPECT_NEAR(signal->progress, progress, 1e-12) << age.count();
    EXPECT_NEAR(signal->opacity, opacity, 1e-12) << age.count();
}

void expectPulse(std::chrono::nanoseconds age, double opacity, double scale) {
    const std::optional<RouteOutputPulse> pulse = makeLine().outputPulse(makeEvent(age), kNow);
    ASSERT_TRUE(pulse) << age.count();
    EXPECT_EQ(pulse->id, makeID(7));
    EXPECT_EQ(pulse->messageKind, MIDIMessageKind::noteOn);
    EXPECT_NEAR(pulse->opacity, opacity, 1e-12) << age.count();
    EXPECT_NEAR(pulse->scale, scale, 1e-12) << age.count();
}

// Course

TEST(RouteLine, runsFromMarkToMarkPulledInwardsByAShareOfTheWidth) {
    const QPainterPath path = makeLine().path();
    ASSERT_EQ(path.elementCount(), 4);
    expectPoint(path.elementAt(0), 8, 108);
    expectPoint(path.elementAt(1), 135.16, 108);
    expectPoint(path.elementAt(2), 442.84, 204);
    expectPoint(path.elementAt(3), 570, 204);
}

TEST(RouteLine, isPulledInwardsByAMinimumOfEighty) {
    RouteLine line = makeLine();
    line.size = QSizeF(300, 200);
    const QPainterPath path = line.path();
    expectPoint(path.elementAt(1), 88, 108);
    expectPoint(path.elementAt(2), 212, 204);
}

TEST(RouteLine, keepsItsEndsInOrderOnAStageNarrowerThanItsMarks) {
    RouteLine line = makeLine();
    line.size = QSizeF(5, 200);
    expectPoint(line.start(), 8, 108);
    expectPoint(line.end(), 8, 204);
    EXPECT_EQ(line.endMark(), QRectF(0, 199, 8, 10));
}

TEST(RouteLine, passesItsPointsInProportionToTheCurvesParameter) {
    const RouteLine line = makeLine();
    expectPoint(line.pointAt(0), 8, 108);
    expectPoint(line.pointAt(0.25), 131.57625, 123);
    expectPoint(line.pointAt(0.5), 289, 156);
    expectPoint(line.pointAt(1), 570, 204);
}

TEST(RouteLine, hasItsMarksAtTheStagesEdges) {
    EXPECT_EQ(makeLine().startMark(), QRectF(0, 103, 8, 10));
    EXPECT_EQ(makeLine().endMark(), QRectF(570, 199, 8, 10));
}

TEST(RouteLine, spreadsEndsWithoutAnEndpointEvenlyWithAMargin) {
    EXPECT_DOUBLE_EQ(RouteLine::spreadY(0, 1, 404), 202);
    EXPECT_DOUBLE_EQ(RouteLine::spreadY(0, 2, 370), 135);
    EXPECT_DOUBLE_EQ(RouteLine::spreadY(1, 2, 370), 235);
    EXPECT_DOUBLE_EQ(RouteLine::spreadY(3, 5, 430), 275);
}

TEST(RouteLine, spreadsThemWithinOnePixelOnAStageWithoutHeight) {
    EXPECT_DOUBLE_EQ(RouteLine::spreadY(0, 1, 40), 35.5);
    EXPECT_DOUBLE_EQ(RouteLine::spreadY(2, 3, 71), 35.75);
}

TEST(RouteLine, catchesClicksNinePixelsToEitherSide) {
    RouteLine line = makeLine();
    line.endY = 108;
    EXPECT_TRUE(line.catches({289, 108}));
    EXPECT_TRUE(line.catches({289, 99.1}));
    EXPECT_TRUE(line.catches({289, 116.9}));
    EXPECT_FALSE(line.catches({289, 98.9}));
    EXPECT_FALSE(line.catches({289, 117.1}));
}

TEST(RouteLine, measuresTheReachOfClicksAcrossTheCurve) {
    // In its middle the curve falls 144 on 652.26: 9 pixels across it are 9.22 vertically.
    const RouteLine line = makeLine();
    EXPECT_TRUE(line.catches({289, 156}));
    EXPECT_TRUE(line.catches({289, 165.1}));
    EXPECT_FALSE(line.catches({289, 165.4}));
    EXPECT_TRUE(line.catches({289, 146.9}));
    EXPECT_FALSE(line.catches({289, 146.6}));
}

TEST(RouteLine, catchesNoClicksBeyondItsEnds) {
    const RouteLine line = makeLine();
    EXPECT_TRUE(line.catches({8, 108}));
    EXPECT_TRUE(line.catches({570, 204}));
    EXPECT_FALSE(line.catches({7.9, 108}));
    EXPECT_FALSE(line.catches({570.1, 204}));
}

// Look

TEST(RouteLine, isWiderWhenSelected) {
    RouteLine line = makeLine();
    EXPECT_EQ(line.strokeWidth(), 2.5);
    line.isSelected = true;
    EXPECT_EQ(line.strokeWidth(), 4);
}

TEST(RouteLine, isSolidOnlyWhileActive) {
    EXPECT_FALSE(makeLine(RouteAvailability::active).isDashed());
    EXPECT_TRUE(makeLine(RouteAvailability::paused).isDashed());
    EXPECT_TRUE(makeLine(RouteAvailability::missingInput).isDashed());
    EXPECT_TRUE(makeLine(RouteAvailability::missingOutput).isDashed());
    EXPECT_TRUE(makeLine(RouteAvailability::missingEndpoints).isDashed());
}

TEST(RouteLine, hasItsOwnColourWhileBothEndpointsAreThere) {
    const Theme& dark = Theme::of(AppAppearanceMode::dark);
    // 0.86, 0.42 and 0.65 of 255.
    EXPECT_EQ(makeLine(RouteAvailability::active).lineColor(dark).rgba(), 0xDB267AEB);
    EXPECT_EQ(makeLine(RouteAvailability::active).markColor(dark).rgba(), 0xFF267AEB);
    EXPECT_EQ(makeLine(RouteAvailability::paused).lineColor(dark).rgba(), 0x6B267AEB);
    EXPECT_EQ(makeLine(RouteAvailability::paused).markColor(dark).rgba(), 0xA6267AEB);
}

TEST(RouteLine, isGreyWhileAnEndpointIsMissing) {
    const Theme& dark = Theme::of(AppAppearanceMode::dark);
    const Theme& light = Theme::of(AppAppearanceMode::light);
    for (const RouteAvailability availability :
         {RouteAvailability::missingInput, RouteAvailability::missingOutput, RouteAvailability::missingEndpoints}) {
        // 0.85 and 0.8 of 255.
        EXPECT_EQ(makeLine(availability).lineColor(dark).rgba(), 0xD98B95A3);
        EXPECT_EQ(makeLine(availability).markColor(dark).rgba(), 0xCC8B95A3);
        EXPECT_EQ(makeLine(availability).lineColor(light).rgba(), 0xD96A7481);
        EXPECT_EQ(makeLine(availability).markColor(light).rgba(), 0xCC6A7481);
    }
}

TEST(RouteLine, coloursSignalsByTheirKind) {
    using Kind = MIDIMessageKind;
    constexpr QRgb kNote = 0xFFF05938;
    constexpr QRgb kControlChange = 0xFF3DA8F2;
    constexpr QRgb kTransport = 0xFFB878F2;
    constexpr QRgb kOther = 0xFFF7B838;
    for (const Kind kind : {Kind::noteOff, Kind::noteOn}) {
        EXPECT_EQ(RouteLine::signalColor(kind).rgba(), kNote);
    }
    EXPECT_EQ(RouteLine::signalColor(Kind::controlChange).rgba(), kControlChange);
    for (const Kind kind : {Kind::start, Kind::continue_, Kind::stop}) {
        EXPECT_EQ(RouteLine::signalColor(kind).rgba(), kTransport);
    }
    for (const Kind kind : {Kind::polyPressure, Kind::programChange, Kind::channelPressure, Kind::pitchBend,
                            Kind::sysex, Kind::timeCode, Kind::songPosition, Kind::songSelect, Kind::tuneRequest,
                            Kind::timingClock, Kind::activeSensing, Kind::systemReset, Kind::data, Kind::unknown}) {
        EXPECT_EQ(RouteLine::signalColor(kind).rgba(), kOther);
    }
}

// Signals

TEST(RouteLine, movesASignalFromInputToOutputInFiveEighthsOfASecond) {
    expectSignal(0ns, 0.025, 1);
    expectSignal(15'625'000ns, 0.025, 1);
    expectSignal(31'250'000ns, 0.05, 1);
    expectSignal(312'500'000ns, 0.5, 1);
    expectSignal(625'000'000ns, 1, 1);
}

TEST(RouteLine, fadesASignalThatHasArrived) {
    expectSignal(715'000'000ns, 1, 0.5);
    expectSignal(805'000'000ns, 1, 0);
}

TEST(RouteLine, showsNoSignalOfTheFutureNorOneThatHasFaded) {
    EXPECT_FALSE(makeLine().activeSignal(makeEvent(-1ns), kNow));
    EXPECT_FALSE(makeLine().activeSignal(makeEvent(805'000'001ns), kNow));
}

TEST(RouteLine, endsASignalInAGrowingFadingRing) {
    expectPulse(625'000'000ns, 1, 0.55);
    expectPulse(758'750'000ns, 0.5, 1.125);
    expectPulse(892'500'000ns, 0, 1.7);
}

TEST(RouteLine, showsNoRingBeforeTheArrivalNorAfterItsEnd) {
    EXPECT_FALSE(makeLine().outputPulse(makeEvent(-1ns), kNow));
    EXPECT_FALSE(makeLine().outputPulse(makeEvent(624'999'999ns), kNow));
    EXPECT_FALSE(makeLine().outputPulse(makeEvent(892'500'001ns), kNow));
}

TEST(RouteLine, showsSignalsAndRingsOnlyWhileActive) {
    for (const RouteAvailability availability :
         {RouteAvailability::paused, RouteAvailability::missingInput, RouteAvailability::missingOutput,
          RouteAvailability::missingEndpoints}) {
        EXPECT_FALSE(makeLine(availability).activeSignal(makeEvent(100ms), kNow));
        EXPECT_FALSE(makeLine(availability).outputPulse(makeEvent(700ms), kNow));
    }
}

}  // namespace

}  // namespace corvel::tests
