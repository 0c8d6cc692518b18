#include "ui/RouterWindow/RouteRow.hpp"

#include "tests/ui/support/RouteListFixture.hpp"

namespace corvel::tests {
namespace {

using enum KeyboardShortcutModifier;
using ::testing::ElementsAre;

const KeyboardShortcutSpec kCommand1{"1", {command}};
const KeyboardShortcutSpec kOptionShiftP{"p", {option, shift}};

class RouteRowTests : public RouteListFixture {};

TEST_F(RouteRowTests, ShowsInputAndOutputByTheNamesTheyHaveNow) {
    show({route(1, {{}})});
    EXPECT_EQ(names(row(0)).input(), "Keys");
    EXPECT_EQ(names(row(0)).output(), "Synth");
}

TEST_F(RouteRowTests, ShowsMissingEndpointsByTheirStoredNames) {
    show({route(1, {{}}, 7777, 8888)});
    EXPECT_EQ(names(row(0)).input(), "Stored Input");
    EXPECT_EQ(names(row(0)).output(), "Stored Output");
}

TEST_F(RouteRowTests, ShowsChannelShortcutAvailabilityAndNewestMessage) {
    show({route(1, {{3, kCommand1}})});
    EXPECT_EQ(names(row(0)).status(), "Ch 3 / ⌘1 / Active / No MIDI yet");

    report(makeID(1), {0x92, 0x3C, 0x64});
    EXPECT_TRUE(turnUntil([&] { return names(row(0)).status() == "Ch 3 / ⌘1 / Active / Note 92 3C 64"; }))
        << names(row(0)).status().toStdString();
}

TEST_F(RouteRowTests, SaysWhyAConnectionCarriesNothing) {
    MIDIRoute paused = route(1, {{}});
    paused.isEnabled = false;
    show({paused, route(2, {{16}}, 7777, 1021), route(3, {{}}, 1011, 8888), route(4, {{}}, 7777, 8888)}, {1180, 400});
    EXPECT_EQ(names(row(0)).status(), "As Is / Paused / No MIDI yet");
    EXPECT_EQ(names(row(1)).status(), "Ch 16 / Input Offline / No MIDI yet");
    EXPECT_EQ(names(row(2)).status(), "As Is / Output Offline / No MIDI yet");
    EXPECT_EQ(names(row(3)).status(), "As Is / Offline / No MIDI yet");
}

TEST_F(RouteRowTests, WarnsOfAConnectionThatFeedsBack) {
    host->addSource(14, {.displayName = "Through", .uniqueID = 1014, .port = 7});
    host->addDestination(24, {.displayName = "Through", .uniqueID = 1024, .port = 7});
    model->refreshDevices();
    turn();
    show({route(1, {{}}, 1014, 1024), route(2, {{}})});
    const QString warning = "Feeds back / As Is / Active / No MIDI yet";
    EXPECT_EQ(names(row(0)).status(), warning);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&row(0))->text(QAccessible::Description), warning);
    EXPECT_EQ(names(row(1)).status(), "As Is / Active / No MIDI yet");
    const auto warningPixels = [&](const ui::RouteRow& shown) {
        const QImage image = names(shown).grab().toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < 14; ++x) {
                count += image.pixelColor(x, y) == QColor(0xF2, 0xB5, 0x44) ? 1 : 0;
            }
        }
        return count;
    };
    EXPECT_GT(warningPixels(row(0)), 10) << "the triangle";
    EXPECT_EQ(warningPixels(row(1)), 0);
    model->setRouteEnabled(makeID(1), false);
    turn();
    EXPECT_EQ(names(row(0)).status(), "As Is / Paused / No MIDI yet");
    EXPECT_EQ(warningPixels(row(0)), 0);
}

