#include "ui/controls/SheetDialog.hpp"

#include "ui/controls/SheetEntrance.hpp"

#include <QAccessible>
#include <QAction>
#include <QPointer>
#include <QProxyStyle>
#include <QPushButton>
#include <QShortcut>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace corvel::ui {
namespace {

/// A desktop's style with animations switched off.
class StillStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

/// An empty sheet over a window that is green all over.
class SheetDialogTests : public ::testing::Test {
protected:
    SheetDialogTests() {
        window.setAutoFillBackground(true);
        window.setPalette(QPalette(Qt::green));
        window.resize(980, 640);
        window.show();
        dialog = new SheetDialog(look, &window);
        dialog->setFixedSize(300, 200);
    }

    [[nodiscard]] QColor middleOfDialog() const { return dialog->grab().toImage().pixelColor(150, 100); }
    [[nodiscard]] QColor middleOfWindow() { return window.grab().toImage().pixelColor(490, 320); }
    [[nodiscard]] QColor cornerOfWindow() { return window.grab().toImage().pixelColor(5, 5); }
    [[nodiscard]] QColor sheet() const { return look.theme().sheet; }

    Look look{AppAppearanceMode::dark};
    QWidget window;
    QPointer<SheetDialog> dialog;
};

TEST_F(SheetDialogTests, FadesInOverWhatTheWindowShowed) {
    const QColor before = middleOfWindow();
    dialog->show();
    EXPECT_EQ(middleOfDialog(), before);
    EXPECT_TRUE(QTest::qWaitFor([this] { return dialog->findChild<SheetEntrance*>() == nullptr; }));
    EXPECT_EQ(middleOfDialog(), sheet());
}

TEST_F(SheetDialogTests, IsThereAtOnceWhereAnimationsAreSwitchedOff) {
    StillStyle still;
    dialog->setStyle(&still);
    dialog->show();
    EXPECT_EQ(middleOfDialog(), sheet());
    delete dialog;
}

TEST_F(SheetDialogTests, CanBeClickedWhileItFadesIn) {
    dialog->show();
    ASSERT_NE(dialog->findChild<SheetEntrance*>(), nullptr);
    EXPECT_EQ(dialog->childAt(150, 100), nullptr);
}

TEST_F(SheetDialogTests, FadesOutInTheWindowOnceClosed) {
    const QColor before = middleOfWindow();
    dialog->show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return dialog->findChild<SheetEntrance*>() == nullptr; }));
    ASSERT_TRUE(QTest::qWaitFor([this] { return cornerOfWindow().green() < 200; }));
    EXPECT_EQ(middleOfWindow(), sheet());
    dialog->reject();
    EXPECT_EQ(middleOfWindow(), sheet());
    EXPECT_TRUE(QTest::qWaitFor([&] { return middleOfWindow() == before; }));
}

/// A sheet with two buttons over a window with two buttons.
class SheetFocusTests : public ::testing::Test {
protected:
    SheetFocusTests() {
        window.resize(980, 640);
        first.setGeometry(10, 10, 100, 30);
        second.setGeometry(10, 50, 100, 30);
        window.show();
    }

    void SetUp() override { ASSERT_TRUE(QTest::qWaitForWindowActive(&window)); }

    /// A sheet with buttons "a" and "b".
    SheetDialog* openSheet(const char* title) {
        auto* const sheet = new SheetDialog(look, &window);
        sheet->setWindowTitle(title);
        sheet->setFixedSize(300, 200);
        for (const char* const name : {"a", "b"}) {
            auto* const button = new QPushButton(name, sheet);
            button->setObjectName(name);
            button->setAutoDefault(false);
            button->setGeometry(*name == 'a' ? 10 : 150, 10, 100, 30);
        }
        sheet->show();
        return sheet;
    }

    static QPushButton* button(SheetDialog* sheet, const char* name) { return sheet->findChild<QPushButton*>(name); }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window.windowHandle(), key, modifiers);
    }

    Look look{AppAppearanceMode::dark};
    QWidget window;
    QPushButton first{"first", &window};
    QPushButton second{"second", &window};
};

TEST_F(SheetFocusTests, StandsInTheMiddleOfItsWindowWhateverSizeThatTakes) {
    SheetDialog* const sheet = openSheet("Sheet");
    EXPECT_EQ(sheet->window(), &window);
    EXPECT_EQ(sheet->geometry(), QRect(340, 220, 300, 200));
    window.resize(1000, 700);
    EXPECT_EQ(sheet->geometry(), QRect(350, 250, 300, 200));
}

TEST_F(SheetFocusTests, KeepsClicksFromTheWindowBehindUntilItIsClosed) {
    const QSignalSpy clicks(&first, &QPushButton::clicked);
    SheetDialog* const sheet = openSheet("Sheet");
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(20, 20));
    EXPECT_EQ(clicks.size(), 0);
    sheet->reject();
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(20, 20));
    EXPECT_EQ(clicks.size(), 1);
}

