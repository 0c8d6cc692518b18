#include "ui/RouterWindow/HeldKeys.hpp"

#include "tests/ui/support/RouterWindowFixture.hpp"
#include "ui/controls/AlertDialog.hpp"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTest>
#include <QWindow>
#include <xcb/xcb.h>

#include <string>

namespace corvel::ui {
namespace {

using ::testing::SizeIs;

// Positions of keys, as the display server numbers them.
constexpr quint32 kPlaceOfReturn = 36;
constexpr quint32 kPlaceOfSpace = 65;
constexpr quint32 kPlaceOf1 = 10;
constexpr quint32 kPlaceOfN = 57;

/// Keys that are held down in the router window.
class HeldKeysTests : public tests::RouterWindowFixture {
protected:
    /// Sends a key to the front window as the system does: first as a shortcut, then as a press.
    static void press(int key, quint32 place, bool isRepeated = false, Qt::KeyboardModifiers modifiers = {},
                      quint64 instant = 0) {
        QWindow* const front = QApplication::activeWindow()->windowHandle();
        QKeyEvent override(QEvent::ShortcutOverride, key, modifiers, place, 0, 0, {}, isRepeated);
        override.setTimestamp(instant);
        override.ignore();
        QCoreApplication::sendEvent(front, &override);
        QKeyEvent event(QEvent::KeyPress, key, modifiers, place, 0, 0,
                        key < Qt::Key_Escape ? QString(QChar(key)) : QString(), isRepeated);
        event.setTimestamp(instant);
        QCoreApplication::sendEvent(front, &event);
    }

    static void release(int key, quint32 place, bool isRepeated = false, quint64 instant = 0) {
        QKeyEvent event(QEvent::KeyRelease, key, {}, place, 0, 0, {}, isRepeated);
        event.setTimestamp(instant);
        QCoreApplication::sendEvent(QApplication::activeWindow()->windowHandle(), &event);
    }

    /// Presses a key and holds it while the system repeats it this number of times.
    void hold(int key, quint32 place, int repetitions, Qt::KeyboardModifiers modifiers = {}) {
        press(key, place, false, modifiers);
        turn();
        for (int repetition = 0; repetition < repetitions; ++repetition) {
            release(key, place, true);
            press(key, place, true, modifiers);
            turn();
        }
    }

    /// Sends an event as the X server sends it to the program.
    static void sendFromX11(std::uint8_t type, xcb_keycode_t place, xcb_timestamp_t instant) {
        xcb_key_press_event_t event{};
        event.response_type = type;
        event.detail = place;
        event.time = instant;
        qintptr result = 0;
        QCoreApplication::eventDispatcher()->filterNativeEvent("xcb_generic_event_t", &event, &result);
    }

