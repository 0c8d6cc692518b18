#include "ui/RouterWindow/EndpointColumn.hpp"

#include "tests/ui/support/DragEvents.hpp"
#include "tests/ui/support/EndpointBuilders.hpp"
#include "tests/ui/support/ViewProbe.hpp"
#include "ui/RouterWindow/EndpointFilterBar.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"
#include "ui/RouterWindow/EndpointSelectionDetails.hpp"
#include "ui/controls/LookScrollArea.hpp"

#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace corvel::ui {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;
using tests::makeInput;
using tests::makeOutput;

using Direction = MIDIEndpointDirection;

class EndpointColumnTests : public ::testing::Test {
protected:
    EndpointColumnTests() {
        window.resize(600, 404);
        inputs.setGeometry(0, 0, 300, 404);
        outputs.setGeometry(300, 0, 300, 404);
        window.show();
        turn();
    }

    static void turn() {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }

    [[nodiscard]] static std::vector<std::string> names(const EndpointColumn& column) {
        std::vector<std::string> names;
        for (const EndpointRow* const row : column.rows()) {
            names.push_back(row->endpoint().displayName);
        }
        return names;
    }

    [[nodiscard]] static EndpointConnectorYPositions positions(const EndpointColumn& column) {
        EndpointConnectorYPositions positions;
        column.reportConnectorPositions(positions);
        return positions;
    }

    [[nodiscard]] static std::vector<MIDIEndpointModel> manyInputs(int count) {
        std::vector<MIDIEndpointModel> endpoints;
        for (int id = 1; id <= count; ++id) {
            endpoints.push_back(makeInput(id, "Input " + std::to_string(id)));
        }
        return endpoints;
    }

    Look look{AppAppearanceMode::dark};
    QWidget window;
    EndpointColumn inputs{look, "Input", Direction::source, &window};
    EndpointColumn outputs{look, "Output", Direction::destination, &window};
};

TEST_F(EndpointColumnTests, HasItsTitleAbove) {
    EXPECT_EQ(tests::labelTexts(inputs), QStringList("Input"));
    EXPECT_EQ(tests::labelTexts(outputs), QStringList("Output"));
}

TEST_F(EndpointColumnTests, ListsTheEndpointsInTheirOrder) {
    inputs.setEndpoints({makeInput(3, "Zither"), makeInput(1, "Alpha"), makeInput(2, "Alpha")});
    EXPECT_THAT(names(inputs), ElementsAre("Zither", "Alpha", "Alpha"));
    EXPECT_EQ(inputs.rows()[1]->endpoint().id, 1);
    EXPECT_EQ(inputs.rows()[2]->endpoint().id, 2);
}

TEST_F(EndpointColumnTests, PutsEightPixelsBetweenRowsOfForty) {
    inputs.setEndpoints(manyInputs(3));
    turn();
    const std::vector<EndpointRow*>& rows = inputs.rows();
    ASSERT_EQ(rows.size(), 3U);
    for (int index = 0; index < 3; ++index) {
        const EndpointRow& row = *rows[static_cast<std::size_t>(index)];
        EXPECT_EQ(row.mapTo(&inputs, QPoint()).y(), 40 + 48 * index);
        EXPECT_EQ(row.height(), 40);
    }
}

TEST_F(EndpointColumnTests, DocksItsRowsAtTheStage) {
    inputs.setEndpoints({makeInput(1, "Keys")});
    outputs.setEndpoints({makeOutput(2, "Synth")});
    turn();
    // Twelve pixels are free on the outer side, and only the hairline at the stage.
    EXPECT_EQ(inputs.rows()[0]->mapTo(&window, QPoint()).x(), 12);
    EXPECT_GE(inputs.rows()[0]->mapTo(&window, QPoint(inputs.rows()[0]->width(), 0)).x(), 299);
    EXPECT_LE(outputs.rows()[0]->mapTo(&window, QPoint()).x(), 301);
    EXPECT_EQ(outputs.rows()[0]->mapTo(&window, QPoint(outputs.rows()[0]->width(), 0)).x(), 588);
}

