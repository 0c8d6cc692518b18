#include "ui/RouterWindow/RouteList.hpp"

#include "tests/ui/support/RouteListFixture.hpp"

#include <QLabel>
#include <QPointer>
#include <QProxyStyle>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RouteListTests : public RouteListFixture {
protected:
    static std::vector<MIDIRoute> manyRoutes(std::uint32_t count) {
        std::vector<MIDIRoute> routes;
        for (std::uint32_t number = 1; number <= count; ++number) {
            routes.push_back(route(number, {{}}));
        }
        return routes;
    }

    [[nodiscard]] std::vector<UUID> shownIDs() const {
        std::vector<UUID> ids;
        for (const ui::RouteRow* const shown : rows()) {
            ids.push_back(shown->routeID());
        }
        return ids;
    }

    [[nodiscard]] QColor pixel(int x, int y) const { return list->grab().toImage().pixelColor(x, y); }
};

/// Longer than any animation.
constexpr std::chrono::milliseconds kQuietTime(400);

const QColor kHairline(0x2A3038);
const QColor kSelectedQuiet(0x182636);
const QColor kSelectedEdge(0x35608F);

TEST_F(RouteListTests, TakesItsShareOfTheWindow) {
    EXPECT_EQ(ui::RouteList::heightIn(640, true), 184);
    EXPECT_EQ(ui::RouteList::heightIn(760, true), 228);
    EXPECT_EQ(ui::RouteList::heightIn(1080, true), 343);
    EXPECT_EQ(ui::RouteList::heightIn(404, true), 180);
    EXPECT_EQ(ui::RouteList::heightIn(300, true), 76) << "96 for the stage";
    EXPECT_EQ(ui::RouteList::heightIn(200, true), 0);
    EXPECT_EQ(ui::RouteList::heightIn(200, false), 0);
    EXPECT_EQ(ui::RouteList::heightIn(1080, false), 40);
}

TEST_F(RouteListTests, HasAHeadingUnderADivider) {
    show({});
    auto* const heading = list->findChild<QLabel*>();
    EXPECT_EQ(heading->text(), "Connections");
    EXPECT_EQ(heading->font().pixelSize(), 13);
    EXPECT_EQ(heading->font().weight(), QFont::DemiBold);
    EXPECT_EQ(pixel(600, 0), kHairline);
    EXPECT_EQ(pixel(600, 1), QColor(0x15181D));
    EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(RouteListTests, ShowsTheConnectionsInTheirOrder) {
    show(manyRoutes(3));
    EXPECT_THAT(shownIDs(), ElementsAre(makeID(1), makeID(2), makeID(3)));
    EXPECT_EQ(row(0).mapTo(list.get(), QPoint()).y(), 36);
    EXPECT_EQ(row(1).mapTo(list.get(), QPoint()).y(), 84);
    EXPECT_EQ(row(2).height(), 48);
    EXPECT_EQ(row(2).width(), 1180);
}

TEST_F(RouteListTests, MakesTheFirstRowsOfManyAtOnceAndTheOthersSoon) {
    showSets({MIDIRouteSet(makeID(9000), "Few", manyRoutes(1)), MIDIRouteSet(makeID(9001), "Many", [] {
                  std::vector<MIDIRoute> routes;
                  for (std::uint32_t number = 1001; number <= 1100; ++number) {
                      routes.push_back(route(number, {{}}));
                  }
                  return routes;
              }())});
    model->selectRouteSet(makeID(9001));
    list->refresh(ui::ModelChanges::all());
    EXPECT_EQ(rows().size(), 16U);
    EXPECT_TRUE(turnUntil([this] { return rows().size() == 100; }));
    EXPECT_EQ(rows().back()->routeID(), makeID(1100));
    EXPECT_EQ(rows().back()->y(), 99 * 48);
    EXPECT_TRUE(turnUntil([this] { return list->findChildren<ui::RouteRow*>().size() == 100; }));
}

TEST_F(RouteListTests, ScrollsToASelectedConnectionOnceItsRowIsMade) {
    showSets({MIDIRouteSet(makeID(9000), "None", {}), MIDIRouteSet(makeID(9001), "Many", manyRoutes(100))});
    model->selectRouteSet(makeID(9001));
    model->setSelectedRouteID(makeID(80));
    // The middle of the row is in the middle of the four visible rows.
    EXPECT_TRUE(turnUntil([this] { return scrollValue() == 79 * 48 + 24 - 96; }));
}

TEST_F(RouteListTests, ScrollsUpForAnotherSet) {
    std::vector<MIDIRoute> others;
    for (std::uint32_t number = 1001; number <= 1020; ++number) {
        others.push_back(route(number, {{}}));
    }
    showSets({MIDIRouteSet(makeID(9000), "First", manyRoutes(20)), MIDIRouteSet(makeID(9001), "Second", others)});
    scrollArea().verticalScrollBar()->setValue(300);
    model->selectRouteSet(makeID(9001));
    turn();
    EXPECT_EQ(scrollValue(), 0);
}

TEST_F(RouteListTests, KeepsTheRowsOfConnectionsThatStay) {
    show(manyRoutes(3));
    const std::vector<ui::RouteRow*> before = rows();
    model->setSelectedRouteID(makeID(2));
    model->deleteSelectedRoute();
    turn();
    EXPECT_THAT(rows(), ElementsAre(before[0], before[2]));
    EXPECT_EQ(before[2]->mapTo(list.get(), QPoint()).y(), 84);
    // Its colour is that of its place.
    EXPECT_EQ(swatch(*before[2]).colour().rgb(), QColor(0xD1, 0x33, 0xA8).rgb());

    model->connect(1012, 1022);
    turn();
    ASSERT_EQ(rows().size(), 3U);
    EXPECT_EQ(rows()[0], before[0]);
    EXPECT_EQ(row(2).accessibleName(), "Pads to Drums");
}

TEST_F(RouteListTests, DeletesTheRowsOfConnectionsThatGo) {
    show(manyRoutes(2));
    const QPointer<ui::RouteRow> gone = &row(0);
    model->createRouteSet("Other");
    turn();
    EXPECT_TRUE(gone.isNull());
    EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(RouteListTests, GoesThroughTheRowsInTheirOrder) {
    // The second set also has the first set's connection, between others: its row is older than theirs.
    showSets({MIDIRouteSet(makeID(9000), "One", {route(2, {{}})}),
              MIDIRouteSet(makeID(9001), "Two", {route(1, {{}}), route(2, {{}}), route(3, {{}})})});
    const ui::RouteRow* const older = &row(0);
    model->selectRouteSet(makeID(9001));
    turn();
    ASSERT_EQ(&row(1), older);
    row(0).setFocus(Qt::TabFocusReason);
    std::vector<QWidget*> visited;
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Home, Qt::Key_End}) {
        press(*list, key);
        visited.push_back(QApplication::focusWidget());
    }
    EXPECT_THAT(visited, ElementsAre(&row(1), &row(2), &row(2), &row(0), &row(2)));
    EXPECT_EQ(model->selectedRouteID(), makeID(3));
}