    [[nodiscard]] static bool isAsked() {
        for (QWidget* const widget : QApplication::allWidgets()) {
            if (qobject_cast<AlertDialog*>(widget) != nullptr && widget->isVisible()) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(HeldKeysTests, DeleteOneConnectionWhileReturnIsHeldOnTheBin) {
    model->connect(1011, 1021);
    model->connect(1011, 1022);
    model->connect(1012, 1021);
    turn();
    button("Delete selected connection").setFocus(Qt::TabFocusReason);
    hold(Qt::Key_Return, kPlaceOfReturn, 10);
    EXPECT_THAT(model->routes(), SizeIs(2));
    release(Qt::Key_Return, kPlaceOfReturn);
    press(Qt::Key_Return, kPlaceOfReturn);
    EXPECT_THAT(model->routes(), SizeIs(1));
}

TEST_F(HeldKeysTests, DoNotAnswerTheQuestionThatTheyAsked) {
    model->createRouteSet("Second");
    turn();
    button("Delete current set").setFocus(Qt::TabFocusReason);
    hold(Qt::Key_Return, kPlaceOfReturn, 10);
    EXPECT_TRUE(isAsked());
    EXPECT_THAT(model->routeSets(), SizeIs(2));

    release(Qt::Key_Return, kPlaceOfReturn);
    press(Qt::Key_Return, kPlaceOfReturn);
    turn();
    EXPECT_FALSE(isAsked());
    EXPECT_THAT(model->routeSets(), SizeIs(1));
}

TEST_F(HeldKeysTests, DoNotCancelWithTheEscapeThatClosedAMenu) {
    button("Rename current set").click();
    turn();
    ASSERT_TRUE(isAsked());
    press(Qt::Key_Escape, 9, true);
    turn();
    EXPECT_TRUE(isAsked());
}

TEST_F(HeldKeysTests, TriggerAShortcutOnce) {
    QAction refresh("Refresh");
    refresh.setShortcut(Qt::CTRL | Qt::Key_R);
    int triggered = 0;
    QObject::connect(&refresh, &QAction::triggered, &refresh, [&triggered] { ++triggered; });
    window->addAction(&refresh);
    // Through the toolkit's complete handling of a key.
    QTest::keyPress(window->windowHandle(), Qt::Key_R, Qt::ControlModifier);
    ASSERT_EQ(triggered, 1);
    for (int repetition = 0; repetition < 5; ++repetition) {
        QTest::simulateEvent(window->windowHandle(), true, Qt::Key_R, Qt::ControlModifier, {}, true);
    }
    EXPECT_EQ(triggered, 1);
}

TEST_F(HeldKeysTests, MoveTheFocusAllTheWay) {
    row(inputs(), 0).setFocus(Qt::TabFocusReason);
    hold(Qt::Key_Down, 116, 1);
    EXPECT_EQ(QApplication::focusWidget(), &row(inputs(), 1));
}

TEST_F(HeldKeysTests, TypeIntoATextButDoNotConfirmIt) {
    button("Rename current set").click();
    turn();
    auto* const field = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(field, nullptr);
    hold(Qt::Key_N, kPlaceOfN, 3);
    EXPECT_EQ(field->text(), "NNNN");
    press(Qt::Key_Return, kPlaceOfReturn, true);
    turn();
    EXPECT_TRUE(isAsked());
}

TEST_F(HeldKeysTests, AreKnownWhereTheToolkitMissesThem) {
    model->connect(1011, 1021);
    model->connect(1011, 1022);
    model->connect(1012, 1021);
    turn();
    button("Delete selected connection").setFocus(Qt::TabFocusReason);
    sendFromX11(XCB_KEY_PRESS, kPlaceOfReturn, 1000);
    press(Qt::Key_Return, kPlaceOfReturn, false, {}, 1000);
    ASSERT_THAT(model->routes(), SizeIs(2));
    turn();

    sendFromX11(XCB_KEY_RELEASE, kPlaceOfReturn, 1660);
    sendFromX11(XCB_KEY_PRESS, kPlaceOfReturn, 1660);
    release(Qt::Key_Return, kPlaceOfReturn, false, 1660);
    press(Qt::Key_Return, kPlaceOfReturn, false, {}, 1660);
    EXPECT_THAT(model->routes(), SizeIs(2));

    // Another key at the same instant is not a repetition.
    press(Qt::Key_Space, kPlaceOfSpace, false, {}, 1660);
    release(Qt::Key_Space, kPlaceOfSpace, false, 1661);
    EXPECT_THAT(model->routes(), SizeIs(1));
    turn();

    sendFromX11(XCB_KEY_RELEASE, kPlaceOfReturn, 1720);
    sendFromX11(XCB_KEY_PRESS, kPlaceOfReturn, 1721);
    press(Qt::Key_Return, kPlaceOfReturn, false, {}, 1721);
    EXPECT_THAT(model->routes(), SizeIs(0));
}

TEST_F(HeldKeysTests, SwitchAChannelOnceWhereTheToolkitMissesThem) {
    using enum KeyboardShortcutModifier;
    model->connect(1011, 1021);
    const UUID routeID = model->routes()[0].id;
    model->addChannelAssignment(routeID, ChannelMode::force(1), KeyboardShortcutSpec("1", {command}));
    model->addChannelAssignment(routeID, ChannelMode::force(2), std::nullopt);
    const UUID second = model->routes()[0].variants.back().id;
    turn();
    press(Qt::Key_1, kPlaceOf1, false, Qt::ControlModifier, 1000);
    EXPECT_EQ(model->routes()[0].channelMode.title(), "Ch 1");
    model->setActiveVariant(second, routeID);
    sendFromX11(XCB_KEY_RELEASE, kPlaceOf1, 1660);
    sendFromX11(XCB_KEY_PRESS, kPlaceOf1, 1660);
    press(Qt::Key_1, kPlaceOf1, false, Qt::ControlModifier, 1660);
    EXPECT_EQ(model->routes()[0].channelMode.title(), "Ch 2");
    // The release went to another program.
    press(Qt::Key_1, kPlaceOf1, false, Qt::ControlModifier, 2000);
    EXPECT_EQ(model->routes()[0].channelMode.title(), "Ch 1");
}

}  // namespace
}  // namespace corvel::ui
