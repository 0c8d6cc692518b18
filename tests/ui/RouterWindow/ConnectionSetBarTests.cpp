#include "ui/RouterWindow/ConnectionSetBar.hpp"

#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/controls/AlertDialog.hpp"
#include "ui/controls/NameField.hpp"
#include "ui/controls/PopUpButton.hpp"
#include "ui/controls/TextButton.hpp"

#include <QPointer>
#include <QTest>

#include <string>
#include <vector>

namespace corvel::ui {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

const char* const kCreate = "Create connection set";
const char* const kDuplicate = "Duplicate current set";
const char* const kRename = "Rename current set";
const char* const kDelete = "Delete current set";

class ConnectionSetBarTests : public tests::WindowModelFixture {
protected:
    ConnectionSetBarTests() {
        startModel();
        window.resize(980, 640);
        bar.resize(980, 44);
        follow(bar);
        window.show();
        turn();
    }

    [[nodiscard]] PopUpButton& sets() { return tests::only<PopUpButton>(bar); }

    /// Opens the dialog of a button.
    AlertDialog& open(const char* button) {
        tests::button(bar, button).click();
        turn();
        return question();
    }

    [[nodiscard]] AlertDialog& question() {
        auto* const dialog = qobject_cast<AlertDialog*>(SheetDialog::topOf(window));
        if (dialog == nullptr) {
            throw std::runtime_error("no dialog is open");
        }
        return *dialog;
    }

    /// Whether the dialog closes, with all that belongs to it.
    [[nodiscard]] bool isAnswered() {
        return turnUntil([this] { return SheetDialog::topOf(window) == nullptr; });
    }

    NameField& field() { return tests::only<NameField>(question()); }

    void answer(const char* button) {
        tests::button(question(), button).click();
        EXPECT_TRUE(isAnswered());
    }

    [[nodiscard]] std::vector<std::string> setNames() const {
        std::vector<std::string> names;
        for (const MIDIRouteSet& set : model->routeSets()) {
            names.push_back(set.name);
        }
        return names;
    }

    /// The dialog's buttons from left to right.
    [[nodiscard]] static QStringList buttonTitles(const AlertDialog& dialog) {
        auto buttons = dialog.findChildren<TextButton*>();
        std::sort(buttons.begin(), buttons.end(),
                  [](const TextButton* left, const TextButton* right) { return tests::isLeftOf(*left, *right); });
        QStringList titles;
        for (TextButton* const button : buttons) {
            titles.append(tests::accessibleName(*button));
        }
        return titles;
    }