TEST_F(EndpointColumnTests, KeepsTheRowsOfEndpointsThatStay) {
    inputs.setEndpoints({makeInput(1, "Keys"), makeInput(2, "Pads"), makeInput(3, "Knobs")});
    const QPointer<EndpointRow> keys = inputs.rows()[0];
    const QPointer<EndpointRow> pads = inputs.rows()[1];
    const QPointer<EndpointRow> knobs = inputs.rows()[2];

    inputs.setEndpoints({makeInput(3, "Dials"), makeInput(4, "Foot"), makeInput(1, "Keys")});
    turn();
    EXPECT_THAT(names(inputs), ElementsAre("Dials", "Foot", "Keys"));
    EXPECT_EQ(inputs.rows()[0], knobs.data());
    EXPECT_EQ(inputs.rows()[2], keys.data());
    EXPECT_TRUE(pads.isNull());
    EXPECT_EQ(knobs->mapTo(&inputs, QPoint()).y(), 40);
    EXPECT_EQ(keys->mapTo(&inputs, QPoint()).y(), 136);
}

TEST_F(EndpointColumnTests, ShowsARowForEachOfTwoEndpointsWithOneID) {
    inputs.setEndpoints({makeInput(1, "Keys"), makeInput(1, "Pads")});
    turn();
    EXPECT_THAT(names(inputs), ElementsAre("Keys", "Pads"));
    inputs.setEndpoints({makeInput(1, "Pads")});
    turn();
    EXPECT_THAT(names(inputs), ElementsAre("Pads"));
    EXPECT_EQ(inputs.findChildren<EndpointRow*>().size(), 1);
    inputs.setEndpoints({});
    turn();
    EXPECT_THAT(names(inputs), IsEmpty());
}

TEST_F(EndpointColumnTests, ReportsTheRowThatTheUserClicks) {
    inputs.setEndpoints({makeInput(1011, "Keys"), makeInput(-5, "Pads")});
    std::vector<std::int32_t> selected;
    QObject::connect(&inputs, &EndpointColumn::endpointSelected, &inputs,
                     [&selected](std::int32_t id) { selected.push_back(id); });
    QTest::mouseClick(inputs.rows()[1], Qt::LeftButton);
    tests::pressAccessibly(*inputs.rows()[0]);
    EXPECT_THAT(selected, ElementsAre(-5, 1011));
    // Only the model changes the selection.
    EXPECT_FALSE(inputs.rows()[0]->isSelected());
    EXPECT_EQ(inputs.selectedEndpoint(), nullptr);
}

TEST_F(EndpointColumnTests, ReportsWhatIsDroppedWithTheRowsOwnID) {
    outputs.setEndpoints({makeOutput(1021, "Synth"), makeOutput(1022, "Drums")});
    std::vector<std::pair<std::int32_t, std::int32_t>> dropped;
    QObject::connect(
        &outputs, &EndpointColumn::connectionRequested, &outputs,
        [&dropped](std::int32_t source, std::int32_t destination) { dropped.emplace_back(source, destination); });
    tests::drop(*outputs.rows()[1], "app.corvel.source:1011");
    turn();
    EXPECT_THAT(dropped, ElementsAre(Pair(1011, 1022)));
}

TEST_F(EndpointColumnTests, ReportsAnOutputThatIsDroppedOnAnInput) {
    inputs.setEndpoints({makeInput(1011, "Keys")});
    std::vector<std::pair<std::int32_t, std::int32_t>> dropped;
    QObject::connect(
        &inputs, &EndpointColumn::connectionRequested, &inputs,
        [&dropped](std::int32_t source, std::int32_t destination) { dropped.emplace_back(source, destination); });
    tests::drop(*inputs.rows()[0], "app.corvel.destination:1022");
    turn();
    EXPECT_THAT(dropped, ElementsAre(Pair(1011, 1022)));
}

