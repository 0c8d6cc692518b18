#include "program/window/TextScale.hpp"

#include <gtest/gtest.h>

namespace corvel::tests {
namespace {

TEST(TextScale, IsOneWithTheFontsThatDesktopsComeWith) {
    for (const double points : {9.0, 10.0, 10.5, 11.0}) {
        EXPECT_EQ(textScale(points, 96), 1) << points;
    }
}

TEST(TextScale, FollowsFontsBeyondThese) {
    EXPECT_DOUBLE_EQ(textScale(13.2, 96), 1.2);
    EXPECT_DOUBLE_EQ(textScale(22, 96), 2);
    EXPECT_DOUBLE_EQ(textScale(7.2, 96), 0.8);
}

TEST(TextScale, FollowsTheDensityOfText) {
    EXPECT_DOUBLE_EQ(textScale(9, 115), 1.2);
    EXPECT_DOUBLE_EQ(textScale(11, 120), 1.25);
    EXPECT_DOUBLE_EQ(textScale(13.2, 120), 1.5);
}

TEST(TextScale, StaysWithinWhatCanBeReadAndUsed) {
    EXPECT_EQ(textScale(1, 96), 0.75);
    EXPECT_EQ(textScale(96, 192), 3);
    EXPECT_EQ(textScale(-1, 96), 1) << "a font in pixels";
    EXPECT_EQ(textScale(10, 0), 1);
}

}  // namespace
}  // namespace corvel::tests
