#include "ui/controls/SheetDialog.hpp"

#include "ui/controls/SheetEntrance.hpp"

#include <QPointer>
#include <QProxyStyle>
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
    ASSERT_TRUE(QTest::qWaitFor([this] { return middleOfWindow() != sheet() && middleOfWindow().green() < 200; }));
    dialog->reject();
    EXPECT_EQ(middleOfWindow(), sheet());
    EXPECT_TRUE(QTest::qWaitFor([&] { return middleOfWindow() == before; }));
}

}  // namespace
}  // namespace corvel::ui