TEST_F(EndpointColumnTests, ShowsTheEndpointsWhoseNamesHaveEveryWordOfTheFilter) {
    inputs.setEndpoints({makeInput(1, "Stage Piano"), makeInput(2, "Grand piano left"), makeInput(3, "Pads")},
                        {{3, "My Piano"}});
    inputs.filter().type("PIANO");
    EXPECT_THAT(names(inputs), ElementsAre("Stage Piano", "Grand piano left", "Pads"));
    inputs.filter().type(" gra");
    EXPECT_THAT(names(inputs), ElementsAre("Grand piano left"));
    inputs.filter().type("x");
    EXPECT_THAT(names(inputs), IsEmpty());
    EXPECT_THAT(tests::labelTexts(inputs), QStringList({"Input", "No input matches the filter"}));
    inputs.filter().clear();
    EXPECT_THAT(names(inputs), ElementsAre("Stage Piano", "Grand piano left", "Pads"));
}

TEST_F(EndpointColumnTests, ShowsOnlyConnectedEndpointsIfAsked) {
    inputs.setEndpoints(manyInputs(4));
    inputs.setConnectedEndpoints({2, 4});
    QTest::mouseClick(&tests::button(inputs, "Show only connected inputs"), Qt::LeftButton);
    EXPECT_THAT(names(inputs), ElementsAre("Input 2", "Input 4"));
    inputs.setConnectedEndpoints({1});
    EXPECT_THAT(names(inputs), ElementsAre("Input 1"));
    QTest::mouseClick(&tests::button(inputs, "Show all inputs"), Qt::LeftButton);
    EXPECT_EQ(names(inputs).size(), 4U);
}

TEST_F(EndpointColumnTests, CountsEndpointsThatTheFilterLeavesOutAsBelowAllRows) {
    inputs.setEndpoints(manyInputs(2));
    inputs.filter().type("2");
    turn();
    EXPECT_THAT(positions(inputs), UnorderedElementsAre(Pair(EndpointPositionKey{Direction::source, 2}, 60),
                                                        Pair(EndpointPositionKey{Direction::source, 1}, 405)));
    inputs.centreEndpoint(1);
    EXPECT_EQ(names(inputs).size(), 2U);
}

TEST_F(EndpointColumnTests, KeepsTheDetailsOfASelectedEndpointThatTheFilterLeavesOut) {
    inputs.setEndpoints(manyInputs(2));
    inputs.setSelection(1);
    inputs.filter().type("2");
    ASSERT_NE(inputs.selectedEndpoint(), nullptr);
    EXPECT_EQ(inputs.selectedEndpoint()->id, 1);
}

TEST_F(EndpointColumnTests, BeginsItsFilterWithWhatIsTypedOnARow) {
    inputs.setEndpoints(manyInputs(12));
    window.activateWindow();
    inputs.rows()[0]->setFocus();
    QTest::keyClicks(inputs.rows()[0], "1");
    EXPECT_EQ(names(inputs).size(), 4U);
    EXPECT_TRUE(inputs.filter().isFieldFocused());
    QTest::keyClick(inputs.rows()[0], Qt::Key_Escape);
    EXPECT_EQ(names(inputs).size(), 12U);
}

TEST_F(EndpointColumnTests, MarksTheSelectedEndpointAlone) {
    inputs.setEndpoints(manyInputs(3));
    inputs.setSelection(2);
    EXPECT_FALSE(inputs.rows()[0]->isSelected());
    EXPECT_TRUE(inputs.rows()[1]->isSelected());
    EXPECT_FALSE(inputs.rows()[2]->isSelected());
    ASSERT_NE(inputs.selectedEndpoint(), nullptr);
    EXPECT_EQ(inputs.selectedEndpoint()->displayName, "Input 2");

    inputs.setSelection(std::nullopt);
    EXPECT_FALSE(inputs.rows()[1]->isSelected());
    EXPECT_EQ(inputs.selectedEndpoint(), nullptr);
}