TEST_F(SheetFocusTests, KeepsKeysFromTheWindowBehindUntilItIsClosed) {
    const QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_R), &window);
    const QSignalSpy uses(&shortcut, &QShortcut::activated);
    SheetDialog* const sheet = openSheet("Sheet");
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(uses.size(), 0);
    sheet->reject();
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(uses.size(), 1);
}

TEST_F(SheetFocusTests, LetsTheKeysOfChosenActionsOfTheWindowThrough) {
    QAction urgent;
    urgent.setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Period));
    SheetDialog::letThrough(urgent);
    window.addAction(&urgent);
    const QSignalSpy uses(&urgent, &QAction::triggered);
    SheetDialog* const sheet = openSheet("Sheet");
    press(Qt::Key_Period, Qt::ControlModifier);
    EXPECT_EQ(uses.size(), 1);
    button(sheet, "a")->setFocus();
    press(Qt::Key_Period, Qt::ControlModifier);
    EXPECT_EQ(uses.size(), 2);
    press(Qt::Key_Period);
    EXPECT_EQ(uses.size(), 2);
}

TEST_F(SheetFocusTests, KeepsTheTabKeyInside) {
    second.setFocus();
    SheetDialog* const sheet = openSheet("Sheet");
    for (int round = 0; round < 2; ++round) {
        press(Qt::Key_Tab);
        EXPECT_TRUE(button(sheet, "a")->hasFocus()) << round;
        press(Qt::Key_Tab);
        EXPECT_TRUE(button(sheet, "b")->hasFocus()) << round;
    }
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(button(sheet, "a")->hasFocus());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(button(sheet, "b")->hasFocus());
}

TEST_F(SheetFocusTests, TakesTheFocusBackFromAViewBehindThatAsksForIt) {
    SheetDialog* const sheet = openSheet("Sheet");
    button(sheet, "b")->setFocus();
    first.setFocus();
    EXPECT_TRUE(button(sheet, "b")->hasFocus());
}

TEST_F(SheetFocusTests, GivesTheFocusBackToWhereItWas) {
    second.setFocus();
    openSheet("Sheet");
    EXPECT_FALSE(second.hasFocus());
    press(Qt::Key_Escape);
    EXPECT_TRUE(second.hasFocus());
}

TEST_F(SheetFocusTests, GivesTheFocusToNobodyWhereWhoHadItIsGone) {
    auto* const gone = new QPushButton("gone", &window);
    gone->setGeometry(10, 90, 100, 30);
    gone->show();
    gone->setFocus();
    openSheet("Sheet");
    delete gone;
    press(Qt::Key_Escape);
    EXPECT_EQ(QApplication::focusWidget(), nullptr);
    press(Qt::Key_Tab);
    EXPECT_TRUE(first.hasFocus());
}

TEST_F(SheetFocusTests, LiesOverAnotherOneAndGivesTheFocusBackThere) {
    first.setFocus();
    SheetDialog* const lower = openSheet("Lower");
    button(lower, "b")->setFocus();
    const QSignalSpy lowerClicks(button(lower, "b"), &QPushButton::clicked);
    SheetDialog* const upper = openSheet("Upper");
    EXPECT_EQ(SheetDialog::topOf(window), upper);
    button(lower, "a")->setFocus();
    press(Qt::Key_Tab);
    EXPECT_TRUE(button(upper, "a")->hasFocus() || button(upper, "b")->hasFocus());
    upper->setFixedSize(100, 100);
    const QPoint uncovered = button(lower, "b")->mapTo(&window, QPoint(50, 15));
    ASSERT_FALSE(upper->geometry().contains(uncovered));
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, uncovered);
    EXPECT_EQ(lowerClicks.size(), 0);

    press(Qt::Key_Escape);
    EXPECT_EQ(SheetDialog::topOf(window), lower);
    EXPECT_TRUE(button(lower, "b")->hasFocus());
    press(Qt::Key_Escape);
    EXPECT_EQ(SheetDialog::topOf(window), nullptr);
    EXPECT_TRUE(first.hasFocus());
}

TEST_F(SheetFocusTests, GivesTheFocusBackToTheWindowWhereTheOneBelowWasClosedFirst) {
    second.setFocus();
    SheetDialog* const lower = openSheet("Lower");
    button(lower, "a")->setFocus();
    SheetDialog* const upper = openSheet("Upper");
    button(upper, "a")->setFocus();
    lower->reject();
    EXPECT_TRUE(button(upper, "a")->hasFocus());
    upper->reject();
    EXPECT_TRUE(second.hasFocus());
}

TEST_F(SheetFocusTests, IsAModalDialogForScreenReaders) {
    SheetDialog* const sheet = openSheet("Sheet");
    const QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(sheet);
    EXPECT_EQ(interface->role(), QAccessible::Dialog);
    EXPECT_EQ(interface->text(QAccessible::Name), QString("Sheet"));
    EXPECT_TRUE(interface->state().modal);
    EXPECT_TRUE(interface->state().active);
    EXPECT_EQ(interface->parent()->object(), &window);
    openSheet("Upper");
    EXPECT_FALSE(interface->state().active);
}

}  // namespace
}  // namespace corvel::ui
