#include "ui/RouterWindow/ChannelAssignmentDialog.hpp"

#include "tests/ui/support/RouteListFixture.hpp"
#include "ui/RouterWindow/ChannelAssignmentView.hpp"
#include "ui/RouterWindow/VerticallyCenteredLabelField.hpp"
#include "ui/controls/TextButton.hpp"

#include <QAction>
#include <QLabel>
#include <QShortcut>

namespace corvel::tests {
namespace {

using enum KeyboardShortcutModifier;
using ::testing::Contains;
using ::testing::ElementsAre;

const KeyboardShortcutSpec kCommand1{"1", {command}};

class ChannelAssignmentDialogTests : public RouteListFixture {
protected:
    void openAdd(std::size_t index = 0) {
        click(addButton(row(index)));
        ASSERT_NE(dialog(), nullptr);
        dialog()->activateWindow();
        turn();
    }
    void openEdit(std::size_t index = 0) {
        click(editButton(row(index)));
        ASSERT_NE(dialog(), nullptr);
        dialog()->activateWindow();
        turn();
    }

    [[nodiscard]] ui::ChannelAssignmentView& editor() const {
        return *dialog()->findChild<ui::ChannelAssignmentView*>();
    }
    [[nodiscard]] ui::PopUpButton& channelPicker() const { return *editor().findChild<ui::PopUpButton*>(); }
    [[nodiscard]] ui::VerticallyCenteredLabelField& shortcutField() const {
        return *editor().findChild<ui::VerticallyCenteredLabelField*>();
    }
    [[nodiscard]] ui::IconButton& clearButton() const { return *editor().findChild<ui::IconButton*>(); }
    [[nodiscard]] ui::TextButton& cancelButton() const { return *dialog()->findChildren<ui::TextButton*>().at(0); }
    [[nodiscard]] ui::TextButton& okButton() const { return *dialog()->findChildren<ui::TextButton*>().at(1); }

    void choose(int index) {
        click(channelPicker());
        openMenu()->actions()[index]->trigger();
        openMenu()->close();
        turn();
    }