TEST_F(EndpointColumnTests, ShowsDetailsOfTheSelectedEndpointWhileItIsThere) {
    auto& details = tests::only<EndpointSelectionDetails>(inputs);
    inputs.setEndpoints(manyInputs(3));
    EXPECT_FALSE(details.isVisibleTo(&inputs));
    inputs.setSelection(2);
    EXPECT_TRUE(details.isVisibleTo(&inputs));
    inputs.setSelection(99);
    EXPECT_FALSE(details.isVisibleTo(&inputs));
    EXPECT_EQ(inputs.selectedEndpoint(), nullptr);

    inputs.setEndpoints(manyInputs(99));
    EXPECT_TRUE(details.isVisibleTo(&inputs));
    EXPECT_TRUE(inputs.rows()[98]->isSelected());
    inputs.setEndpoints({});
    EXPECT_FALSE(details.isVisibleTo(&inputs));
}

TEST_F(EndpointColumnTests, FollowsANewNameInTheDetails) {
    inputs.setEndpoints({makeInput(1, "Keys")});
    inputs.setSelection(1);
    inputs.setEndpoints({makeInput(1, "Piano")});
    ASSERT_NE(inputs.selectedEndpoint(), nullptr);
    EXPECT_EQ(inputs.selectedEndpoint()->displayName, "Piano");
    const auto buttons = tests::only<EndpointSelectionDetails>(inputs).findChildren<QAbstractButton*>();
    ASSERT_EQ(buttons.size(), 1);
    EXPECT_THAT(tests::accessibleName(*buttons[0]).toStdString() +
                    QAccessible::queryAccessibleInterface(buttons[0])->text(QAccessible::Description).toStdString(),
                ::testing::HasSubstr("Piano"));
}

TEST_F(EndpointColumnTests, ReportsTheMiddleOfEachRowInTheWindow) {
    inputs.setEndpoints({makeInput(5, "Keys"), makeInput(-7, "Pads")});
    outputs.setGeometry(300, 100, 300, 304);
    outputs.setEndpoints({makeOutput(5, "Synth")});
    turn();
    EXPECT_THAT(positions(inputs), UnorderedElementsAre(Pair(EndpointPositionKey{Direction::source, 5}, 60),
                                                        Pair(EndpointPositionKey{Direction::source, -7}, 108)));
    EXPECT_THAT(positions(outputs), UnorderedElementsAre(Pair(EndpointPositionKey{Direction::destination, 5}, 160)));
}

TEST_F(EndpointColumnTests, AddsItsPositionsToThoseOfOthers) {
    inputs.setEndpoints({makeInput(5, "Keys")});
    outputs.setEndpoints({makeOutput(5, "Synth")});
    turn();
    EndpointConnectorYPositions merged;
    inputs.reportConnectorPositions(merged);
    outputs.reportConnectorPositions(merged);
    EXPECT_THAT(merged, UnorderedElementsAre(Pair(EndpointPositionKey{Direction::source, 5}, 60),
                                             Pair(EndpointPositionKey{Direction::destination, 5}, 60)));
}

TEST_F(EndpointColumnTests, ReportsRowsThatAreOutOfSight) {
    inputs.setEndpoints(manyInputs(40));
    turn();
    const EndpointConnectorYPositions reported = positions(inputs);
    EXPECT_EQ(reported.size(), 40U);
    EXPECT_EQ(reported.at({Direction::source, 40}), 60 + 39 * 48);
}

TEST_F(EndpointColumnTests, ReportsRowsAgainAfterScrolling) {
    inputs.setEndpoints(manyInputs(40));
    turn();
    QSignalSpy changes(&inputs, &EndpointColumn::connectorPositionsChanged);
    tests::only<LookScrollArea>(inputs).verticalScrollBar()->setValue(100);
    turn();
    EXPECT_GE(changes.size(), 1);
    EXPECT_EQ(positions(inputs).at({Direction::source, 1}), 60 - 100);
    EXPECT_EQ(positions(inputs).at({Direction::source, 40}), 60 + 39 * 48 - 100);
}

