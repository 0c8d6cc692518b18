#include "ui/RouterWindow/RouteGraph.hpp"

#include "tests/ui/RouterWindow/GraphFixture.hpp"
#include "ui/RouterWindow/HiddenEndsButton.hpp"

#include <QAccessible>
#include <QLabel>
#include <QPaintEvent>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

namespace {

using namespace ui;
using namespace std::chrono_literals;

/// Records what a widget paints.
class PaintLog : public QObject {
public:
    explicit PaintLog(QWidget* widget) : QObject(widget) { widget->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            regions.push_back(static_cast<QPaintEvent*>(event)->region());
        }
        return false;
    }

    std::vector<QRegion> regions;
};

/// Expects this colour at a logical position, within the tolerance of antialiasing.
void expectColor(const QImage& image, double x, double y, QRgb expected, int tolerance = 14) {
    const qreal ratio = image.devicePixelRatio();
    const QColor found = image.pixelColor(static_cast<int>(x * ratio), static_cast<int>(y * ratio));
    const int difference = std::max({std::abs(found.red() - qRed(expected)), std::abs(found.green() - qGreen(expected)),
                                     std::abs(found.blue() - qBlue(expected))});
    EXPECT_LE(difference, tolerance) << "at " << x << ", " << y << ": " << found.name().toStdString() << ", not "
                                     << QColor(expected).name().toStdString();
}

constexpr QRgb kDarkStage = 0xFF090B0E;
constexpr QRgb kLightStage = 0xFFFFFFFF;
/// The first connection's blue at 0.86 on the dark stage.
constexpr QRgb kDarkBlueLine = 0xFF226ACC;

class RouteGraphTest : public GraphFixture {
protected:
    void click(const QPoint& place) { QTest::mouseClick(graph.get(), Qt::LeftButton, {}, place); }

    void hover(const QPointF& place) {
        QMouseEvent event(QEvent::MouseMove, place, graph->mapToGlobal(place), Qt::NoButton, Qt::NoButton, {});
        QCoreApplication::sendEvent(graph.get(), &event);
    }

    /// Shows the present instant.
    void tick() {
        graph->ticker().tick();
        QCoreApplication::processEvents();
    }

    /// The stage as it is on the screen, painted in parts.
    [[nodiscard]] QImage screenshot() { return graph->screen()->grabWindow(graph->winId()).toImage(); }

    [[nodiscard]] QLabel& placeholder() { return *graph->findChild<QLabel*>(); }
};

// Lines

TEST_F(RouteGraphTest, drawsEveryConnectionFromRowToRow) {
    const QImage image = picture();
    expectColor(image, 289, 20, kDarkStage);
    // The marks of all ends; the selected connection's lies over the other one of the same input.
    expectColor(image, 4, 156, 0xFF267AEB);
    expectColor(image, 573, 108, 0xFF267AEB);
    expectColor(image, 4, 108, 0xFFD133A8);
    expectColor(image, 573, 204, 0xFFD133A8);
    expectColor(image, 573, 60, 0xFF6B52DB);
    // Grey at 0.8, green at 0.65 on the stage.
    expectColor(image, 4, 60, 0xFF717985);
    expectColor(image, 4, 204, 0xFF147137);
    // The middle of the first line.
    expectColor(image, 289, 132, kDarkBlueLine, 30);
}

TEST_F(RouteGraphTest, spreadsEndsWithoutARowOverItsHeight) {
    // 35 + 4 * 334 / 6.
    expectColor(picture(), 573, 253, 0xFF717985);
}

TEST_F(RouteGraphTest, marksAnEndWithoutAnEndpointByAHollowMark) {
    EXPECT_EQ(picture().pixel(574, 258), 0xFF090B0EU);
    // The mark of its input is filled, and grey as well.
    expectColor(picture(), 4, 60, 0xFF717985);
}

