#include "program/Environment.hpp"

#include "tests/support/ScopedEnvironment.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace corvel::tests {
namespace {

TEST(SettingsFolder, IsInTheFolderOfTheUsersSettings) {
    const ScopedEnvironment home("HOME", "/home/performer");
    const ScopedEnvironment folder("XDG_CONFIG_HOME", "/stage/settings");
    EXPECT_EQ(settingsFolder(), "/stage/settings/Corvel");
}

TEST(SettingsFolder, IsInTheHomeFolderIfNoOtherIsGiven) {
    const ScopedEnvironment home("HOME", "/home/performer");
    {
        const ScopedEnvironment folder("XDG_CONFIG_HOME", std::nullopt);
        EXPECT_EQ(settingsFolder(), "/home/performer/.config/Corvel");
    }
    const ScopedEnvironment relative("XDG_CONFIG_HOME", "settings");
    EXPECT_EQ(settingsFolder(), "/home/performer/.config/Corvel");
}

TEST(EnvironmentVariable, IsEmptyIfItIsNotSet) {
    const ScopedEnvironment variable("CORVEL_TEST_VARIABLE", std::nullopt);
    EXPECT_EQ(environmentVariable("CORVEL_TEST_VARIABLE"), "");
    const ScopedEnvironment set("CORVEL_TEST_VARIABLE", "on");
    EXPECT_EQ(environmentVariable("CORVEL_TEST_VARIABLE"), "on");
}

}  // namespace
}  // namespace corvel::tests