TEST_F(EndpointColumnTests, SaysWhenNewRowsHaveMovedOthers) {
    inputs.setEndpoints({makeInput(1, "Keys")});
    turn();
    QSignalSpy changes(&inputs, &EndpointColumn::connectorPositionsChanged);
    inputs.setEndpoints({makeInput(2, "Harp"), makeInput(1, "Keys")});
    turn();
    EXPECT_GE(changes.size(), 1);
    EXPECT_EQ(positions(inputs).at({Direction::source, 1}), 108);
}

TEST_F(EndpointColumnTests, IsOneStopOfTheTabKey) {
    inputs.setEndpoints(manyInputs(3));
    turn();
    int stops = 0;
    for (const EndpointRow* const row : inputs.rows()) {
        stops += (row->focusPolicy() & Qt::TabFocus) != 0 ? 1 : 0;
    }
    EXPECT_EQ(stops, 1);
}

TEST_F(EndpointColumnTests, MovesTheFocusWithUpAndDown) {
    inputs.setEndpoints(manyInputs(3));
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    inputs.rows()[0]->setFocus(Qt::TabFocusReason);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_TRUE(inputs.rows()[1]->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_TRUE(inputs.rows()[2]->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    EXPECT_TRUE(inputs.rows()[1]->hasFocus());
    EXPECT_NE(inputs.rows()[1]->focusPolicy() & Qt::TabFocus, 0);
}

TEST_F(EndpointColumnTests, HasAStopOfTheTabKeyWhenTheRowWithItGoes) {
    inputs.setEndpoints(manyInputs(3));
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    inputs.rows()[0]->setFocus(Qt::TabFocusReason);
    inputs.setEndpoints({makeInput(2, "Input 2"), makeInput(3, "Input 3")});
    turn();
    int stops = 0;
    for (const EndpointRow* const row : inputs.rows()) {
        stops += (row->focusPolicy() & Qt::TabFocus) != 0 ? 1 : 0;
    }
    EXPECT_EQ(stops, 1);
}

TEST_F(EndpointColumnTests, GivesTheFocusOfARowThatGoesToItsNeighbour) {
    inputs.setEndpoints(manyInputs(3));
    outputs.setEndpoints({makeOutput(7, "Synth")});
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    inputs.rows()[2]->setFocus(Qt::TabFocusReason);
    inputs.setEndpoints({makeInput(1, "Input 1"), makeInput(2, "Input 2")});
    turn();
    EXPECT_TRUE(inputs.rows()[1]->hasFocus());
    inputs.rows()[0]->setFocus(Qt::TabFocusReason);
    inputs.setEndpoints({makeInput(2, "Input 2")});
    turn();
    EXPECT_TRUE(inputs.rows()[0]->hasFocus());
    inputs.setEndpoints({});
    turn();
    EXPECT_FALSE(outputs.rows()[0]->hasFocus());
}

TEST_F(EndpointColumnTests, GoesToTheFirstAndTheLastRowWithHomeAndEndAndShowsThem) {
    inputs.setEndpoints(manyInputs(40));
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    turn();
    inputs.rows()[0]->setFocus(Qt::TabFocusReason);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_End);
    EXPECT_TRUE(inputs.rows()[39]->hasFocus());
    EXPECT_FALSE(inputs.rows()[39]->visibleRegion().isEmpty());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Home);
    EXPECT_TRUE(inputs.rows()[0]->hasFocus());
    inputs.rows()[20]->setFocus(Qt::OtherFocusReason);
    EXPECT_FALSE(inputs.rows()[20]->visibleRegion().isEmpty());
}

}  // namespace
}  // namespace corvel::ui