TEST_F(RouteGraphTest, endsALineAtAChevronWhereTheRowIsOutOfSight) {
    // Rows are visible from 40 to 190; those of the Foot Controller and the Warm Synth, at 204, are not.
    graph->setConnectorPositions(
        {
            {{Direction::source, kDrumPads}, 60},
            {{Direction::source, kStagePiano}, 108},
            {{Direction::source, kTapeClock}, 38},
            {{Direction::source, kFootController}, 204},
            {{Direction::destination, kBassModule}, 60},
            {{Direction::destination, kDrumMachine}, 108},
            {{Direction::destination, kStringSection}, 300},
            {{Direction::destination, kWarmSynth}, 204},
        },
        {.inputs = EndpointViewports::Range{40, 190}, .outputs = EndpointViewports::Range{40, 190}});
    std::vector<std::string> names;
    for (const HiddenEndsButton* const button : graph->edges().shown()) {
        names.push_back(button->accessibleName().toStdString());
    }
    EXPECT_THAT(names, ::testing::ElementsAre("1 connection goes to inputs above", "1 connection goes to inputs below",
                                              "2 connections go to outputs below"));
    graph->lines().forEachOf(tests::makeID(3), [](const RouteLine& line) {
        EXPECT_EQ(line.startY, 176);
        EXPECT_EQ(line.endY, 176);
    });
    // No mark is there.
    EXPECT_EQ(picture().pixel(2, 176), 0xFF090B0EU);

    // The nearest hidden endpoint is requested.
    std::vector<EndpointPositionKey> requested;
    QObject::connect(graph.get(), &RouteGraph::endpointRequested, graph.get(),
                     [&requested](const EndpointPositionKey& endpoint) { requested.push_back(endpoint); });
    QTest::mouseClick(graph->edges().shown().at(2), Qt::LeftButton);
    ASSERT_EQ(requested.size(), 1U);
    EXPECT_EQ(requested[0], (EndpointPositionKey{Direction::destination, kWarmSynth}));
}

TEST_F(RouteGraphTest, countsTheRowsHeightsFromTheWindowsTop) {
    QWidget window;
    window.resize(800, 600);
    RouteGraph stage(*model, look, clock, &window);
    stage.setGeometry(100, 90, 578, 404);
    stage.setConnectorPositions({{{Direction::source, kTapeClock}, 300}});
    EXPECT_EQ(stage.lines().inDrawingOrder().front().startY, 210);
    stage.move(100, 40);
    window.show();
    EXPECT_EQ(stage.lines().inDrawingOrder().front().startY, 260);
}

TEST_F(RouteGraphTest, followsItsSize) {
    graph->resize(400, 300);
    expectColor(picture(), 395, 108, 0xFF267AEB);
}

TEST_F(RouteGraphTest, glowsAlongTheSelectedLine) {
    expectColor(picture(), 289, 120, kDarkStage);
    model->setSelectedRouteID(makeID(1));
    tell();
    // Seven above the blue line: the three widest strokes of its glow.
    expectColor(picture(), 289, 124.5, 0xFF0D1828, 6);
    EXPECT_EQ(graph->lines().inDrawingOrder().back().routeID, makeID(1));
}

TEST_F(RouteGraphTest, showsAConnectionThatIsPaused) {
    model->setRouteEnabled(makeID(1), false);
    tell();
    // Blue at 0.65 on the stage.
    expectColor(picture(), 4, 156, 0xFF1C539E);
}

TEST_F(RouteGraphTest, showsAConnectionWhoseInputIsUnplugged) {
    unplugSource(static_cast<MIDIObjectRef>(kTapeClock));
    model->applyEndpointSnapshot();
    tell();
    expectColor(picture(), 573, 108, 0xFF717985);
}

TEST_F(RouteGraphTest, takesTheColoursOfTheAppearance) {
    look.setMode(AppAppearanceMode::light);
    const QImage image = picture();
    expectColor(image, 289, 20, kLightStage);
    expectColor(image, 289, 132, 0xFF448DEE, 30);
}

TEST_F(RouteGraphTest, paintsNothingNewWhenNothingAboutTheLinesHasChanged) {
    const PaintLog log(graph.get());
    graph->refresh(ModelChanges::all());
    QCoreApplication::processEvents();
    EXPECT_TRUE(log.regions.empty());
}

// Signals

