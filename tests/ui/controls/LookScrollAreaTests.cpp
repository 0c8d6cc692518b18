#include "ui/controls/LookScrollArea.hpp"

#include "ui/controls/ScrollHandle.hpp"

#include <QScrollBar>
#include <QTest>
#include <gtest/gtest.h>

namespace corvel::ui {
namespace {

class LookScrollAreaTests : public ::testing::Test {
protected:
    LookScrollAreaTests() {
        area.resize(300, 104);
        setContentHeight(200);
        area.setScrollBarSide(Qt::RightEdge, 2);
        area.show();
    }

    void setContentHeight(int height) {
        auto* const content = new QWidget;
        content->setMinimumHeight(height);
        area.setWidget(content);
        QCoreApplication::processEvents();
    }

    [[nodiscard]] QColor pixel(int x, int y) { return area.grab().toImage().pixelColor(x, y); }

    Look look{AppAppearanceMode::dark};
    LookScrollArea area{look};
    ScrollHandle& handle = *area.findChild<ScrollHandle*>();
};

constexpr QRgb kEdge = 0xFF3A424E;

TEST_F(LookScrollAreaTests, LeavesTheContentItsWholeWidth) {
    EXPECT_EQ(area.viewport()->width(), 300);
    EXPECT_EQ(area.widget()->width(), 300);
}

TEST_F(LookScrollAreaTests, ShowsAHandleFourPixelsWideAtItsDistanceFromTheSide) {
    EXPECT_NE(pixel(293, 30).rgba(), kEdge);
    for (const int x : {294, 295, 296, 297}) {
        EXPECT_EQ(pixel(x, 30).rgba(), kEdge) << x;
    }
    EXPECT_NE(pixel(298, 30).rgba(), kEdge);

    area.setScrollBarSide(Qt::LeftEdge, 4);
    EXPECT_NE(pixel(3, 30).rgba(), kEdge);
    for (const int x : {4, 5, 6, 7}) {
        EXPECT_EQ(pixel(x, 30).rgba(), kEdge) << x;
    }
    EXPECT_NE(pixel(8, 30).rgba(), kEdge);
}

TEST_F(LookScrollAreaTests, ShowsHowMuchIsShownAndWhere) {
    // 104 of 200 are visible; the handle's range is 100, from 2 to 102.
    EXPECT_EQ(handle.y(), 2);
    EXPECT_EQ(handle.height(), 52);
    area.verticalScrollBar()->setValue(96);
    EXPECT_EQ(handle.y() + handle.height(), 102);
    setContentHeight(100'000);
    EXPECT_EQ(handle.height(), 24);
}

TEST_F(LookScrollAreaTests, HasNoHandleWhileEverythingFits) {
    setContentHeight(104);
    EXPECT_FALSE(handle.isVisible());
    setContentHeight(105);
    EXPECT_TRUE(handle.isVisible());
    area.resize(300, 105);
    QCoreApplication::processEvents();
    EXPECT_FALSE(handle.isVisible());
}

TEST_F(LookScrollAreaTests, ScrollsAsTheHandleIsDragged) {
    QTest::mousePress(&handle, Qt::LeftButton, {}, {8, 10});
    QTest::mouseMove(&handle, {8, 34});
    // 24 of the 48 pixels that the handle can move are half of the 96 that the content can.
    EXPECT_EQ(area.verticalScrollBar()->value(), 48);
    QTest::mouseRelease(&handle, Qt::LeftButton, {}, {8, 10});
    QTest::mouseMove(&handle, {8, 20});
    EXPECT_EQ(area.verticalScrollBar()->value(), 48);
}

TEST_F(LookScrollAreaTests, TakesTheColourOfTheOtherAppearance) {
    look.setMode(AppAppearanceMode::light);
    EXPECT_EQ(pixel(295, 30).rgba(), 0xFFC3CAD4);
}

}  // namespace
}  // namespace corvel::ui
