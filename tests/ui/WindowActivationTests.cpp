#include "ui/WindowActivation.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace corvel::ui {
namespace {

TEST(UserTime, EndsATokenOfTheStartupNotification) {
    EXPECT_EQ(userTime("panel/corvel/4711-1-host_TIME123456"), 123456U);
    EXPECT_EQ(userTime("a_TIME1_TIME4294967295"), 4294967295U);
    EXPECT_EQ(userTime("_TIME0"), 0U);
}

TEST(UserTime, IsNotInAnyOtherText) {
    for (const char* const token : {"", "corvel", "corvel_TIME", "corvel_TIMEx", "corvel_TIME12x", "corvel_TIME-1",
                                    "corvel_TIME4294967296", "_time12"}) {
        EXPECT_EQ(userTime(token), std::nullopt) << token;
    }
}

}  // namespace
}  // namespace corvel::ui