TEST_F(RouteRowTests, FollowsAnEndpointThatIsUnpluggedAndComesBack) {
    show({route(1, {{}})});
    unplugSource(11);
    model->refreshDevices();
    turn();
    EXPECT_EQ(names(row(0)).status(), "As Is / Input Offline / No MIDI yet");
    EXPECT_TRUE(swatch(row(0)).isDashed());

    host->sources.push_back(11);
    model->refreshDevices();
    turn();
    EXPECT_EQ(names(row(0)).status(), "As Is / Active / No MIDI yet");
    EXPECT_FALSE(swatch(row(0)).isDashed());
}

TEST_F(RouteRowTests, ShowsTheColourOfItsPlaceAsALine) {
    MIDIRoute paused = route(2, {{}});
    paused.isEnabled = false;
    show({route(1, {{}}), paused});
    EXPECT_EQ(swatch(row(0)).colour().rgb(), QColor(0x26, 0x7A, 0xEB).rgb());
    EXPECT_FALSE(swatch(row(0)).isDashed());
    EXPECT_EQ(swatch(row(1)).colour().rgb(), QColor(0xD1, 0x33, 0xA8).rgb());
    EXPECT_TRUE(swatch(row(1)).isDashed());
    EXPECT_EQ(swatch(row(0)).toolTip(), "Connection line color");

    const QImage solid = swatch(row(0)).grab().toImage();
    const QImage dashed = swatch(row(1)).grab().toImage();
    EXPECT_EQ(solid.pixelColor(9, 16), QColor(0x26, 0x7A, 0xEB));
    EXPECT_EQ(dashed.pixelColor(4, 16), QColor(0xD1, 0x33, 0xA8));
    EXPECT_NE(dashed.pixelColor(9, 16), QColor(0xD1, 0x33, 0xA8)) << "between the dashes";
    EXPECT_EQ(dashed.pixelColor(15, 16), QColor(0xD1, 0x33, 0xA8));
}

TEST_F(RouteRowTests, HasEverythingAboutTheConnectionInTheTooltipOfItsNames) {
    show({route(1, {{3, kOptionShiftP}}), route(2, {{}})});
    EXPECT_EQ(names(row(0)).toolTip(), "Keys\nto\nSynth\nCh 3\nCh 3\nActive\n⌥⇧P\nAlt+Shift+P");
    EXPECT_EQ(names(row(1)).toolTip(), "Keys\nto\nSynth\nAs Is\nAs Is\nActive");
}

TEST_F(RouteRowTests, OffersTheAssignmentsInTheirOrderWithTheActiveOneTicked) {
    MIDIRoute connection = route(1, {{}, {3, kCommand1}, {16}});
    ASSERT_TRUE(connection.setActiveVariant(makeID(101)));
    show({connection});
    EXPECT_EQ(picker(row(0)).text(), "Ch 3 (⌘1)");
    EXPECT_EQ(picker(row(0)).toolTip(), "Ch 3\n⌘1\nKeys\nSynth\nCtrl+1");
    EXPECT_EQ(picker(row(0)).items(), (QStringList{"As Is", "Ch 3 (⌘1)", "Ch 16"}));

    click(picker(row(0)));
    ASSERT_NE(openMenu(), nullptr);
    std::vector<std::string> titles;
    for (const QAction* const action : openMenu()->actions()) {
        titles.push_back(action->text().toStdString() + (action->icon().isNull() ? "" : " *"));
    }
    EXPECT_THAT(titles, ElementsAre("As Is", "Ch 3 (⌘1) *", "Ch 16"));
    EXPECT_EQ(openMenu()->actions()[1]->toolTip(), "Ctrl+1");
    openMenu()->close();
}

TEST_F(RouteRowTests, ActivatesTheAssignmentThatIsChosen) {
    show({route(1, {{}}), route(2, {{}, {3}})});
    click(picker(row(1)));
    openMenu()->actions()[1]->trigger();
    turn();
    EXPECT_EQ(model->routes()[1].activeVariantID, makeID(201));
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 3");
    EXPECT_EQ(picker(row(1)).text(), "Ch 3");
    EXPECT_EQ(model->selectedRouteID(), makeID(2));
    QApplication::activePopupWidget()->close();
}