    QWidget window;
    ConnectionSetBar bar{*model, look, &window};
};

TEST_F(ConnectionSetBarTests, HasALabelThePopUpAndFourButtonsFromLeftToRight) {
    model->createRouteSet("Live");
    turn();
    EXPECT_EQ(tests::labelTexts(bar), QStringList("Connection Set"));
    EXPECT_TRUE(tests::isLeftOf(tests::named<QLabel>(bar, "Connection Set"), sets()));
    EXPECT_TRUE(tests::isLeftOf(sets(), tests::button(bar, kCreate)));
    EXPECT_TRUE(tests::isLeftOf(tests::button(bar, kCreate), tests::button(bar, kDuplicate)));
    EXPECT_TRUE(tests::isLeftOf(tests::button(bar, kDuplicate), tests::button(bar, kRename)));
    EXPECT_TRUE(tests::isLeftOf(tests::button(bar, kRename), tests::button(bar, kDelete)));
    for (const char* const help : {kCreate, kDuplicate, kRename, kDelete}) {
        EXPECT_EQ(tests::shownToolTip(tests::button(bar, help)), help);
        EXPECT_TRUE(tests::button(bar, help).isEnabled());
    }
}

TEST_F(ConnectionSetBarTests, ListsTheSetsInTheirOrder) {
    model->createRouteSet("Zebra");
    model->createRouteSet("Alpha");
    model->createRouteSet("<b>A & B</b>");
    turn();
    EXPECT_EQ(sets().items(), QStringList({"Default", "Zebra", "Alpha", "<b>A & B</b>"}));
    EXPECT_EQ(sets().chosenIndex(), 3);
    model->selectRouteSet(model->routeSets()[1].id);
    turn();
    EXPECT_EQ(sets().chosenIndex(), 1);
    model->renameSelectedRouteSet("Lion");
    turn();
    EXPECT_EQ(sets().items()[1], "Lion");
}

TEST_F(ConnectionSetBarTests, TellsScreenReadersTheCurrentSet) {
    model->createRouteSet("Live");
    turn();
    QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(&sets());
    const QString said = interface->text(QAccessible::Name) + interface->text(QAccessible::Value) +
                         interface->text(QAccessible::Description);
    EXPECT_TRUE(said.contains("Connection Set"));
    EXPECT_TRUE(said.contains("Live"));
}

TEST_F(ConnectionSetBarTests, SelectsTheSetThatTheUserChooses) {
    model->createRouteSet("Live");
    turn();
    emit sets().itemChosen(0);
    EXPECT_EQ(model->selectedRouteSetID(), model->routeSets()[0].id);
    EXPECT_EQ(model->statusMessage(), "Loaded set \"Default\"");
    turn();
    EXPECT_EQ(sets().chosenIndex(), 0);
}

TEST_F(ConnectionSetBarTests, SelectsTheSetThatWasListedAlsoWhenTheListHasChangedSince) {
    model->createRouteSet("Live");
    model->createRouteSet("Studio");
    turn();
    const UUID studio = model->routeSets()[2].id;
    model->selectRouteSet(model->routeSets()[0].id);
    model->deleteSelectedRouteSet();
    emit sets().itemChosen(2);
    EXPECT_EQ(model->selectedRouteSetID(), studio);
}

TEST_F(ConnectionSetBarTests, DoesNothingForTheCurrentSet) {
    emit sets().itemChosen(0);
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
}

TEST_F(ConnectionSetBarTests, AsksForTheNameOfANewSet) {
    AlertDialog& dialog = open(kCreate);
    EXPECT_EQ(tests::labelTexts(dialog), QStringList({"New Connection Set", "Create an empty connection set."}));
    EXPECT_EQ(buttonTitles(dialog), QStringList({"Cancel", "OK"}));
    EXPECT_EQ(field().text(), "New Set");
    EXPECT_EQ(field().selectedText(), "New Set");
    EXPECT_EQ(field().size(), QSize(260, 24));
    EXPECT_NE(tests::accessibleName(field()), "");
    EXPECT_TRUE(field().hasFocus());
    EXPECT_TRUE(AlertDialog::isAnyOpen());
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set"));
    EXPECT_EQ(model->selectedRouteSetName(), "New Set");
    EXPECT_EQ(model->statusMessage(), "Created set \"New Set\"");
}

TEST_F(ConnectionSetBarTests, ProposesANameThatIsFree) {
    model->createRouteSet("New Set");
    open(kCreate);
    EXPECT_EQ(field().text(), "New Set 2");
    answer("OK");
    open(kCreate);
    EXPECT_EQ(field().text(), "New Set 3");
}

TEST_F(ConnectionSetBarTests, AsksForTheNameOfACopy) {
    model->renameSelectedRouteSet("Live");
    model->connect(1011, 1021);
    AlertDialog& dialog = open(kDuplicate);
    EXPECT_EQ(tests::labelTexts(dialog),
              QStringList({"Duplicate Connection Set", "Create a copy of the current connection set."}));
    EXPECT_EQ(buttonTitles(dialog), QStringList({"Cancel", "OK"}));
    EXPECT_EQ(field().text(), "Live Copy");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Live", "Live Copy"));
    EXPECT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(model->statusMessage(), "Duplicated set \"Live Copy\"");

    model->selectRouteSet(model->routeSets()[0].id);
    turn();
    open(kDuplicate);
    EXPECT_EQ(field().text(), "Live Copy 2");
}

TEST_F(ConnectionSetBarTests, AsksForANewNameOfTheCurrentSet) {
    model->renameSelectedRouteSet("Live");
    AlertDialog& dialog = open(kRename);
    EXPECT_EQ(tests::labelTexts(dialog), QStringList({"Rename Connection Set", "Rename the current connection set."}));
    EXPECT_EQ(buttonTitles(dialog), QStringList({"Cancel", "OK"}));
    EXPECT_EQ(field().text(), "Live");
    QTest::keyClicks(&field(), "Studio");
    EXPECT_EQ(field().text(), "Studio");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Studio"));
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Studio\"");
}

