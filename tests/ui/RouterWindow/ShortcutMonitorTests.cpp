#include "ui/RouterWindow/ShortcutMonitor.hpp"

#include "tests/ui/support/OpenMenu.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/controls/AlertDialog.hpp"

#include <QAction>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QWidget>
#include <QWindow>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvel::ui {
namespace {

using enum KeyboardShortcutModifier;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Positions of keys, as the display server numbers them.
constexpr quint32 kPlaceOf1 = 10;
constexpr quint32 kPlaceOfP = 33;

/// Records the keys that reach it, except Ctrl.
class KeySink : public QWidget {
public:
    explicit KeySink(QWidget* parent) : QWidget(parent) { setFocusPolicy(Qt::StrongFocus); }

    std::vector<int> pressed;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() != Qt::Key_Control) {
            pressed.push_back(event->key());
        }
    }
};

/// A window with one focusable view, over a model in which Ctrl+1, Ctrl+2 and Ctrl+R are channels of one connection.
class ShortcutMonitorTests : public tests::WindowModelFixture {
protected:
    ShortcutMonitorTests() {
        startModel();
        model->connect(1011, 1021);
        routeID = model->routes()[0].id;
        model->addChannelAssignment(routeID, ChannelMode::force(1), KeyboardShortcutSpec("1", {command}));
        model->addChannelAssignment(routeID, ChannelMode::force(2), KeyboardShortcutSpec("2", {command}));
        model->addChannelAssignment(routeID, ChannelMode::force(3), KeyboardShortcutSpec("r", {command}));
        model->addChannelAssignment(routeID, ChannelMode::force(4), std::nullopt);
        window.resize(400, 300);
        sink.setGeometry(0, 0, 400, 100);
        show(window);
        sink.setFocus();
    }

    static void show(QWidget& shown) {
        shown.show();
        shown.activateWindow();
        if (!QTest::qWaitForWindowActive(&shown)) {
            throw std::runtime_error("a window does not become active");
        }
    }

    /// Sends a press of a key, or its repetition, to a window. Returns whether nothing else may use it as a shortcut.
    static bool press(QWidget& in, int key, Qt::KeyboardModifiers modifiers, quint32 place, bool isRepeated = false) {
        QKeyEvent override(QEvent::ShortcutOverride, key, modifiers, place, 0, 0, QString(), isRepeated);
        override.ignore();
        QCoreApplication::sendEvent(in.windowHandle(), &override);
        QKeyEvent event(QEvent::KeyPress, key, modifiers, place, 0, 0, QString(), isRepeated);
        QCoreApplication::sendEvent(in.windowHandle(), &event);
        return override.isAccepted();
    }

    static void release(QWidget& in, int key, Qt::KeyboardModifiers modifiers, quint32 place, bool isRepeated = false) {
        QKeyEvent event(QEvent::KeyRelease, key, modifiers, place, 0, 0, QString(), isRepeated);
        QCoreApplication::sendEvent(in.windowHandle(), &event);
    }

    [[nodiscard]] std::string channel() const { return model->routes()[0].channelMode.title(); }

    /// Chooses the channel without a shortcut, so that the effect of a shortcut is visible.
    void reset() {
        model->setActiveVariant(model->routes()[0].variants.back().id, routeID);
        ASSERT_EQ(channel(), "Ch 4");
    }

    UUID routeID;
    QWidget window;
    KeySink sink{&window};
    std::optional<ShortcutMonitor> monitor{*model};
};

TEST_F(ShortcutMonitorTests, SwitchesTheChannelAndKeepsTheKeyFromTheFocusedView) {
    EXPECT_TRUE(press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1));
    EXPECT_EQ(channel(), "Ch 1");
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 1");
    EXPECT_THAT(sink.pressed, IsEmpty());
}