TEST_F(RouteListTests, GoesFromARowToWhatIsInItByLeftAndRight) {
    show({route(1, {{}}), route(2, {{3}, {4}})});
    row(0).setFocus(Qt::TabFocusReason);
    std::vector<QWidget*> visited;
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Left, Qt::Key_Left,
                              Qt::Key_Left, Qt::Key_Left}) {
        press(*list, key);
        visited.push_back(QApplication::focusWidget());
    }
    // "As Is" cannot be edited or deleted.
    EXPECT_THAT(visited, ElementsAre(&picker(row(0)), &addButton(row(0)), &enableButton(row(0)), &enableButton(row(0)),
                                     &addButton(row(0)), &picker(row(0)), &row(0), &row(0)));

    addButton(row(0)).setFocus(Qt::TabFocusReason);
    press(*list, Qt::Key_Down);
    EXPECT_TRUE(addButton(row(1)).hasFocus());
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
}

TEST_F(RouteListTests, IsOneStopOfTheTabKey) {
    show(manyRoutes(3));
    model->setSelectedRouteID(makeID(2));
    turn();
    std::vector<const QWidget*> stops;
    for (const QWidget* const view : list->findChildren<QWidget*>()) {
        if ((view->focusPolicy() & Qt::TabFocus) != 0 && view->isVisibleTo(list.get())) {
            stops.push_back(view);
        }
    }
    EXPECT_EQ(stops.size(), 1U);
}

TEST_F(RouteListTests, ScrollsToWhatGetsTheFocus) {
    show(manyRoutes(12));
    ASSERT_TRUE(turnUntil([this] { return scrollArea().verticalScrollBar()->maximum() > 0; }));
    enableButton(row(11)).setFocus(Qt::OtherFocusReason);
    turn();
    EXPECT_EQ(scrollValue(), scrollArea().verticalScrollBar()->maximum());
}

TEST_F(RouteListTests, DeletesTheSelectedConnectionAndKeepsTheFocus) {
    show(manyRoutes(3));
    model->setSelectedRouteID(makeID(2));
    turn();
    row(1).setFocus(Qt::TabFocusReason);
    press(*list, Qt::Key_Delete);
    ASSERT_EQ(model->routes().size(), 2U);
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
    EXPECT_TRUE(row(0).hasFocus());
}

