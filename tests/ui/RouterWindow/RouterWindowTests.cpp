#include "ui/RouterWindow/RouterWindow.hpp"

#include "tests/ui/support/DragEvents.hpp"
#include "tests/ui/support/RouterWindowFixture.hpp"
#include "ui/RouterWindow/ConnectionSetBar.hpp"
#include "ui/RouterWindow/HeaderBar.hpp"
#include "ui/RouterWindow/RouteColorPalette.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"
#include "ui/RouterWindow/RouteList.hpp"
#include "ui/RouterWindow/RouteRow.hpp"
#include "ui/RouterWindow/SettingsSheet.hpp"
#include "ui/RouterWindow/StatusBar.hpp"
#include "ui/controls/LookScrollArea.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>

#include <optional>
#include <string>
#include <vector>

namespace corvel::ui {
namespace {

using enum KeyboardShortcutModifier;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class RouterWindowTests : public tests::RouterWindowFixture {
protected:
    /// The rectangle of a view in the window.
    template <typename View>
    [[nodiscard]] QRect place() const {
        const View& view = tests::only<View>(*window);
        return {view.mapTo(window.get(), QPoint()), view.size()};
    }

    [[nodiscard]] QRect place(const EndpointColumn& column) const {
        return {column.mapTo(window.get(), QPoint()), column.size()};
    }

    /// The middle of a row in the window.
    [[nodiscard]] double middle(const EndpointRow& row) const { return row.mapTo(window.get(), QPoint()).y() + 20; }

    /// The heights of the two ends of a connection's line in the window.
    [[nodiscard]] std::pair<double, double> lineEnds(std::size_t route) const {
        std::pair<double, double> ends;
        const int top = place<RouteGraph>().y();
        tests::only<RouteGraph>(*window).lines().forEachOf(model->routes().at(route).id, [&](const RouteLine& line) {
            ends = {line.startY + top, line.endY + top};
        });
        return ends;
    }

    void addInputs(int count) {
        for (int number = 0; number < count; ++number) {
            const auto ref = static_cast<MIDIObjectRef>(100 + number);
            host->addSource(ref, {.displayName = "Z" + std::to_string(100 + number), .uniqueID = 2000 + number});
        }
        model->refreshDevices();
        turn();
        turn();
    }

    /// Chooses the shortcut Ctrl+1 for channel 1 of a connection whose active channel is another one.
    void addShortcut() {
        model->connect(1011, 1021);
        const UUID id = model->routes()[0].id;
        model->addChannelAssignment(id, ChannelMode::force(1), KeyboardShortcutSpec("1", {command}));
        resetChannel();
    }

    void resetChannel() { model->setActiveVariant(model->routes()[0].variants[0].id, model->routes()[0].id); }

    void pressShortcut(QWidget& in) { QTest::keyClick(in.window()->windowHandle(), Qt::Key_1, Qt::ControlModifier); }

    [[nodiscard]] std::string channel() const { return model->routes()[0].channelMode.title(); }
};

TEST_F(RouterWindowTests, HasItsSizes) {
    EXPECT_EQ(window->minimumSize(), QSize(980, 640));
    EXPECT_EQ(RouterWindow(*model, look, clock, QList<QAction*>(), "").size(), QSize(1180, 760));
    EXPECT_EQ(window->maximumWidth(), QWIDGETSIZE_MAX);
    EXPECT_EQ(window->maximumHeight(), QWIDGETSIZE_MAX);
}

TEST_F(RouterWindowTests, StacksItsBandsAtTheMinimumSize) {
    model->connect(1011, 1021);
    turn();
    EXPECT_EQ(place<HeaderBar>(), QRect(0, 0, 980, 56));
    EXPECT_EQ(place<ConnectionSetBar>(), QRect(0, 56, 980, 44));
    EXPECT_EQ(place(inputs()), QRect(0, 100, 300, 328));
    EXPECT_EQ(place<RouteGraph>(), QRect(300, 100, 380, 328));
    EXPECT_EQ(place(outputs()), QRect(680, 100, 300, 328));
    EXPECT_EQ(place<RouteList>(), QRect(0, 428, 980, 184));
    EXPECT_EQ(place<StatusBar>(), QRect(0, 612, 980, 28));
}

TEST_F(RouterWindowTests, GivesTheStageAndTheListWhatALargerWindowHas) {
    model->connect(1011, 1021);
    window->resize(1920, 1080);
    turn();
    EXPECT_EQ(place<HeaderBar>(), QRect(0, 0, 1920, 56));
    EXPECT_EQ(place<ConnectionSetBar>(), QRect(0, 56, 1920, 44));
    EXPECT_EQ(place(inputs()), QRect(0, 100, 300, 609));
    EXPECT_EQ(place<RouteGraph>(), QRect(300, 100, 1320, 609));
    EXPECT_EQ(place(outputs()), QRect(1620, 100, 300, 609));
    EXPECT_EQ(place<RouteList>(), QRect(0, 709, 1920, 343));
    EXPECT_EQ(place<StatusBar>(), QRect(0, 1052, 1920, 28));
}

TEST_F(RouterWindowTests, GivesTheStageWhatTheListDoesNotNeed) {
    EXPECT_EQ(place<RouteList>(), QRect(0, 572, 980, 40));
    EXPECT_EQ(place<RouteGraph>(), QRect(300, 100, 380, 472));
    model->connect(1011, 1021);
    turn();
    EXPECT_EQ(place<RouteList>().height(), 184);
    model->deleteSelectedRoute();
    turn();
    EXPECT_EQ(place<RouteList>().height(), 40);
}

TEST_F(RouterWindowTests, TitlesItsColumns) {
    EXPECT_EQ(tests::labelTexts(inputs()), QStringList("Input"));
    EXPECT_EQ(tests::labelTexts(outputs()), QStringList("Output"));
    EXPECT_EQ(row(inputs(), 0).endpoint().displayName, "Keys");
    EXPECT_EQ(row(outputs(), 0).endpoint().displayName, "Drums");
}

TEST_F(RouterWindowTests, StaysInShapeWithAbsurdNames) {
    const std::string name = std::string(5'000, 'x') + "\n<b>" + std::string(5'000, 'y');
    host->addSource(13, {.displayName = name, .manufacturer = name, .uniqueID = 1013});
    host->addDestination(23, {.displayName = name, .manufacturer = name, .uniqueID = 1023});
    model->refreshDevices();
    settle();
    model->connect(1013, 1023);
    model->renameSelectedRouteSet(name);
    turn();
    turn();
    EXPECT_EQ(window->size(), QSize(980, 640));
    EXPECT_LE(window->minimumSizeHint().width(), 980);
    EXPECT_EQ(place<HeaderBar>(), QRect(0, 0, 980, 56));
    EXPECT_EQ(place<ConnectionSetBar>(), QRect(0, 56, 980, 44));
    EXPECT_EQ(place(inputs()).width(), 300);
    EXPECT_EQ(place(outputs()).width(), 300);
    EXPECT_EQ(place<RouteGraph>().width(), 380);
    EXPECT_EQ(place<StatusBar>(), QRect(0, 612, 980, 28));
    // The rows keep some room above the details.
    EXPECT_GE(tests::only<LookScrollArea>(inputs()).height(), 48);
}

TEST_F(RouterWindowTests, ShowsTheModelsChangesOnTheNextTurn) {
    auto& sets = tests::only<PopUpButton>(tests::only<ConnectionSetBar>(*window));
    model->createRouteSet("Live");
    model->setSelectedSourceID(1011);
    model->setSelectedDestinationID(1021);
    EXPECT_EQ(sets.items(), QStringList("Default"));
    EXPECT_FALSE(row(inputs(), 0).isSelected());
    EXPECT_FALSE(button("Connect").isEnabled());
    EXPECT_EQ(tests::labelTexts(tests::only<StatusBar>(*window)).value(1), "Default / 0 connections");
    turn();
    EXPECT_EQ(sets.items(), QStringList({"Default", "Live"}));
    EXPECT_TRUE(row(inputs(), 0).isSelected());
    EXPECT_TRUE(button("Connect").isEnabled());
    EXPECT_EQ(tests::labelTexts(tests::only<StatusBar>(*window)).value(1), "Live / 0 connections");
}

TEST_F(RouterWindowTests, KeepsTheRowsOfEndpointsThatStay) {
    const QPointer<EndpointRow> keys = &row(inputs(), 0);
    const QPointer<EndpointRow> pads = &row(inputs(), 1);
    host->addSource(13, {.displayName = "Accordion", .uniqueID = 1013});
    unplugSource(12);
    model->refreshDevices();
    turn();
    turn();
    ASSERT_THAT(inputs().rows(), SizeIs(2));
    EXPECT_EQ(row(inputs(), 0).endpoint().displayName, "Accordion");
    EXPECT_EQ(&row(inputs(), 1), keys.data());
    EXPECT_TRUE(pads.isNull());
}

TEST_F(RouterWindowTests, SelectsTheRowThatTheUserClicks) {
    QTest::mouseClick(&row(inputs(), 1), Qt::LeftButton);
    EXPECT_EQ(model->selectedSourceID(), 1012);
    EXPECT_EQ(model->selectedDestinationID(), std::nullopt);
    tests::pressAccessibly(row(outputs(), 1));
    EXPECT_EQ(model->selectedDestinationID(), 1021);
    turn();
    EXPECT_TRUE(row(inputs(), 1).isSelected());
    EXPECT_FALSE(row(inputs(), 0).isSelected());
    EXPECT_TRUE(row(outputs(), 1).isSelected());
}

TEST_F(RouterWindowTests, ConnectsADroppedInputToTheOutputUnderIt) {
    tests::drop(row(outputs(), 1), "app.corvel.source:1012");
    EXPECT_THAT(model->routes(), IsEmpty());
    turn();
    ASSERT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(model->routes()[0].sourceID, 1012);
    EXPECT_EQ(model->routes()[0].destinationID, 1021);
    EXPECT_EQ(model->statusMessage(), "Set \"Default\" saved (1 connections)");
}

TEST_F(RouterWindowTests, HasTheModelRefuseADropOfAnInputThatIsGone) {
    tests::drop(row(outputs(), 0), "app.corvel.source:99");
    turn();
    EXPECT_THAT(model->routes(), IsEmpty());
    EXPECT_EQ(model->statusMessage(), "Input endpoint is no longer available");
}

TEST_F(RouterWindowTests, ConnectsWithControlReturnOnlyWithBothEndsSelected) {
    model->setSelectedSourceID(1011);
    turn();
    QTest::keyClick(window->windowHandle(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_THAT(model->routes(), IsEmpty());
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    model->setSelectedDestinationID(1021);
    turn();
    row(inputs(), 0).setFocus();
    QTest::keyClick(window->windowHandle(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_THAT(model->routes(), SizeIs(1));
}

TEST_F(RouterWindowTests, RunsLinesBetweenTheMiddlesOfRows) {
    model->connect(1011, 1021);
    model->connect(1012, 1022);
    turn();
    // Keys, the first input, to Synth, the second output; and the other two.
    EXPECT_EQ(lineEnds(0), std::pair(160.0, 208.0));
    EXPECT_EQ(lineEnds(1), std::pair(208.0, 160.0));
}

TEST_F(RouterWindowTests, MovesLinesWithRowsThatScroll) {
    model->connect(1011, 1021);
    addInputs(40);
    EXPECT_EQ(lineEnds(0), std::pair(160.0, 208.0));
    tests::only<LookScrollArea>(inputs()).verticalScrollBar()->setValue(15);
    turn();
    EXPECT_EQ(lineEnds(0), std::pair(145.0, 208.0));
}

TEST_F(RouterWindowTests, EndsLinesAtTheEdgeBehindWhichTheirRowIsOutOfSight) {
    addInputs(40);
    model->connect(2039, 1021);
    turn();
    tests::only<LookScrollArea>(inputs()).verticalScrollBar()->setValue(0);
    turn();
    // The 42nd row is, and the details of its endpoint start at 340.
    EXPECT_EQ(lineEnds(0), std::pair(326.0, 208.0));
}

TEST_F(RouterWindowTests, MovesLinesWithRowsWhenTheWindowIsResized) {
    addInputs(40);
    model->connect(2039, 1021);
    turn();
    QScrollBar& bar = *tests::only<LookScrollArea>(inputs()).verticalScrollBar();
    bar.setValue(bar.maximum());
    turn();
    const double before = lineEnds(0).first;
    EXPECT_EQ(before, middle(row(inputs(), 41)));
    window->resize(980, 1000);
    turn();
    bar.setValue(bar.maximum());
    turn();
    EXPECT_NE(lineEnds(0).first, before);
    EXPECT_EQ(lineEnds(0).first, middle(row(inputs(), 41)));
}

TEST_F(RouterWindowTests, ScrollsTheEndsOfASelectedConnectionIntoView) {
    addInputs(40);
    model->connect(2039, 1021);
    model->connect(1011, 1021);
    turn();
    QScrollBar& bar = *tests::only<LookScrollArea>(inputs()).verticalScrollBar();
    EXPECT_EQ(bar.value(), 0);
    model->setSelectedRouteID(model->routes()[0].id);
    turn();
    // The 42nd row and the gap below it end at 2016, and 184 of that are visible above the details.
    EXPECT_EQ(bar.value(), 42 * 48 - 184);
}

TEST_F(RouterWindowTests, ShowsTheEndsOfTheFirstConnectionOfAnotherSet) {
    addInputs(40);
    model->connect(2039, 1021);
    const UUID far = model->selectedRouteSetID();
    model->createRouteSet("Near");
    model->connect(1011, 1021);
    turn();
    QScrollBar& bar = *tests::only<LookScrollArea>(inputs()).verticalScrollBar();
    bar.setValue(0);
    model->selectRouteSet(far);
    turn();
    EXPECT_GT(bar.value(), 1700);
}

TEST_F(RouterWindowTests, MovesLinesWithRowsWhenTheDetailsTakeRoom) {
    addInputs(5);
    model->connect(2004, 1021);
    QScrollBar& bar = *tests::only<LookScrollArea>(inputs()).verticalScrollBar();
    turn();
    bar.setValue(bar.maximum());
    turn();
    EXPECT_EQ(lineEnds(0).first, middle(row(inputs(), 6)));
    model->setSelectedSourceID(std::nullopt);
    turn();
    EXPECT_EQ(lineEnds(0).first, middle(row(inputs(), 6)));
}

TEST_F(RouterWindowTests, MovesLinesWithRowsWhenDevicesComeAndGo) {
    model->connect(1012, 1021);
    turn();
    EXPECT_EQ(lineEnds(0), std::pair(208.0, 208.0));
    unplugSource(11);
    model->refreshDevices();
    turn();
    turn();
    EXPECT_EQ(lineEnds(0), std::pair(160.0, 208.0));
}

TEST_F(RouterWindowTests, OpensTheSettingsOnce) {
    EXPECT_FALSE(window->isSettingsPresented());
    button("Open settings").click();
    turn();
    EXPECT_TRUE(window->isSettingsPresented());
    EXPECT_EQ(window->findChildren<SettingsSheet*>().size(), 1);
    button("Open settings").click();
    turn();
    EXPECT_EQ(window->findChildren<SettingsSheet*>().size(), 1);
    tests::button(tests::only<SettingsSheet>(*window), "Done").click();
    EXPECT_TRUE(turnUntil([this] { return window->findChildren<SettingsSheet*>().empty(); }));
    EXPECT_FALSE(window->isSettingsPresented());
    button("Open settings").click();
    turn();
    EXPECT_TRUE(window->isSettingsPresented());
}

TEST_F(RouterWindowTests, SwitchesChannelsWithShortcutsWhileItIsShown) {
    addShortcut();
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    pressShortcut(other);
    EXPECT_EQ(channel(), "Ch 1");

    resetChannel();
    window->hide();
    pressShortcut(other);
    EXPECT_EQ(channel(), "As Is");

    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    pressShortcut(*window);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(RouterWindowTests, InstallsOneShortcutMonitorAtMost) {
    addShortcut();
    window->installShortcutMonitor();
    window->installShortcutMonitor();
    window->removeShortcutMonitor();
    pressShortcut(*window);
    EXPECT_EQ(channel(), "As Is");
    window->removeShortcutMonitor();
    window->installShortcutMonitor();
    pressShortcut(*window);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(RouterWindowTests, SwitchesChannelsWithShortcutsBesideTheSettings) {
    addShortcut();
    button("Open settings").click();
    turn();
    auto& sheet = tests::only<SettingsSheet>(*window);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&sheet));
    pressShortcut(sheet);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(RouterWindowTests, SwitchesNoChannelsWhileItAsksForAName) {
    addShortcut();
    turn();
    button("Rename current set").click();
    turn();
    QWidget* const dialog = SheetDialog::topOf(*window);
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog));
    pressShortcut(*dialog);
    EXPECT_EQ(channel(), "As Is");
    pressShortcut(*window);
    EXPECT_EQ(channel(), "As Is");
    QTest::keyClick(window->windowHandle(), Qt::Key_Escape);
    ASSERT_TRUE(turnUntil([this] { return SheetDialog::topOf(*window) == nullptr; }));
    pressShortcut(*window);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(RouterWindowTests, KeepsItsBandsApartInAWindowSmallerThanItsMinimum) {
    model->connect(1011, 1021);
    window->setMinimumSize(1, 1);
    for (const QSize size : {QSize(1024, 520), QSize(960, 480), QSize(640, 400), QSize(500, 300), QSize(400, 230)}) {
        window->resize(size);
        turn();
        ASSERT_EQ(window->size(), size);
        const auto bottom = [](const QWidget& view) { return view.geometry().y() + view.height(); };
        const auto& list = tests::only<RouteList>(*window);
        const auto& status = tests::only<StatusBar>(*window);
        const auto& graph = tests::only<RouteGraph>(*window);
        EXPECT_EQ(bottom(status), size.height()) << size.height();
        EXPECT_LE(bottom(list), status.y()) << size.height();
        EXPECT_LE(bottom(graph), list.y()) << size.height();
        EXPECT_GE(graph.height(), 96) << size.height();
        EXPECT_GE(graph.width(), 80) << size.width();
        EXPECT_LE(inputs().geometry().right(), graph.x()) << size.width();
        EXPECT_LE(graph.geometry().right(), outputs().x()) << size.width();
        EXPECT_LE(outputs().geometry().right(), size.width()) << size.width();
    }
}

TEST_F(RouterWindowTests, SaysWhenItAppearsAndWhenItIsClosed) {
    QSignalSpy appearances(window.get(), &RouterWindow::appeared);
    QSignalSpy closings(window.get(), &RouterWindow::closed);
    window->hide();
    window->show();
    EXPECT_EQ(appearances.size(), 1);
    EXPECT_EQ(closings.size(), 0);
    window->close();
    EXPECT_EQ(closings.size(), 1);
}

TEST_F(RouterWindowTests, TakesTheOtherAppearance) {
    const QImage dark = window->grab().toImage();
    EXPECT_EQ(dark.pixel(900, 80), 0xFF15181D);
    look.setMode(AppAppearanceMode::light);
    turn();
    EXPECT_EQ(window->grab().toImage().pixel(900, 80), 0xFFF3F5F7);
}

TEST_F(RouterWindowTests, DeselectsEverythingWithEscapeAndWithAClickOnTheEmptyStage) {
    const auto selectAll = [this] {
        model->setSelectedSourceID(1012);
        model->setSelectedDestinationID(1022);
        model->setSelectedRouteID(model->routes()[0].id);
        turn();
    };
    const auto isAnySelected = [this] {
        return model->selectedSourceID() || model->selectedDestinationID() || model->selectedRouteID();
    };
    model->connect(1011, 1021);
    selectAll();
    row(inputs(), 0).setFocus(Qt::TabFocusReason);
    QTest::keyClick(window->windowHandle(), Qt::Key_Escape);
    EXPECT_FALSE(isAnySelected());
    selectAll();
    auto& graph = tests::only<RouteGraph>(*window);
    QTest::mouseClick(&graph, Qt::LeftButton, {}, graph.rect().bottomLeft() + QPoint(200, -5));
    EXPECT_FALSE(isAnySelected());
}

TEST_F(RouterWindowTests, MarksBothEndsOfTheSelectedConnectionInItsColour) {
    model->connect(1011, 1021);
    model->connect(1012, 1022);
    turn();
    // The second connection's colour.
    const QColor colour = RouteColorPalette::color(model->routes()[1].id, model->routes());
    EXPECT_EQ(row(inputs(), 1).connectionMark(), colour);
    EXPECT_EQ(row(outputs(), 0).connectionMark(), colour);
    EXPECT_EQ(row(inputs(), 0).connectionMark(), std::nullopt);
    model->setSelectedRouteID(std::nullopt);
    turn();
    EXPECT_EQ(row(inputs(), 1).connectionMark(), std::nullopt);
}

TEST_F(RouterWindowTests, HasTheConnectionStandOutWhileTheFocusIsOnTheBin) {
    model->connect(1011, 1021);
    model->connect(1012, 1022);
    turn();
    const auto emphasized = [this] {
        std::vector<bool> result;
        for (const RouteRow* const row : window->findChildren<RouteRow*>()) {
            result.push_back(row->isEmphasized());
        }
        return result;
    };
    button("Delete selected connection").setFocus(Qt::TabFocusReason);
    turn();
    EXPECT_THAT(emphasized(), ElementsAre(false, true));
    button("Delete selected connection").click();
    turn();
    EXPECT_THAT(emphasized(), ElementsAre(true));
    button("Open settings").setFocus(Qt::TabFocusReason);
    turn();
    EXPECT_THAT(emphasized(), ElementsAre(false));
}

TEST_F(RouterWindowTests, HasTheTabKeyGoAsTheEyeDoes) {
    model->connect(1011, 1021);
    model->setSelectedSourceID(1011);
    model->setSelectedDestinationID(1021);
    turn();
    // A device that comes first in its column.
    host->addSource(13, {.displayName = "Accordion", .manufacturer = "Acme", .uniqueID = 1013});
    host->addDestination(23, {.displayName = "Amp", .manufacturer = "Acme", .uniqueID = 1023});
    model->applyEndpointSnapshot();
    model->connect(1013, 1023);
    model->setSelectedSourceID(1013);
    model->setSelectedDestinationID(1023);
    turn();
    ASSERT_EQ(row(inputs(), 0).endpoint().displayName, "Accordion");
    button("Application menu").setFocus(Qt::TabFocusReason);
    QStringList visited;
    for (int step = 0; step < 20; ++step) {
        // Only the first line: the name continues with details of the device.
        visited.append(tests::accessibleName(*QApplication::focusWidget()).section(QLatin1Char('\n'), 0, 0));
        QTest::keyClick(window->windowHandle(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited, QStringList({"Application menu",
                                    "Refresh MIDI devices",
                                    "Open settings",
                                    "Connect",
                                    "Delete selected connection: Accordion to Amp",
                                    "Default",
                                    "Create connection set",
                                    "Duplicate current set",
                                    "Rename current set",
                                    "Filter inputs",
                                    "Show only connected inputs",
                                    "Accordion",
                                    "Accordion",
                                    "Routing stage",
                                    "Filter outputs",
                                    "Show only connected outputs",
                                    "Amp",
                                    "Amp",
                                    "Accordion to Amp",
                                    "Application menu"}));
}

}  // namespace
}  // namespace corvel::ui