TEST_F(RouteRowTests, ActivatesWhatAnOpenMenuShowsAlthoughTheAssignmentsChangedMeanwhile) {
    show({route(1, {{2}, {3}, {4}})});
    click(picker(row(0)));
    QMenu* const menu = openMenu();
    model->deleteActiveVariant(makeID(1));
    turn();
    EXPECT_EQ(picker(row(0)).items(), (QStringList{"Ch 3", "Ch 4"}));
    // The menu's second item still reads Ch 3.
    menu->actions()[1]->trigger();
    EXPECT_EQ(model->routes()[0].activeVariantID, makeID(101));
    // The first one is deleted.
    menu->actions()[0]->trigger();
    EXPECT_EQ(model->routes()[0].activeVariantID, makeID(101));
    menu->close();
}

TEST_F(RouteRowTests, GivesUpAnOpenMenuWithTheConnection) {
    show({route(1, {{2}, {3}}), route(2, {{5}, {6}})});
    click(picker(row(0)));
    ASSERT_NE(openMenu(), nullptr);
    model->setSelectedRouteID(makeID(1));
    model->deleteSelectedRoute();
    turn();
    EXPECT_EQ(openMenu(), nullptr);
    EXPECT_EQ(rows().size(), 1U);
}

TEST_F(RouteRowTests, RefusesToEditOrDeleteAsIs) {
    show({route(1, {{}, {3}})});
    EXPECT_FALSE(editButton(row(0)).isEnabled());
    EXPECT_EQ(editButton(row(0)).toolTip(), "As Is output cannot be edited");
    EXPECT_FALSE(deleteButton(row(0)).isEnabled());
    EXPECT_EQ(deleteButton(row(0)).toolTip(), "As Is output cannot be deleted");
}

TEST_F(RouteRowTests, RefusesToDeleteTheOnlyAssignment) {
    show({route(1, {{3}})});
    EXPECT_TRUE(editButton(row(0)).isEnabled());
    EXPECT_EQ(editButton(row(0)).toolTip(), "Edit selected output channel");
    EXPECT_FALSE(deleteButton(row(0)).isEnabled());
    EXPECT_EQ(deleteButton(row(0)).toolTip(), "A connection needs at least one output channel");
}

TEST_F(RouteRowTests, DeletesTheActiveAssignment) {
    show({route(1, {{3}, {4}})});
    EXPECT_TRUE(deleteButton(row(0)).isEnabled());
    EXPECT_EQ(deleteButton(row(0)).toolTip(), "Delete selected output channel");
    click(deleteButton(row(0)));
    EXPECT_EQ(model->statusMessage(), "Deleted output channel Ch 3");
    EXPECT_EQ(picker(row(0)).items(), QStringList{"Ch 4"});
    EXPECT_FALSE(deleteButton(row(0)).isEnabled());
}

TEST_F(RouteRowTests, DisablesAndEnablesTheConnection) {
    show({route(1, {{}})});
    EXPECT_EQ(enableButton(row(0)).toolTip(), "Disable connection");
    click(enableButton(row(0)));
    EXPECT_FALSE(model->routes()[0].isEnabled);
    EXPECT_EQ(enableButton(row(0)).toolTip(), "Enable connection");
    EXPECT_EQ(names(row(0)).status(), "As Is / Paused / No MIDI yet");
    click(enableButton(row(0)));
    EXPECT_TRUE(model->routes()[0].isEnabled);
    EXPECT_EQ(enableButton(row(0)).toolTip(), "Disable connection");
}

TEST_F(RouteRowTests, ExplainsTheAddButton) {
    show({route(1, {{}})});
    EXPECT_TRUE(addButton(row(0)).isEnabled());
    EXPECT_EQ(addButton(row(0)).toolTip(), "Add output channel for this connection");
}