    [[nodiscard]] std::vector<std::string> assignments(std::size_t index = 0) const {
        std::vector<std::string> result;
        for (const MIDIRouteVariant& variant : model->routes()[index].variants) {
            result.push_back(variant.channelMode->title() +
                             (variant.shortcut ? " " + variant.shortcut->title() : std::string()) +
                             (variant.id == model->routes()[index].activeVariantID ? "*" : ""));
        }
        return result;
    }
};

TEST_F(ChannelAssignmentDialogTests, AsksForAChannelToAdd) {
    show({route(1, {{3, kCommand1}})});
    openAdd();
    std::vector<std::string> texts;
    for (const QLabel* const label : dialog()->findChildren<QLabel*>()) {
        texts.push_back(label->text().toStdString());
    }
    EXPECT_THAT(texts, Contains("Add Output Channel"));
    EXPECT_THAT(texts,
                Contains("Choose the output channel and optionally press a shortcut while this dialog is open."));
    EXPECT_THAT(texts, Contains("Channel"));
    EXPECT_THAT(texts, Contains("Shortcut"));
    EXPECT_THAT(texts, Contains("Use a modifier: ⌘1, ⌥⇧P"));
    EXPECT_EQ(okButton().text(), "OK");
    EXPECT_EQ(cancelButton().text(), "Cancel");
    EXPECT_GT(okButton().x(), cancelButton().x());
    EXPECT_EQ(dialog()->windowTitle(), "Add Output Channel");
    EXPECT_TRUE(ui::AlertDialog::isAnyOpen());
    // The connection's channel is in use, so the next one is proposed; shortcuts are not copied.
    EXPECT_EQ(channelPicker().text(), "Ch 4");
    EXPECT_EQ(shortcutField().text(), "No shortcut");
}

TEST_F(ChannelAssignmentDialogTests, AsksForAChannelInTheActiveOnesPlace) {
    show({route(1, {{3, kCommand1}})});
    openEdit();
    std::vector<std::string> texts;
    for (const QLabel* const label : dialog()->findChildren<QLabel*>()) {
        texts.push_back(label->text().toStdString());
    }
    EXPECT_THAT(texts, Contains("Edit Output Channel"));
    EXPECT_THAT(
        texts, Contains("Edit the selected output channel and optionally press a shortcut while this dialog is open."));
    EXPECT_EQ(channelPicker().text(), "Ch 3");
    EXPECT_EQ(shortcutField().text(), "⌘1");
    EXPECT_EQ(shortcutField().toolTip(), "Ctrl+1");
}

TEST_F(ChannelAssignmentDialogTests, HasTheEditorsExactPlaces) {
    show({route(1, {{3, kCommand1}})});
    openEdit();
    EXPECT_EQ(dialog()->width(), 368);
    EXPECT_EQ(editor().size(), QSize(320, 88));
    EXPECT_EQ(channelPicker().geometry(), QRect(90, 0, 160, 28));
    EXPECT_EQ(shortcutField().geometry(), QRect(90, 36, 220, 32));
    EXPECT_EQ(okButton().size(), QSize(156, 36));
    const QList<QLabel*> labels = editor().findChildren<QLabel*>();
    EXPECT_EQ(labels[0]->geometry(), QRect(10, 0, 72, 28));
    EXPECT_EQ(labels[1]->geometry(), QRect(10, 36, 72, 32));
    EXPECT_EQ(labels.last()->geometry(), QRect(0, 74, 320, 14));
    EXPECT_EQ(shortcutField().font().pixelSize(), 17);
}

TEST_F(ChannelAssignmentDialogTests, OffersAsIsAndSixteenChannels) {
    show({route(1, {{}})});
    openAdd();
    const QStringList items = channelPicker().items();
    ASSERT_EQ(items.size(), 17);
    EXPECT_EQ(items[0], "As Is");
    EXPECT_EQ(items[1], "Ch 1");
    EXPECT_EQ(items[16], "Ch 16");
}

TEST_F(ChannelAssignmentDialogTests, TakesAChannelThatDoesNotExistForAsIs) {
    for (const int channel : {-1, 0, 17, 1000}) {
        show({route(1, {{channel}})});
        openEdit();
        EXPECT_EQ(channelPicker().text(), "As Is") << channel;
        dialog()->reject();
        turn();
    }
}

TEST_F(ChannelAssignmentDialogTests, AddsWhatWasChosenAndCaptured) {
    show({route(1, {{}}), route(2, {{3}})});
    openAdd(1);
    choose(16);
    press(*dialog(), Qt::Key_1, Qt::ControlModifier, 10);
    EXPECT_EQ(shortcutField().text(), "⌘1");
    click(okButton());
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_THAT(assignments(0), ElementsAre("As Is*"));
    EXPECT_THAT(assignments(1), ElementsAre("Ch 3", "Ch 16 ⌘1*"));
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 16 with ⌘1");
}

TEST_F(ChannelAssignmentDialogTests, AddsAsIsForTheFirstItem) {
    show({route(1, {{3}})});
    openAdd();
    choose(0);
    click(okButton());
    EXPECT_THAT(assignments(), ElementsAre("Ch 3", "As Is*"));
}

TEST_F(ChannelAssignmentDialogTests, ChangesTheActiveAssignment) {
    show({route(1, {{3, kCommand1}, {4}})});
    openEdit();
    choose(7);
    press(*dialog(), Qt::Key_P, Qt::AltModifier | Qt::ShiftModifier, 33);
    click(okButton());
    EXPECT_THAT(assignments(), ElementsAre("Ch 7 ⌥⇧P*", "Ch 4"));
}

TEST_F(ChannelAssignmentDialogTests, LeavesDuplicatesToTheModel) {
    show({route(1, {{3}, {4}})});
    openAdd();
    choose(4);
    click(okButton());
    EXPECT_EQ(model->statusMessage(), "Channel assignment already exists");
    EXPECT_THAT(assignments(), ElementsAre("Ch 3*", "Ch 4"));
}

TEST_F(ChannelAssignmentDialogTests, ChangesNothingWhenCancelled) {
    show({route(1, {{3, kCommand1}})});
    const std::string status = model->statusMessage();
    openEdit();
    press(*dialog(), Qt::Key_2, Qt::ControlModifier, 11);
    choose(9);
    click(cancelButton());
    EXPECT_EQ(dialog(), nullptr);
    openAdd();
    press(*dialog(), Qt::Key_2, Qt::ControlModifier, 11);
    click(cancelButton());
    EXPECT_THAT(assignments(), ElementsAre("Ch 3 ⌘1*"));
    EXPECT_EQ(model->statusMessage(), status);
}

TEST_F(ChannelAssignmentDialogTests, IsAnsweredByReturnAndEscapeWhateverHasTheFocus) {
    show({route(1, {{3}})});
    int channel = 4;
    for (const int view : {0, 1, 2, 3}) {
        openAdd();
        press(*dialog(), Qt::Key_1, Qt::ControlModifier, 10);
        const auto focus = [&]() -> QWidget& {
            const std::vector<QWidget*> views{&editor(), &channelPicker(), &clearButton(), &okButton()};
            return *views[static_cast<std::size_t>(view)];
        };
        focus().setFocus(Qt::TabFocusReason);
        press(*dialog(), Qt::Key_Escape);
        EXPECT_EQ(dialog(), nullptr) << view;
        EXPECT_EQ(openMenu(), nullptr) << view;
        EXPECT_EQ(model->routes()[0].variants.size(), static_cast<std::size_t>(view + 1));

        openAdd();
        press(*dialog(), Qt::Key_1, Qt::ControlModifier, 10);
        focus().setFocus(Qt::TabFocusReason);
        press(*dialog(), view % 2 == 0 ? Qt::Key_Return : Qt::Key_Enter);
        EXPECT_EQ(dialog(), nullptr) << view;
        EXPECT_EQ(openMenu(), nullptr) << view;
        EXPECT_EQ(assignments().back(), "Ch " + std::to_string(channel) + " ⌘1*");
        EXPECT_EQ(model->statusMessage(), "Added output channel Ch " + std::to_string(channel) + " with ⌘1")
            << "it is added once";
        ++channel;
    }
}

TEST_F(ChannelAssignmentDialogTests, CancelsByReturnOnTheCancelButton) {
    show({route(1, {{3}})});
    openAdd();
    cancelButton().setFocus(Qt::TabFocusReason);
    press(*dialog(), Qt::Key_Return);
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_THAT(assignments(), ElementsAre("Ch 3*"));
}

TEST_F(ChannelAssignmentDialogTests, ListensAtOnce) {
    show({route(1, {{3}})});
    openAdd();
    EXPECT_EQ(dialog()->focusWidget(), &editor());
}

TEST_F(ChannelAssignmentDialogTests, CapturesWhateverHasTheFocus) {
    show({route(1, {{3}})});
    openAdd();
    press(*dialog(), Qt::Key_1, Qt::ControlModifier, 10);
    for (QWidget* const view : std::vector<QWidget*>{&editor(), &channelPicker(), &clearButton(), &cancelButton()}) {
        view->setFocus(Qt::TabFocusReason);
        press(*dialog(), Qt::Key_1, Qt::ControlModifier, 10);
        EXPECT_EQ(shortcutField().text(), "⌘1");
        press(*dialog(), Qt::Key_2, Qt::MetaModifier, 11);
        EXPECT_EQ(shortcutField().text(), "⌃2");
        press(*dialog(), Qt::Key_Space, Qt::ControlModifier, 65);
        EXPECT_EQ(shortcutField().text(), "⌘ ");
        EXPECT_EQ(shortcutField().toolTip(), "Ctrl+Space");
        EXPECT_EQ(openMenu(), nullptr);
        ASSERT_NE(dialog(), nullptr);
    }
}

TEST_F(ChannelAssignmentDialogTests, AcceptsTheKeyBeforeTheToolkitLooksForItsOwnShortcuts) {
    show({route(1, {{3}})});
    openAdd();
    QKeyEvent taken(QEvent::ShortcutOverride, Qt::Key_Q, Qt::ControlModifier, 24, 0, 0);
    taken.setAccepted(false);
    QCoreApplication::sendEvent(list->windowHandle(), &taken);
    EXPECT_TRUE(taken.isAccepted());
    QKeyEvent pressed(QEvent::KeyPress, Qt::Key_Q, Qt::ControlModifier, 24, 0, 0);
    QCoreApplication::sendEvent(list->windowHandle(), &pressed);
    EXPECT_EQ(shortcutField().text(), "⌘Q");

    QKeyEvent left(QEvent::ShortcutOverride, Qt::Key_F10, Qt::NoModifier, 76, 0, 0);
    left.setAccepted(false);
    QCoreApplication::sendEvent(list->windowHandle(), &left);
    EXPECT_TRUE(left.isAccepted()) << "no shortcut of the window behind";
    EXPECT_EQ(shortcutField().text(), "⌘Q");
}

TEST_F(ChannelAssignmentDialogTests, LeavesOtherWindowsTheirKeys) {
    show({route(1, {{3}})});
    openAdd();
    QWidget other;
    QKeyEvent pressed(QEvent::ShortcutOverride, Qt::Key_Q, Qt::ControlModifier, 24, 0, 0);
    pressed.setAccepted(false);
    QCoreApplication::sendEvent(&other, &pressed);
    EXPECT_FALSE(pressed.isAccepted());
    EXPECT_EQ(shortcutField().text(), "No shortcut");
}

TEST_F(ChannelAssignmentDialogTests, CapturesNoKeyWithoutAModifier) {
    show({route(1, {{3}})});
    openAdd();
    for (const Qt::Key key : {Qt::Key_P, Qt::Key_1, Qt::Key_F5, Qt::Key_Control, Qt::Key_Shift}) {
        press(*dialog(), key, {}, key == Qt::Key_P ? 33 : 0);
        ASSERT_NE(dialog(), nullptr);
        EXPECT_EQ(shortcutField().text(), "No shortcut");
    }
    EXPECT_TRUE(shortcutField().toolTip().isEmpty());
}

TEST_F(ChannelAssignmentDialogTests, ClearsTheShortcut) {
    show({route(1, {{3, kCommand1}})});
    openEdit();
    EXPECT_TRUE(clearButton().isVisible());
    EXPECT_EQ(clearButton().toolTip(), "Clear shortcut");
    EXPECT_TRUE(shortcutField().geometry().contains(clearButton().geometry()));
    click(clearButton());
    EXPECT_EQ(shortcutField().text(), "No shortcut");
    EXPECT_FALSE(clearButton().isVisible());
    EXPECT_EQ(dialog()->focusWidget(), &editor());
    click(okButton());
    EXPECT_THAT(assignments(), ElementsAre("Ch 3*"));
    openAdd();
    EXPECT_FALSE(clearButton().isVisible());
}

TEST_F(ChannelAssignmentDialogTests, CanBeReadByAScreenReader) {
    show({route(1, {{3, kCommand1}})});
    openEdit();
    const auto text = [](QWidget& view, QAccessible::Text which) {
        return QAccessible::queryAccessibleInterface(&view)->text(which);
    };
    EXPECT_EQ(text(editor(), QAccessible::Name), "Shortcut");
    EXPECT_EQ(text(editor(), QAccessible::Description), "Ctrl+1");
    EXPECT_EQ(text(channelPicker(), QAccessible::Name), "Ch 3");
    EXPECT_EQ(text(channelPicker(), QAccessible::Description), "Channel");
    EXPECT_EQ(text(clearButton(), QAccessible::Name), "Clear shortcut");
    EXPECT_EQ(text(*dialog(), QAccessible::Name), "Edit Output Channel");
}

TEST_F(ChannelAssignmentDialogTests, ClosesWithItsConnection) {
    show({route(1, {{3}}), route(2, {{3}})});
    openAdd(0);
    model->setSelectedRouteID(makeID(1));
    model->deleteSelectedRoute();
    turn();
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_THAT(assignments(0), ElementsAre("Ch 3*"));
}

TEST_F(ChannelAssignmentDialogTests, ChangesNothingOfAnotherSet) {
    show({route(1, {{3}})});
    openEdit();
    choose(5);
    ui::ChannelAssignmentDialog* const open = dialog();
    model->duplicateSelectedRouteSet("Copy");
    // The window has not been notified yet.
    open->accept();
    turn();
    EXPECT_THAT(assignments(0), ElementsAre("Ch 3*"));
    EXPECT_EQ(model->routeSets()[0].routes[0].channelMode, ChannelMode::force(3));
}

TEST_F(ChannelAssignmentDialogTests, ChangesNoAssignmentButTheOneItShows) {
    show({route(1, {{3}, {4}})});
    openEdit();
    choose(5);
    ui::ChannelAssignmentDialog* const open = dialog();
    model->setActiveVariant(makeID(101), makeID(1));
    open->accept();
    turn();
    EXPECT_THAT(assignments(0), ElementsAre("Ch 3", "Ch 4*"));
}

TEST_F(ChannelAssignmentDialogTests, ClosesWhenItsAssignmentIsNoLongerTheActiveOne) {
    show({route(1, {{3}, {4}})});
    openEdit();
    model->setActiveVariant(makeID(101), makeID(1));
    turn();
    EXPECT_EQ(dialog(), nullptr);
    openAdd();
    model->setActiveVariant(makeID(100), makeID(1));
    turn();
    EXPECT_NE(dialog(), nullptr) << "adding does not depend on it";
}

TEST_F(ChannelAssignmentDialogTests, OutlivesTheUnpluggingOfItsEndpoints) {
    show({route(1, {{3}})});
    openAdd();
    unplugSource(11);
    model->refreshDevices();
    turn();
    ASSERT_NE(dialog(), nullptr);
    click(okButton());
    EXPECT_THAT(assignments(), ElementsAre("Ch 3", "Ch 4*"));
}

TEST_F(ChannelAssignmentDialogTests, IsOpenOnceOnly) {
    show({route(1, {{3}}), route(2, {{3}})});
    openAdd(0);
    addButton(row(1)).click();
    turn();
    EXPECT_EQ(list->window()->findChildren<ui::ChannelAssignmentDialog*>().size(), 1);
}

TEST(VerticallyCenteredLabelField, CentresItsText) {
    EXPECT_EQ(ui::VerticallyCenteredLabelField::drawingRect(QRectF(10, 20, 220, 32), 21), QRectF(10, 25.5, 220, 21));
    EXPECT_EQ(ui::VerticallyCenteredLabelField::drawingRect(QRectF(0, 0, 220, 20), 30), QRectF(0, -5, 220, 30));
}

TEST_F(ChannelAssignmentDialogTests, SaysWhatElseAShortcutMeans) {
    QAction quit("Quit Corvel");
    quit.setShortcut(Qt::CTRL | Qt::Key_Q);
    show({route(1, {{}}), route(2, {{3, kCommand1}})});
    list->addAction(&quit);
    openAdd();
    const auto shown = [this] {
        const QList<QLabel*> labels = editor().findChildren<QLabel*>();
        const auto below = std::ranges::find_if(
            labels, [](const QLabel* label) { return label->y() == 74 && label->isVisibleTo(label->parentWidget()); });
        return below != labels.end() ? (*below)->text() : QString();
    };
    EXPECT_EQ(shown(), "Use a modifier: ⌘1, ⌥⇧P");
    press(*dialog(), Qt::Key_Q, Qt::ControlModifier, 24);
    EXPECT_EQ(shown(), "In other sets these keys mean “Quit Corvel”");
    // The same command where the layout has its letter at another position.
    press(*dialog(), Qt::Key_Q, Qt::ControlModifier, 38);
    EXPECT_EQ(editor().shortcut(), KeyboardShortcutSpec("a", {command}));
    EXPECT_EQ(shown(), "In other sets these keys mean “Quit Corvel”");
    press(*dialog(), Qt::Key_1, Qt::ControlModifier, 10);
    EXPECT_EQ(shown(), "Also a shortcut of “Keys to Synth”");
    EXPECT_TRUE(editor().accessibleDescription().contains("Keys to Synth"));
    press(*dialog(), Qt::Key_2, Qt::ControlModifier, 11);
    EXPECT_EQ(shown(), "Use a modifier: ⌘1, ⌥⇧P");
}

}  // namespace
}  // namespace corvel::tests
