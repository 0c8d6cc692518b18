#include "app/AppAppearanceMode.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvel::tests {
namespace {

TEST(AppAppearanceMode, ListsLightThenDarkWithTheirRawValues) {
    EXPECT_THAT(kAllAppAppearanceModes, ::testing::ElementsAre(AppAppearanceMode::light, AppAppearanceMode::dark));
    EXPECT_EQ(rawValue(AppAppearanceMode::light), "light");
    EXPECT_EQ(rawValue(AppAppearanceMode::dark), "dark");
}

TEST(AppAppearanceMode, IsMadeOfItsExactRawValueOnly) {
    EXPECT_EQ(appAppearanceModeFromRawValue("light"), AppAppearanceMode::light);
    EXPECT_EQ(appAppearanceModeFromRawValue("dark"), AppAppearanceMode::dark);
    EXPECT_EQ(appAppearanceModeFromRawValue("Dark"), std::nullopt);
    EXPECT_EQ(appAppearanceModeFromRawValue(""), std::nullopt);
}

}  // namespace
}  // namespace corvel::tests