TEST_F(RouteRowTests, ShowsNamesThatLookLikeMarkupAsTheyAre) {
    host->properties[11].displayName = "<b>x</b>";
    host->properties[21].displayName = "A & B %1";
    show({route(1, {{}})});
    EXPECT_EQ(names(row(0)).input(), "<b>x</b>");
    EXPECT_EQ(names(row(0)).output(), "A & B %1");
    EXPECT_EQ(row(0).accessibleName(), "<b>x</b> to A & B %1");
    EXPECT_TRUE(names(row(0)).toolTip().contains("&lt;b&gt;x&lt;/b&gt;\nto\nA &amp; B %1"));
}

TEST_F(RouteRowTests, CanBePressedAndReadByAScreenReader) {
    show({route(1, {{3}}), route(2, {{}}, 1012, 1022)});
    QAccessibleInterface* const item = QAccessible::queryAccessibleInterface(&row(1));
    EXPECT_EQ(item->text(QAccessible::Name), "Pads to Drums");
    EXPECT_EQ(item->text(QAccessible::Description), "As Is / Active / No MIDI yet");
    ASSERT_NE(item->actionInterface(), nullptr);
    item->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(turnUntil([&] { return model->selectedRouteID() == makeID(2); }));
    turn();
    EXPECT_EQ(item->text(QAccessible::Description), "As Is / Active / No MIDI yet");
    EXPECT_EQ(item->role(), QAccessible::ListItem);
    EXPECT_TRUE(item->state().selected);
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(&row(0))->state().selected);
}

TEST_F(RouteRowTests, TellsItsControlsFromThoseOfOtherRows) {
    show({route(1, {{3}, {4}}), route(2, {{3}, {4}}, 1012, 1022)});
    const std::vector<std::pair<QWidget*, std::string>> controls{
        {&picker(row(1)), "Ch 3"},
        {&addButton(row(1)), "Add output channel for this connection"},
        {&editButton(row(1)), "Edit selected output channel"},
        {&deleteButton(row(1)), "Delete selected output channel"},
        {&enableButton(row(1)), "Disable connection"},
    };
    for (const auto& [control, name] : controls) {
        const QAccessibleInterface* const item = QAccessible::queryAccessibleInterface(control);
        EXPECT_EQ(item->text(QAccessible::Name).toStdString(), name);
        EXPECT_EQ(item->text(QAccessible::Description), "Pads to Drums") << name;
        EXPECT_NE(control->focusPolicy(), Qt::NoFocus) << name;
    }
}

TEST_F(RouteRowTests, ShortensNamesInTheirMiddleAndLeavesTheOutputItsPart) {
    const QString longName = QString("Begin ") + QString(400, 'x') + " End";
    host->properties[11].displayName = longName.toStdString();
    host->properties[21].displayName = longName.toStdString();
    show({route(1, {{}})});
    // 784 pixels at x 56, less arrow and gaps: the input ends within its 55 %, then comes the arrow.
    const QImage line = names(row(0)).grab().toImage();
    const auto hasInk = [&](int from, int to) {
        const QRgb ground = line.pixel(0, 0);
        for (int x = from; x < to; ++x) {
            for (int y = 6; y < 25; ++y) {
                if (line.pixel(x, y) != ground) {
                    return true;
                }
            }
        }
        return false;
    };
    const int width = line.width();
    EXPECT_EQ(width, 784);
    EXPECT_TRUE(hasInk(width / 3, width / 3 + 20)) << "in the middle of the input";
    EXPECT_TRUE(hasInk(width - 40, width)) << "at the end of the output";
    bool hasGap = false;
    for (int x = 420; x < 450; ++x) {
        hasGap = hasGap || !hasInk(x, x + 7);
    }
    EXPECT_TRUE(hasGap) << "between input and arrow";
}

TEST_F(RouteRowTests, SaysTheNewestMessageToAScreenReaderThatAsks) {
    show({route(1, {{}})});
    report(makeID(1), {0x90, 60, 100});
    turn();
    list->refresh(ui::ModelChanges::all());
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&row(0))->text(QAccessible::Description),
              "As Is / Active / Note 90 3C 64");
    // Not stored, so that changes are not announced.
    EXPECT_EQ(row(0).accessibleDescription(), "");
}

}  // namespace
}  // namespace corvel::tests
