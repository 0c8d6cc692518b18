#include "app/InMemorySettings.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvel::tests {
namespace {

TEST(InMemorySettings, GivesBackWhatWasStoredLast) {
    InMemorySettings settings;
    EXPECT_EQ(settings.string("a"), std::nullopt);
    settings.set("a", "1");
    settings.set("b", "");
    settings.set("a", "2");
    EXPECT_EQ(settings.string("a"), "2");
    EXPECT_EQ(settings.string("b"), "");
    EXPECT_THAT(settings.keys(), ::testing::UnorderedElementsAre("a", "b"));
}

}  // namespace
}  // namespace corvel::tests