TEST_F(RouteListTests, SelectsTheConnectionThatGetsAnotherChannel) {
    show(manyRoutes(3));
    model->setSelectedRouteID(makeID(1));
    click(addButton(row(2)));
    EXPECT_EQ(model->selectedRouteID(), makeID(3));
    ASSERT_NE(dialog(), nullptr);
    const QString name = QStringLiteral("%1 to %2").arg(names(row(2)).input(), names(row(2)).output());
    const QList<QLabel*> labels = dialog()->findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(labels, [&](const QLabel* label) { return label->text() == name; }));
}

TEST_F(RouteListTests, SelectsTheConnectionThatIsClicked) {
    show(manyRoutes(3));
    click(row(1));
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    EXPECT_TRUE(row(1).isSelected());
    QTest::mouseClick(&names(row(2)), Qt::LeftButton);
    turn();
    EXPECT_EQ(model->selectedRouteID(), makeID(3));
    EXPECT_FALSE(row(1).isSelected());
    QTest::mouseClick(&swatch(row(0)), Qt::LeftButton);
    turn();
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
}

TEST_F(RouteListTests, ShowsTheSelectionAsACardBetweenRowsWithoutDividers) {
    show(manyRoutes(4));
    model->setSelectedRouteID(makeID(2));
    // In each row, x 600 is beside all texts and controls.
    ASSERT_TRUE(turnUntil([&] { return pixel(600, 84) == kSelectedEdge; })) << "selected row";
    EXPECT_EQ(pixel(600, 108), kSelectedQuiet);
    EXPECT_EQ(pixel(600, 36), QColor(0x15181D)) << "first row";
    EXPECT_EQ(pixel(600, 132), QColor(0x15181D)) << "row under it";
    EXPECT_EQ(pixel(600, 180), kHairline) << "last row";
    EXPECT_EQ(pixel(55, 180), QColor(0x15181D));
    EXPECT_EQ(pixel(56, 180), kHairline);
    EXPECT_EQ(pixel(1163, 180), kHairline);
    EXPECT_EQ(pixel(7, 108), QColor(0x15181D)) << "beside the card";
    EXPECT_EQ(pixel(9, 108), kSelectedQuiet);
}

TEST_F(RouteListTests, MovesTheSelectionByArrowKeysBetweenRows) {
    show(manyRoutes(3));
    click(row(0));
    row(0).setFocus(Qt::TabFocusReason);
    press(*list, Qt::Key_Down);
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    EXPECT_TRUE(row(1).hasFocus());
    press(*list, Qt::Key_Down);
    press(*list, Qt::Key_Down);
    EXPECT_EQ(model->selectedRouteID(), makeID(3)) << "nothing comes after the last";
    press(*list, Qt::Key_Up);
    press(*list, Qt::Key_Up);
    press(*list, Qt::Key_Up);
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
    EXPECT_TRUE(row(0).hasFocus());
    press(*list, Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
}

TEST_F(RouteListTests, SelectsByTheSpaceBarAndReturn) {
    show(manyRoutes(2));
    row(1).setFocus(Qt::TabFocusReason);
    press(*list, Qt::Key_Space);
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    row(0).setFocus(Qt::TabFocusReason);
    press(*list, Qt::Key_Return);
    EXPECT_EQ(model->selectedRouteID(), makeID(1));
}

// 192 pixels of 40 rows are visible. Row 20 is from 960 to 1008, so the list must scroll to 888.
TEST_F(RouteListTests, ScrollsTheSelectedRowToTheMiddle) {
    show(manyRoutes(40));
    model->setSelectedRouteID(makeID(21));
    EXPECT_TRUE(turnUntil([&] { return scrollValue() == 888; })) << scrollValue();
}

TEST_F(RouteListTests, ScrollsNoFurtherThanThereAreRows) {
    show(manyRoutes(40));
    model->setSelectedRouteID(makeID(40));
    EXPECT_TRUE(turnUntil([&] { return scrollValue() == 40 * 48 - 192; })) << scrollValue();
    model->setSelectedRouteID(makeID(1));
    EXPECT_TRUE(turnUntil([&] { return scrollValue() == 0; })) << scrollValue();
}

TEST_F(RouteListTests, ScrollsToAConnectionThatIsNew) {
    show(manyRoutes(40));
    model->connect(1012, 1022);
    EXPECT_TRUE(turnUntil([&] { return scrollValue() == 41 * 48 - 192; })) << scrollValue();
}

TEST_F(RouteListTests, ScrollsToTheMiddleOfTheHeightThatItGetsAfterwards) {
    showSets({MIDIRouteSet(makeID(9000), "None", {}), MIDIRouteSet(makeID(9001), "Many", manyRoutes(40))}, {1180, 40});
    model->selectRouteSet(makeID(9001));
    model->setSelectedRouteID(makeID(21));
    turn();
    list->resize(1180, 228);
    EXPECT_TRUE(turnUntil([&] { return scrollValue() == 888; })) << scrollValue();
}

TEST_F(RouteListTests, StaysWhereItIsUnlessTheSelectionChanges) {
    show(manyRoutes(40));
    model->setSelectedRouteID(makeID(21));
    ASSERT_TRUE(turnUntil([&] { return scrollValue() == 888; }));
    ASSERT_FALSE(turnUntil([&] { return scrollValue() != 888; }, kQuietTime)) << "the movement has ended";
    scrollArea().verticalScrollBar()->setValue(100);
    model->setRouteEnabled(makeID(21), false);
    model->setSelectedRouteID(makeID(21));
    EXPECT_FALSE(turnUntil([&] { return scrollValue() != 100; }, kQuietTime)) << "the same selection";
    model->setSelectedRouteID(std::nullopt);
    turn();
    model->setSelectedRouteID(makeID(777));
    EXPECT_FALSE(turnUntil([&] { return scrollValue() != 100; }, kQuietTime)) << "none in the list";
}

TEST_F(RouteListTests, ScrollsInAFifthOfASecond) {
    show(manyRoutes(40));
    model->setSelectedRouteID(makeID(40));
    std::vector<int> values;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(turnUntil([&] {
        values.push_back(scrollValue());
        return scrollValue() == 40 * 48 - 192;
    }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(170));
    EXPECT_TRUE(std::ranges::is_sorted(values));
    const auto moving = std::ranges::count_if(values, [](int value) { return value > 0 && value < 40 * 48 - 192; });
    EXPECT_GT(moving, 0);
}

/// A desktop whose animations are switched off.
class StillStyle final : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override {
        return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, returned);
    }
};