TEST_F(ShortcutMonitorTests, GoesByThePlaceOfTheKeyWhateverItWrites) {
    // What a French layout types there.
    press(window, Qt::Key_Ampersand, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, LetsAnUnknownShortcutReachTheFocusedView) {
    EXPECT_FALSE(press(window, Qt::Key_P, Qt::ControlModifier, kPlaceOfP));
    EXPECT_FALSE(press(window, Qt::Key_1, Qt::NoModifier, kPlaceOf1));
    EXPECT_FALSE(press(window, Qt::Key_1, Qt::ControlModifier | Qt::ShiftModifier, kPlaceOf1));
    EXPECT_THAT(sink.pressed, ElementsAre(Qt::Key_P, Qt::Key_1, Qt::Key_1));
    EXPECT_EQ(channel(), "Ch 4");
}

TEST_F(ShortcutMonitorTests, LetsModifiersAlonePass) {
    EXPECT_FALSE(press(window, Qt::Key_Shift, Qt::ShiftModifier, 50));
    EXPECT_THAT(sink.pressed, ElementsAre(Qt::Key_Shift));
}

TEST_F(ShortcutMonitorTests, AsksTheModelOnceForAPress) {
    int commands = 0;
    const Observation observation =
        model->observe([&commands](Property property) { commands += property == Property::statusMessage ? 1 : 0; });
    model->setActiveVariant(model->routes()[0].variants.back().id, routeID);
    const int messagesOfOne = commands;
    commands = 0;
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(commands, messagesOfOne);
}

TEST_F(ShortcutMonitorTests, SwitchesOnceWhileTheKeyIsHeld) {
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
    reset();
    for (int repetition = 0; repetition < 3; ++repetition) {
        release(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1, true);
        EXPECT_TRUE(press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1, true));
    }
    EXPECT_EQ(channel(), "Ch 4");
    EXPECT_THAT(sink.pressed, IsEmpty());

    release(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, SwitchesAgainWhenTheReleaseWentElsewhere) {
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    reset();
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, KeepsRepetitionsAlsoWhenTheModifierIsReleasedFirst) {
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    release(window, Qt::Key_Control, Qt::ControlModifier, 37);
    press(window, Qt::Key_1, Qt::NoModifier, kPlaceOf1, true);
    EXPECT_THAT(sink.pressed, IsEmpty());
}

TEST_F(ShortcutMonitorTests, HasRepetitionsOfAnUnknownShortcutReachTheView) {
    press(window, Qt::Key_P, Qt::ControlModifier, kPlaceOfP);
    press(window, Qt::Key_P, Qt::ControlModifier, kPlaceOfP, true);
    EXPECT_THAT(sink.pressed, ElementsAre(Qt::Key_P, Qt::Key_P));
}

TEST_F(ShortcutMonitorTests, SwitchesBetweenTwoHeldKeys) {
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
    press(window, Qt::Key_2, Qt::ControlModifier, kPlaceOf1 + 1);
    EXPECT_EQ(channel(), "Ch 2");
    release(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, ComesBeforeTheShortcutsOfTheMenu) {
    QAction refresh("Refresh");
    refresh.setShortcut(Qt::CTRL | Qt::Key_R);
    int triggered = 0;
    QObject::connect(&refresh, &QAction::triggered, &refresh, [&triggered] { ++triggered; });
    window.addAction(&refresh);

    // Through the toolkit's complete handling of a key.
    QTest::keyClick(window.windowHandle(), Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(channel(), "Ch 3");
    EXPECT_EQ(triggered, 0);
    EXPECT_THAT(sink.pressed, IsEmpty());

    monitor.reset();
    QTest::keyClick(window.windowHandle(), Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(triggered, 1);
}

TEST_F(ShortcutMonitorTests, LeavesTheMenuItsOtherShortcuts) {
    QAction quit("Quit");
    quit.setShortcut(Qt::CTRL | Qt::Key_Q);
    int triggered = 0;
    QObject::connect(&quit, &QAction::triggered, &quit, [&triggered] { ++triggered; });
    window.addAction(&quit);
    QTest::keyClick(window.windowHandle(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(triggered, 1);
    EXPECT_EQ(channel(), "Ch 4");
}

TEST_F(ShortcutMonitorTests, HandlesAKeyThatTheToolkitSendsOnce) {
    QTest::keyClick(window.windowHandle(), Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(channel(), "Ch 1");
    EXPECT_THAT(sink.pressed, IsEmpty());
    QTest::keyClick(window.windowHandle(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_THAT(sink.pressed, ElementsAre(Qt::Key_P));
}

TEST_F(ShortcutMonitorTests, LeavesKeysToTextFields) {
    QLineEdit line(&window);
    line.show();
    line.setFocus();
    EXPECT_FALSE(press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1));
    EXPECT_EQ(channel(), "Ch 4");

    QPlainTextEdit text(&window);
    text.show();
    text.setFocus();
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 4");

    sink.setFocus();
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, LeavesKeysToAQuestionWhateverWindowTheyGoTo) {
    auto* const question =
        new AlertDialog(look, AlertDialog::Style::plain, "Title", "Text", "OK", TextButton::Role::primary, &window);
    question->show();
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    QWidget other;
    show(other);
    press(other, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 4");

    question->reject();
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, WorksWhileAMenuIsOpen) {
    QMenu menu(&window);
    menu.addAction("First");
    tests::withOpenMenu([&menu] { menu.popup(QPoint(0, 0)); },
                        [](QMenu& open) {
                            EXPECT_TRUE(press(open, Qt::Key_1, Qt::ControlModifier, kPlaceOf1));
                            EXPECT_TRUE(open.isVisible());
                        });
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, WorksInASheetOfTheWindow) {
    auto* const sheet = new SheetDialog(look, &window);
    sheet->setFixedSize(100, 100);
    sheet->show();
    press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1);
    EXPECT_EQ(channel(), "Ch 1");
}

TEST_F(ShortcutMonitorTests, TakesAnAmbiguousShortcutToo) {
    model->connect(1012, 1022);
    model->addChannelAssignment(model->routes()[1].id, ChannelMode::force(9), KeyboardShortcutSpec("1", {command}));
    model->setSelectedRouteID(std::nullopt);
    EXPECT_TRUE(press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1));
    EXPECT_EQ(model->statusMessage(), "⌘1 is assigned to multiple connections; select a connection first");
    EXPECT_THAT(sink.pressed, IsEmpty());
}

TEST_F(ShortcutMonitorTests, IsGoneWhenItIsDestroyed) {
    monitor.reset();
    EXPECT_FALSE(press(window, Qt::Key_1, Qt::ControlModifier, kPlaceOf1));
    EXPECT_EQ(channel(), "Ch 4");
    EXPECT_THAT(sink.pressed, ElementsAre(Qt::Key_1));
}

}  // namespace
}  // namespace corvel::ui
