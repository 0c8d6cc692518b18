#include "ui/RouterWindow/SettingsSheet.hpp"

#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/RouterWindow/AppearanceChoice.hpp"
#include "ui/RouterWindow/DiagnosticRow.hpp"
#include "ui/RouterWindow/DiagnosticsView.hpp"
#include "ui/controls/AlertDialog.hpp"
#include "ui/controls/ChoiceCard.hpp"
#include "ui/controls/TabButton.hpp"

#include <QPointer>
#include <QTest>

namespace corvel::ui {
namespace {

class SettingsSheetTests : public tests::WindowModelFixture {
protected:
    SettingsSheetTests() {
        window.resize(980, 640);
        window.show();
        makeSheet();
    }

    void makeSheet() {
        sheet = new SettingsSheet(*model, look, &window);
        follow(*sheet);
        sheet->show();
        turn();
    }

    ChoiceCard& card(const QString& title) { return tests::named<ChoiceCard>(*sheet, title); }
    TabButton& tab(const QString& title) { return tests::named<TabButton>(*sheet, title); }

    QWidget window;
    QPointer<SettingsSheet> sheet;
};

TEST_F(SettingsSheetTests, HasItsSizeAndTitle) {
    EXPECT_EQ(sheet->size(), QSize(620, 460));
    EXPECT_EQ(tests::labelTexts(*sheet), QStringList({"Settings", "Appearance", "Notes"}));
}

TEST_F(SettingsSheetTests, IsAsLargeAsASmallWindowLetsItBe) {
    window.resize(800, 426);
    EXPECT_EQ(sheet->geometry(), QRect(90, 8, 620, 410));
    window.resize(980, 640);
    EXPECT_EQ(sheet->geometry(), QRect(180, 90, 620, 460));
}

TEST_F(SettingsSheetTests, BelongsToTheWindowAlone) {
    EXPECT_EQ(SheetDialog::topOf(window), sheet);
    EXPECT_FALSE(AlertDialog::isAnyOpen());
}

TEST_F(SettingsSheetTests, IsClosedByDone) {
    tests::button(*sheet, "Done").click();
    EXPECT_TRUE(turnUntil([this] { return sheet.isNull(); }));
}

TEST_F(SettingsSheetTests, IsClosedByEscape) {
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_TRUE(turnUntil([this] { return sheet.isNull(); }));
}

TEST_F(SettingsSheetTests, ShowsOneOfTwoPagesUnderItsTab) {
    EXPECT_EQ(sheet->findChildren<TabButton*>().size(), 2);
    EXPECT_TRUE(tests::isLeftOf(tab("General"), tab("Debug")));
    EXPECT_TRUE(tab("General").isActive());
    EXPECT_FALSE(tab("Debug").isActive());
    EXPECT_TRUE(tests::only<AppearanceChoice>(*sheet).isVisible());
    EXPECT_FALSE(tests::only<DiagnosticsView>(*sheet).isVisible());

    tab("Debug").click();
    EXPECT_FALSE(tab("General").isActive());
    EXPECT_TRUE(tab("Debug").isActive());
    EXPECT_FALSE(tests::only<AppearanceChoice>(*sheet).isVisible());
    EXPECT_TRUE(tests::only<DiagnosticsView>(*sheet).isVisible());
    EXPECT_EQ(tests::labelTexts(*sheet).value(1), "Diagnostics");

    tests::pressAccessibly(tab("General"));
    EXPECT_TRUE(tests::only<AppearanceChoice>(*sheet).isVisible());
}

TEST_F(SettingsSheetTests, OffersLightAndDarkInThisOrder) {
    EXPECT_EQ(sheet->findChildren<ChoiceCard*>().size(), 2);
    EXPECT_TRUE(tests::isLeftOf(card("Light"), card("Dark")));
    EXPECT_FALSE(card("Light").isChosen());
    EXPECT_TRUE(card("Dark").isChosen());
}

TEST_F(SettingsSheetTests, ChangesTheAppearance) {
    card("Light").click();
    EXPECT_EQ(model->appearanceMode(), AppAppearanceMode::light);
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), "light");
    turn();
    EXPECT_TRUE(card("Light").isChosen());
    EXPECT_FALSE(card("Dark").isChosen());

    tests::pressAccessibly(card("Dark"));
    EXPECT_EQ(model->appearanceMode(), AppAppearanceMode::dark);
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), "dark");
}

TEST_F(SettingsSheetTests, SwitchesWhetherHeldNotesAreReleased) {
    auto& held = tests::button(*sheet, "Release held notes when a connection changes");
    EXPECT_FALSE(held.isChecked());
    held.click();
    EXPECT_TRUE(model->releasesHeldNotes());
    EXPECT_EQ(settings->string("Corvel.releasesHeldNotes"), "true");
    delete sheet;
    makeSheet();
    auto& again = tests::button(*sheet, "Release held notes when a connection changes");
    EXPECT_TRUE(again.isChecked());
    tests::pressAccessibly(again);
    EXPECT_FALSE(model->releasesHeldNotes());
}

TEST_F(SettingsSheetTests, StoresNothingForThePresentAppearance) {
    card("Dark").click();
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), std::nullopt);
    turn();
    EXPECT_TRUE(card("Dark").isChosen());
}

TEST_F(SettingsSheetTests, OpensWithTheStoredAppearance) {
    model->setAppearanceMode(AppAppearanceMode::light);
    delete sheet;
    makeSheet();
    EXPECT_TRUE(card("Light").isChosen());
    EXPECT_FALSE(card("Dark").isChosen());
}

TEST_F(SettingsSheetTests, FollowsTheDiagnosticsWhileItIsOpen) {
    tab("Debug").click();
    EXPECT_EQ(sheet->findChildren<DiagnosticRow*>().size(), 0);
    model->midiRouterEngineDidLog(*engine, MIDIDiagnosticEvent{UUID::random(), clock->now(), "a"});
    turn();
    EXPECT_EQ(sheet->findChildren<DiagnosticRow*>().size(), 1);
    EXPECT_TRUE(tests::button(*sheet, "Copy diagnostics").isEnabled());
}

TEST_F(SettingsSheetTests, OpensWithTheDiagnosticsThatThereAre) {
    delete sheet;
    model->midiRouterEngineDidLog(*engine, MIDIDiagnosticEvent{UUID::random(), clock->now(), "a"});
    turn();
    makeSheet();
    EXPECT_EQ(sheet->findChildren<DiagnosticRow*>().size(), 1);
}

}  // namespace
}  // namespace corvel::ui