TEST_F(ConnectionSetBarTests, AsksBeforeASetIsDeleted) {
    model->createRouteSet("Stage");
    turn();
    AlertDialog& dialog = open(kDelete);
    EXPECT_EQ(tests::labelTexts(dialog),
              QStringList({"Delete Connection Set",
                           "Delete \"Stage\"? The devices and other connection sets will not be changed."}));
    EXPECT_EQ(buttonTitles(dialog), QStringList({"Cancel", "Delete"}));
    EXPECT_EQ(dialog.findChildren<QLineEdit*>().size(), 0);
    EXPECT_TRUE(AlertDialog::isAnyOpen());
    answer("Delete");
    EXPECT_THAT(setNames(), ElementsAre("Default"));
    EXPECT_EQ(model->statusMessage(), "Deleted set \"Stage\"");
}

TEST_F(ConnectionSetBarTests, ShowsEveryCharacterOfTheNameInTheQuestion) {
    model->createRouteSet("<b>A & B</b>");
    turn();
    AlertDialog& dialog = open(kDelete);
    EXPECT_EQ(tests::labelTexts(dialog)[1],
              "Delete \"<b>A & B</b>\"? The devices and other connection sets will not be changed.");
    for (const QLabel* const label : dialog.findChildren<QLabel*>()) {
        EXPECT_TRUE(label->text().isEmpty() || label->textFormat() == Qt::PlainText);
    }
    answer("Cancel");
    open(kRename);
    EXPECT_EQ(field().text(), "<b>A & B</b>");
}

TEST_F(ConnectionSetBarTests, KeepsTheQuestionInTheWindowWithALongName) {
    model->createRouteSet(std::string(10'000, 'n'));
    turn();
    AlertDialog& dialog = open(kDelete);
    EXPECT_LE(dialog.width(), 980);
    EXPECT_LE(dialog.height(), 640);
    answer("Cancel");
    open(kRename);
    EXPECT_EQ(field().text().size(), 10'000);
    EXPECT_LE(question().width(), 980);
}

TEST_F(ConnectionSetBarTests, CannotDeleteTheOnlySetAndSaysWhy) {
    QAbstractButton& remove = tests::button(bar, kDelete);
    EXPECT_FALSE(remove.isEnabled());
    EXPECT_EQ(tests::shownToolTip(remove), "The only connection set cannot be deleted");
    model->createRouteSet("Live");
    turn();
    EXPECT_TRUE(remove.isEnabled());
    EXPECT_EQ(tests::shownToolTip(remove), kDelete);
    open(kDelete);
    answer("Delete");
    turn();
    EXPECT_THAT(setNames(), ElementsAre("Default"));
    EXPECT_FALSE(remove.isEnabled());
}

TEST_F(ConnectionSetBarTests, DoesNothingOnCancel) {
    model->createRouteSet("Live");
    for (const char* const button : {kCreate, kDuplicate, kRename, kDelete}) {
        open(button);
        answer("Cancel");
        EXPECT_THAT(setNames(), ElementsAre("Default", "Live")) << button;
        EXPECT_EQ(model->statusMessage(), "Created set \"Live\"");
    }
}

TEST_F(ConnectionSetBarTests, DoesNothingOnEscape) {
    model->createRouteSet("Live");
    for (const char* const button : {kCreate, kDuplicate, kRename, kDelete}) {
        open(button);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(window.windowHandle(), Qt::Key_Escape);
        EXPECT_TRUE(isAnswered());
        EXPECT_THAT(setNames(), ElementsAre("Default", "Live")) << button;
        EXPECT_EQ(model->statusMessage(), "Created set \"Live\"");
    }
}

TEST_F(ConnectionSetBarTests, AppliesTheFirstButtonOnReturnAndOnEnter) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        open(kCreate);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        QTest::keyClicks(&field(), "Live");
        QTest::keyClick(window.windowHandle(), key);
        EXPECT_TRUE(isAnswered());
    }
    EXPECT_THAT(setNames(), ElementsAre("Default", "Live", "Live 2"));

    open(kDelete);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(window.windowHandle(), Qt::Key_Return);
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(setNames(), ElementsAre("Default", "Live"));
}

TEST_F(ConnectionSetBarTests, AppliesOnceOnly) {
    open(kCreate);
    QAbstractButton& ok = tests::button(question(), "OK");
    ok.click();
    ok.click();
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set"));
}

TEST_F(ConnectionSetBarTests, IsAnsweredByScreenReaders) {
    tests::pressAccessibly(tests::button(bar, kCreate));
    turn();
    tests::pressAccessibly(tests::button(question(), "OK"));
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set"));
    tests::pressAccessibly(tests::button(bar, kDelete));
    turn();
    tests::pressAccessibly(tests::button(question(), "Cancel"));
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set"));
}

TEST_F(ConnectionSetBarTests, TrimsTheName) {
    open(kCreate);
    field().setText("  Live\t");
    answer("OK");
    open(kRename);
    field().setText("\u00A0\u3000 On Stage \u2028\u2029");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "On Stage"));
}