TEST_F(RouteListTests, ScrollsAtOnceWhereAnimationsAreSwitchedOff) {
    StillStyle style;
    show(manyRoutes(40));
    list->setStyle(&style);
    turn();
    model->setSelectedRouteID(makeID(40));
    std::vector<int> values;
    ASSERT_TRUE(turnUntil([&] {
        values.push_back(scrollValue());
        return scrollValue() == 40 * 48 - 192;
    }));
    for (const int value : values) {
        EXPECT_TRUE(value == 0 || value == 40 * 48 - 192) << value;
    }
    list.reset();
}

TEST_F(RouteListTests, ShowsTheNewestMessageInRowsThatCanBeSeen) {
    show(manyRoutes(40));
    report(makeID(1), {0xF8});
    report(makeID(30), {0x90, 0x3C, 0x64});
    ASSERT_TRUE(turnUntil([&] { return names(row(0)).status() == "As Is / Active / Clock F8"; }));
    EXPECT_EQ(names(row(29)).status(), "As Is / Active / No MIDI yet") << "is not looked up out of sight";
    model->setSelectedRouteID(makeID(30));
    EXPECT_TRUE(turnUntil([&] { return names(row(29)).status() == "As Is / Active / Note 90 3C 64"; }));
}

TEST_F(RouteListTests, RepaintsOnlyTheStatusOfARowWithTraffic) {
    /// Counts what is painted.
    class PaintCounter final : public QObject {
    public:
        int count = 0;
        QRegion region;
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            if (event->type() == QEvent::Paint) {
                ++count;
                region |= static_cast<QPaintEvent*>(event)->region();
            }
            return false;
        }
    };
    show(manyRoutes(3));
    ASSERT_TRUE(turnUntil([&] { return list->isVisible(); }));
    PaintCounter withTraffic;
    PaintCounter without;
    names(row(0)).installEventFilter(&withTraffic);
    names(row(1)).installEventFilter(&without);
    report(makeID(1), {0xF8});
    ASSERT_TRUE(turnUntil([&] { return withTraffic.count > 0; }));
    EXPECT_EQ(withTraffic.region.boundingRect(), QRect(0, 25, 784, 17));
    EXPECT_EQ(without.count, 0);
    const int before = withTraffic.count;
    report(makeID(1), {0xF8});
    EXPECT_FALSE(turnUntil([&] { return withTraffic.count > before; }, kQuietTime)) << "the text is the same";
}

TEST_F(RouteListTests, TakesTheColoursOfTheOtherAppearance) {
    show(manyRoutes(2));
    look.setMode(AppAppearanceMode::light);
    turn();
    EXPECT_EQ(pixel(600, 10), QColor(0xF3F5F7));
    EXPECT_EQ(pixel(600, 60), QColor(0xF3F5F7));
    EXPECT_EQ(pixel(600, 84), QColor(0xDADFE6));
}

}  // namespace
}  // namespace corvel::tests