TEST_F(RouteGraphTest, showsASignalHalfWayAfterHalfItsTime) {
    const QImage before = picture();
    reportAgo(312'500us, makeID(1), {0x90, 60, 100});
    tick();
    for (const qreal ratio : {1.0, 1.5, 2.0}) {
        const QImage image = picture(ratio);
        // The middle of the core, nearly white; its edge, the colour itself; the halo; and nothing beyond it.
        expectColor(image, 289, 132, 0xFFF8B8A8, 36);
        expectColor(image, 289, 136.4, 0xFFF05938, 20);
        expectColor(image, 289, 121.5, 0xFF3A1B17, 24);
        expectColor(image, 289, 110, kDarkStage);
    }
    expectColor(before, 289, 136.4, kDarkStage);
}

TEST_F(RouteGraphTest, colorsSignalsByTheirKind) {
    reportAgo(312'500us, makeID(1), {0xB0, 7, 100});
    reportAgo(312'500us, makeID(5), {0xC0, 5});
    tick();
    const QImage image = picture();
    expectColor(image, 289, 136.4, 0xFF3DA8F2, 20);
    expectColor(image, 289, 88.4, 0xFFF7B838, 20);
}

TEST_F(RouteGraphTest, drawsARingRoundTheOutputsMarkAfterTheArrival) {
    // Half the ring's duration: radius 20.25, opacity 0.5, the signal at 0.257.
    reportAgo(758'750us, makeID(1), {0x90, 60, 100});
    tick();
    const QImage image = picture(2);
    expectColor(image, 574, 87.75, 0xFF7D3223);
    expectColor(image, 574, 84, kDarkStage);
    expectColor(image, 574, 128.25, 0xFF7D3223);
    // The mark, blue, below the signal's colour at half and the fading signal.
    expectColor(image, 575.5, 111, 0xFF9D6480, 24);
}

TEST_F(RouteGraphTest, showsNothingOnLinesThatAreNotActive) {
    const QImage before = picture();
    for (const auto age : {100ms, 400ms, 700ms}) {
        reportAgo(age, makeID(3), {0x90, 60, 100});
        reportAgo(age, makeID(4), {0x90, 60, 100});
    }
    tick();
    EXPECT_EQ(picture(), before);
}

TEST_F(RouteGraphTest, dropsTheSignalsOfAConnectionThatIsPaused) {
    model->setRouteEnabled(makeID(1), false);
    tell();
    const QImage paused = picture();
    model->setRouteEnabled(makeID(1), true);
    tell();
    reportAgo(312'500us, makeID(1), {0x90, 60, 100});
    tick();
    model->setRouteEnabled(makeID(1), false);
    tell();
    EXPECT_EQ(picture(), paused);
}

TEST_F(RouteGraphTest, showsEventsOfTheFutureOnlyWhenTheirTimeComes) {
    const QImage before = picture();
    report(makeID(1), {0x90, 60, 100});
    clock->advance(-1h);
    tick();
    EXPECT_EQ(picture(), before);
    clock->advance(1h + 312'500us);
    tick();
    expectColor(picture(), 289, 136.4, 0xFFF05938, 20);
}

TEST_F(RouteGraphTest, showsThePastAgainWhenTheClockIsSetBackToIt) {
    report(makeID(1), {0x90, 60, 100});
    clock->advance(2s);
    tick();
    tick();
    clock->advance(-1'687'500us);
    tick();
    expectColor(picture(), 289, 136.4, 0xFFF05938, 20);
}

TEST_F(RouteGraphTest, showsAnEventThatComesAfterAllOthersHavePassed) {
    report(makeID(1), {0x90, 60, 100});
    clock->advance(2s);
    tick();
    tick();
    reportAgo(312'500us, makeID(1), {0x90, 60, 100});
    tick();
    expectColor(picture(), 289, 136.4, 0xFFF05938, 20);
}

TEST_F(RouteGraphTest, paintsNothingInATickThatMovesNothing) {
    graph->ticker().stop();
    report(makeID(1), {0x90, 60, 100});
    tick();
    const PaintLog log(graph.get());
    tick();
    EXPECT_TRUE(log.regions.empty());
    clock->advance(2s);
    tick();
    EXPECT_EQ(log.regions.size(), 1U);
    clock->advance(16ms);
    tick();
    EXPECT_EQ(log.regions.size(), 1U);
}

TEST_F(RouteGraphTest, paintsInATickOnlyWhatMoves) {
    graph->ticker().stop();
    reportAgo(312'500us, makeID(1), {0x90, 60, 100});
    tick();
    const PaintLog log(graph.get());
    clock->advance(16ms);
    tick();
    ASSERT_EQ(log.regions.size(), 1U);
    const QRegion region = log.regions.front();
    // The former and the present place of the signal.
    EXPECT_TRUE(region.contains(QRect(269, 112, 40, 40)));
    EXPECT_TRUE(region.contains(QRect(280, 112, 40, 40)));
    EXPECT_TRUE(QRect(264, 106, 66, 54).contains(region.boundingRect()));
}

TEST_F(RouteGraphTest, leavesNoTraceOfWhatHasMovedOn) {
    graph->ticker().stop();
    const QImage before = screenshot();
    // First a few signals, painted one by one, then many, painted together.
    for (const int count : {3, 40}) {
        for (int index = 0; index < count; ++index) {
            reportAgo(index * 20ms, makeID(index % 2 == 0 ? 1 : 2), {0x90, 60, 100});
        }
        tick();
        EXPECT_NE(screenshot(), before);
        for (int frame = 0; frame < 70; ++frame) {
            clock->advance(16ms);
            tick();
        }
        EXPECT_EQ(screenshot(), before);
    }
}

TEST_F(RouteGraphTest, ticksWhileItIsShown) {
    EXPECT_TRUE(graph->ticker().isRunning());
    graph->hide();
    EXPECT_FALSE(graph->ticker().isRunning());
    graph->show();
    EXPECT_TRUE(graph->ticker().isRunning());
}

TEST_F(RouteGraphTest, animatesOnItsOwn) {
    reportAgo(312'500us, makeID(1), {0x90, 60, 100});
    const auto deadline = std::chrono::steady_clock::now() + 2s;
    const PaintLog log(graph.get());
    while (log.regions.empty() && std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents();
    }
    expectColor(picture(), 289, 136.4, 0xFFF05938, 20);
}

// Pointer

TEST_F(RouteGraphTest, selectsTheConnectionThatIsClicked) {
    click({162, 146});
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
    click({430, 69});
    EXPECT_EQ(model->selectedRouteID(), makeID(5));
    click({289, 180});
    EXPECT_EQ(model->selectedRouteID(), makeID(3));
}

TEST_F(RouteGraphTest, selectsTheConnectionOnTopWhereCurvesCross) {
    // Both start at the same row. The second one is selected, so it lies over the fifth.
    click({20, 108});
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    model->setSelectedRouteID(makeID(1));
    tell();
    click({20, 108});
    EXPECT_EQ(model->selectedRouteID(), makeID(5));
}

TEST_F(RouteGraphTest, keepsTheSelectionWhenTheBareStageIsClicked) {
    click({289, 380});
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
}

TEST_F(RouteGraphTest, selectsNothingWhenThePointerLeavesTheLineBeforeTheRelease) {
    QTest::mousePress(graph.get(), Qt::LeftButton, {}, {162, 146});
    QTest::mouseRelease(graph.get(), Qt::LeftButton, {}, {162, 300});
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
}

TEST_F(RouteGraphTest, selectsWithTheLeftButtonOnly) {
    QTest::mouseClick(graph.get(), Qt::RightButton, {}, {162, 146});
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
}

TEST_F(RouteGraphTest, pointsAHandAtALineAndGlowsItAtHalf) {
    const QImage before = picture();
    hover({289, 132});
    EXPECT_EQ(graph->cursor().shape(), Qt::PointingHandCursor);
    expectColor(picture(), 289, 124.5, 0xFF0B121B, 5);
    hover({289, 300});
    EXPECT_EQ(graph->cursor().shape(), Qt::ArrowCursor);
    EXPECT_EQ(picture(), before);
}

TEST_F(RouteGraphTest, forgetsTheLineUnderThePointerThatLeaves) {
    const QImage before = picture();
    hover({289, 132});
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(graph.get(), &leave);
    EXPECT_EQ(picture(), before);
}

// Placeholder

TEST_F(RouteGraphTest, invitesToConnectWhileThereIsNoConnection) {
    EXPECT_FALSE(placeholder().isVisible());
    showRoutes({});
    EXPECT_TRUE(placeholder().isVisible());
    EXPECT_EQ(placeholder().text(), "Select an input and output, then connect them");
    // 56 for the icon, 16, and the text: centred.
    const int top = placeholder().y() - 72;
    EXPECT_NEAR(top, 404 - placeholder().geometry().bottom() - 1, 1);
    model->connect(kTapeClock, kDrumMachine);
    settle();
    tell();
    EXPECT_FALSE(placeholder().isVisible());
}

TEST_F(RouteGraphTest, fitsTheInvitationOnTheNarrowestStage) {
    showRoutes({});
    graph->resize(378, 328);
    EXPECT_LE(placeholder().sizeHint().width(), 378);
}

// Accessibility

class RouteGraphAccessibilityTest : public RouteGraphTest {
protected:
    [[nodiscard]] QAccessibleInterface& stage() { return *QAccessible::queryAccessibleInterface(graph.get()); }
};

TEST_F(RouteGraphAccessibilityTest, namesTheStageAndItsConnectionsInTheOrderOfTheList) {
    EXPECT_EQ(stage().text(QAccessible::Name), "Routing stage");
    ASSERT_EQ(stage().childCount(), 5);
    EXPECT_EQ(stage().child(0)->text(QAccessible::Name), "Tape Clock to Drum Machine");
    EXPECT_EQ(stage().child(1)->text(QAccessible::Name), "Stage Piano to Warm Synth");
    EXPECT_EQ(stage().child(3)->text(QAccessible::Name), "Drum Pads to Light Desk");
    EXPECT_EQ(stage().child(5), nullptr);
}

TEST_F(RouteGraphAccessibilityTest, saysWhichConnectionIsSelected) {
    EXPECT_FALSE(stage().child(0)->state().selected);
    EXPECT_TRUE(stage().child(1)->state().selected);
}

TEST_F(RouteGraphAccessibilityTest, selectsTheConnectionThatIsPressed) {
    QAccessibleInterface* const line = stage().child(4);
    ASSERT_EQ(line->role(), QAccessible::Button);
    line->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(model->selectedRouteID(), makeID(5));
}

TEST_F(RouteGraphAccessibilityTest, tellsWhereALineIs) {
    QAccessibleInterface* const line = stage().child(0);
    EXPECT_EQ(line->rect(), QRect(graph->mapToGlobal(QPoint(0, 103)), QSize(578, 58)));
    EXPECT_EQ(stage().indexOfChild(line), 0);
    EXPECT_EQ(line->parent(), &stage());
    const QPoint middle = graph->mapToGlobal(QPoint(162, 146));
    EXPECT_EQ(stage().childAt(middle.x(), middle.y()), line);
}

TEST_F(RouteGraphAccessibilityTest, forgetsAConnectionThatIsDeleted) {
    QAccessibleInterface* const line = stage().child(1);
    ASSERT_TRUE(line->isValid());
    model->deleteSelectedRoute();
    tell();
    EXPECT_FALSE(line->isValid());
    ASSERT_EQ(stage().childCount(), 4);
    EXPECT_EQ(stage().child(1)->text(QAccessible::Name), "Foot Controller to String Section");
}

TEST_F(RouteGraphAccessibilityTest, readsThePlaceholderWithoutConnections) {
    showRoutes({});
    ASSERT_EQ(stage().childCount(), 1);
    EXPECT_EQ(stage().child(0)->text(QAccessible::Name), "Select an input and output, then connect them");
}

}  // namespace

TEST_F(RouteGraphTest, selectsAndDeletesByKeys) {
    graph->setFocus(Qt::TabFocusReason);
    QTest::keyClick(graph.get(), Qt::Key_Down);
    EXPECT_EQ(model->selectedRouteID(), makeID(3));
    QTest::keyClick(graph.get(), Qt::Key_End);
    QTest::keyClick(graph.get(), Qt::Key_Down);
    EXPECT_EQ(model->selectedRouteID(), makeID(5));
    QTest::keyClick(graph.get(), Qt::Key_Up);
    EXPECT_EQ(model->selectedRouteID(), makeID(4));
    QTest::keyClick(graph.get(), Qt::Key_Home);
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
    QTest::keyClick(graph.get(), Qt::Key_Delete);
    EXPECT_EQ(model->route(makeID(1)), nullptr);
}

TEST_F(RouteGraphTest, saysWhenAClickMeansNoLine) {
    QSignalSpy clicks(graph.get(), &RouteGraph::emptyPlaceClicked);
    QTest::mouseClick(graph.get(), Qt::LeftButton, {}, QPoint(289, 390));
    EXPECT_EQ(clicks.size(), 1);
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
}

TEST_F(RouteGraphTest, fadesAllLinesButTheOneThatStandsOut) {
    // The left marks of the first and the second connection.
    const QPoint first(4, 156);
    const QPoint second(4, 108);
    const QImage before = picture();
    graph->setEmphasizedRoute(makeID(2));
    const QImage emphasized = picture();
    EXPECT_NE(emphasized.pixelColor(first), before.pixelColor(first));
    EXPECT_EQ(emphasized.pixelColor(second), before.pixelColor(second));
    graph->setEmphasizedRoute(std::nullopt);
    EXPECT_EQ(picture(), before);
}

}  // namespace corvel::tests
