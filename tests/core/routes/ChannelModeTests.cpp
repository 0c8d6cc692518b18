#include "core/routes/ChannelMode.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <optional>
#include <unordered_set>

namespace corvel {
namespace {

TEST(ChannelMode, IsAsItIsFromTheStart) {
    EXPECT_EQ(ChannelMode{}, ChannelMode::asIs());
}

TEST(ChannelMode, HasAForcedChannelOnlyWhenForced) {
    EXPECT_EQ(ChannelMode::asIs().forcedChannel(), std::nullopt);
    EXPECT_EQ(ChannelMode::force(1).forcedChannel(), 1);
    EXPECT_EQ(ChannelMode::force(16).forcedChannel(), 16);
    EXPECT_EQ(ChannelMode::force(0).forcedChannel(), 0);
    EXPECT_EQ(ChannelMode::force(-4).forcedChannel(), -4);
}

TEST(ChannelMode, IsTitledByItsChannelWithoutLeadingZeros) {
    EXPECT_EQ(ChannelMode::asIs().title(), "As Is");
    EXPECT_EQ(ChannelMode::force(1).title(), "Ch 1");
    EXPECT_EQ(ChannelMode::force(9).title(), "Ch 9");
    EXPECT_EQ(ChannelMode::force(10).title(), "Ch 10");
    EXPECT_EQ(ChannelMode::force(16).title(), "Ch 16");
}

TEST(ChannelMode, IsTitledAlsoByAChannelThatDoesNotExist) {
    EXPECT_EQ(ChannelMode::force(0).title(), "Ch 0");
    EXPECT_EQ(ChannelMode::force(17).title(), "Ch 17");
    EXPECT_EQ(ChannelMode::force(-1).title(), "Ch -1");
    EXPECT_EQ(ChannelMode::force(INT_MAX).title(), "Ch 2147483647");
}

TEST(ChannelMode, EqualsAnotherOfTheSameCaseAndChannel) {
    EXPECT_EQ(ChannelMode::asIs(), ChannelMode::asIs());
    EXPECT_EQ(ChannelMode::force(3), ChannelMode::force(3));
    EXPECT_NE(ChannelMode::force(3), ChannelMode::force(4));
    EXPECT_NE(ChannelMode::asIs(), ChannelMode::force(1));
    EXPECT_NE(ChannelMode::asIs(), ChannelMode::force(0));
}

TEST(ChannelMode, HashesByCaseAndChannel) {
    const std::hash<ChannelMode> hash;
    EXPECT_EQ(hash(ChannelMode::asIs()), hash(ChannelMode::asIs()));
    EXPECT_EQ(hash(ChannelMode::force(7)), hash(ChannelMode::force(7)));
    std::unordered_set<std::size_t> hashes{hash(ChannelMode::asIs())};
    for (int channel = 0; channel <= 17; ++channel) {
        hashes.insert(hash(ChannelMode::force(channel)));
    }
    EXPECT_EQ(hashes.size(), 19U);
}

}  // namespace
}  // namespace corvel
