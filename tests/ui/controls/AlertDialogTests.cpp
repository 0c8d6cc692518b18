#include "ui/controls/AlertDialog.hpp"

#include "tests/ui/support/ViewProbe.hpp"

#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace corvel::ui {
namespace {

class AlertDialogTests : public ::testing::Test {
protected:
    AlertDialogTests() {
        window.resize(980, 640);
        window.show();
        dialog = new AlertDialog(look, AlertDialog::Style::plain, "Title <b>x</b>", "Text & more", "OK",
                                 TextButton::Role::primary, &window);
    }

    void open() {
        QObject::connect(dialog, &QDialog::finished, &window, [this](int result) { results.push_back(result); });
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    bool isGone() {
        return QTest::qWaitFor([this] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return dialog.isNull();
        });
    }

    Look look{AppAppearanceMode::dark};
    QWidget window;
    QPointer<AlertDialog> dialog;
    std::vector<int> results;
};

TEST_F(AlertDialogTests, ShowsMessageTextAndTwoButtonsTheFirstAtTheRight) {
    open();
    EXPECT_EQ(tests::labelTexts(*dialog), QStringList({"Title <b>x</b>", "Text & more"}));
    const QAbstractButton& ok = tests::button(*dialog, "OK");
    const QAbstractButton& cancel = tests::button(*dialog, "Cancel");
    EXPECT_EQ(dialog->findChildren<QAbstractButton*>().size(), 2);
    EXPECT_TRUE(tests::isLeftOf(cancel, ok));
    EXPECT_EQ(dialog->width(), 368);
    EXPECT_EQ(ok.size(), QSize(156, 36));
    EXPECT_EQ(cancel.size(), QSize(156, 36));
}

TEST_F(AlertDialogTests, HoldsUpTheApplicationAndStandsInTheMiddleOfTheWindow) {
    open();
    EXPECT_TRUE(AlertDialog::isAnyOpen());
    EXPECT_NEAR(dialog->geometry().center().x(), 490, 1);
    EXPECT_NEAR(dialog->geometry().center().y(), 320, 1);
    dialog->reject();
    EXPECT_FALSE(AlertDialog::isAnyOpen());
}

TEST_F(AlertDialogTests, IsAcceptedByTheFirstButtonAlone) {
    open();
    tests::button(*dialog, "OK").click();
    EXPECT_EQ(results, std::vector<int>{QDialog::Accepted});
    EXPECT_TRUE(isGone());
}

TEST_F(AlertDialogTests, IsRejectedByCancel) {
    open();
    tests::button(*dialog, "Cancel").click();
    EXPECT_EQ(results, std::vector<int>{QDialog::Rejected});
    EXPECT_TRUE(isGone());
}

TEST_F(AlertDialogTests, IsRejectedByEscape) {
    open();
    QTest::keyClick(window.windowHandle(), Qt::Key_Escape);
    EXPECT_EQ(results, std::vector<int>{QDialog::Rejected});
    EXPECT_TRUE(isGone());
}

TEST_F(AlertDialogTests, IsRejectedWhenTheDesktopClosesIt) {
    open();
    dialog->close();
    EXPECT_EQ(results, std::vector<int>{QDialog::Rejected});
    EXPECT_TRUE(isGone());
}

TEST_F(AlertDialogTests, IsAcceptedByReturnWhereverTheFieldIsFilledIn) {
    auto* const field = new QLineEdit;
    dialog->setAccessory(field);
    open();
    field->setFocus();
    QTest::keyClicks(field, "x y");
    EXPECT_EQ(field->text(), "x y");
    QTest::keyClick(window.windowHandle(), Qt::Key_Return);
    EXPECT_EQ(results, std::vector<int>{QDialog::Accepted});
    EXPECT_TRUE(isGone());
}

TEST_F(AlertDialogTests, DoesWhatTheFocusedButtonSaysOnReturn) {
    open();
    QTest::keyClick(window.windowHandle(), Qt::Key_Tab);
    EXPECT_TRUE(tests::button(*dialog, "Cancel").hasFocus());
    QTest::keyClick(window.windowHandle(), Qt::Key_Return);
    EXPECT_EQ(results, std::vector<int>{QDialog::Rejected});
    EXPECT_TRUE(isGone());
}

TEST_F(AlertDialogTests, IsAnsweredOnce) {
    open();
    QTest::keyClick(window.windowHandle(), Qt::Key_Return);
    if (!dialog.isNull()) {
        QTest::keyClick(dialog.data(), Qt::Key_Escape);
    }
    EXPECT_TRUE(isGone());
    EXPECT_EQ(results, std::vector<int>{QDialog::Accepted});
}

TEST_F(AlertDialogTests, GoesWithItsWindow) {
    auto other = std::make_unique<QWidget>();
    other->resize(400, 300);
    other->show();
    const QPointer<AlertDialog> asked = new AlertDialog(look, AlertDialog::Style::warning, "Delete", "Really?",
                                                        "Delete", TextButton::Role::destructive, other.get());
    asked->show();
    QCoreApplication::processEvents();
    other.reset();
    EXPECT_TRUE(asked.isNull());
    QCoreApplication::processEvents();
}

}  // namespace
}  // namespace corvel::ui