TEST_F(ConnectionSetBarTests, LeavesABlankNameToTheModel) {
    open(kCreate);
    field().setText("   ");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set"));
    open(kDuplicate);
    field().setText("");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set", "New Set Copy"));
    open(kRename);
    field().setText(" ");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "New Set", "New Set Copy"));
    EXPECT_EQ(model->statusMessage(), "Renamed set \"New Set Copy\"");
}

TEST_F(ConnectionSetBarTests, LeavesADuplicateNameToTheModel) {
    open(kCreate);
    field().setText("Default");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "Default 2"));
    open(kRename);
    field().setText(" Default");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "Default 2"));
}

TEST_F(ConnectionSetBarTests, KeepsEveryCharacterOfAName) {
    open(kCreate);
    field().setText("<i>Grün & 🎹</i> \"x\"");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Default", "<i>Grün & 🎹</i> \"x\""));
}

TEST_F(ConnectionSetBarTests, TakesAQuestionBackWhenAnotherSetBecomesTheCurrentOne) {
    model->createRouteSet("Live");
    for (const char* const button : {kDuplicate, kRename, kDelete}) {
        open(button);
        model->selectRouteSet(model->routeSets()[model->selectedRouteSetName() == "Live" ? 0 : 1].id);
        EXPECT_TRUE(isAnswered()) << button;
        EXPECT_THAT(setNames(), ElementsAre("Default", "Live")) << button;
    }
}

TEST_F(ConnectionSetBarTests, NeverDeletesAnotherSetThanTheOneItAskedAbout) {
    model->createRouteSet("Live");
    turn();
    open(kDelete);
    // The press and the change happen in one turn of the main loop.
    model->selectRouteSet(model->routeSets()[0].id);
    tests::button(question(), "Delete").click();
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(setNames(), ElementsAre("Default", "Live"));
}

TEST_F(ConnectionSetBarTests, NeverRenamesAnotherSetThanTheOneItAskedAbout) {
    model->createRouteSet("Live");
    open(kRename);
    field().setText("Studio");
    model->selectRouteSet(model->routeSets()[0].id);
    tests::button(question(), "OK").click();
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(setNames(), ElementsAre("Default", "Live"));
}

TEST_F(ConnectionSetBarTests, KeepsAQuestionWhileItsSetStaysTheCurrentOne) {
    open(kRename);
    model->connect(1011, 1021);
    model->refreshDevices();
    turn();
    field().setText("Live");
    answer("OK");
    EXPECT_THAT(setNames(), ElementsAre("Live"));
    EXPECT_THAT(model->routes(), SizeIs(1));
}

}  // namespace
}  // namespace corvel::ui
