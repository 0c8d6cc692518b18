#include "hosts/alsa/OverrunWarning.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace corvel::hosts {
namespace {

using namespace std::chrono_literals;

constexpr OverrunWarning::SteadyTime kStart{1h};

TEST(OverrunWarning, LeavesASingleOverrunToTheLog) {
    OverrunWarning warning;
    EXPECT_FALSE(warning.noteOverrun(kStart));
    EXPECT_FALSE(warning.noteOverrun(kStart + 61s));
    EXPECT_FALSE(warning.noteOverrun(kStart + 10min));
}

TEST(OverrunWarning, IsGivenAtTheSecondOneWithinAMinute) {
    OverrunWarning warning;
    EXPECT_FALSE(warning.noteOverrun(kStart));
    EXPECT_TRUE(warning.noteOverrun(kStart + 60s));
}

TEST(OverrunWarning, IsGivenOnceAMinuteWhileOverrunsGoOn) {
    OverrunWarning warning;
    int count = 0;
    for (auto now = kStart; now <= kStart + 3min; now += 100ms) {
        count += warning.noteOverrun(now) ? 1 : 0;
    }
    EXPECT_EQ(count, 3) << "after 0.1 s, 60.1 s and 120.1 s";
}

TEST(OverrunWarning, IsGivenAgainExactlyAMinuteAfterTheLastOne) {
    OverrunWarning warning;
    EXPECT_FALSE(warning.noteOverrun(kStart));
    EXPECT_TRUE(warning.noteOverrun(kStart + 1s));
    EXPECT_TRUE(warning.noteOverrun(kStart + 61s));
}

TEST(OverrunWarning, IsGivenAnewWhenOverrunsComeBackLater) {
    OverrunWarning warning;
    EXPECT_FALSE(warning.noteOverrun(kStart));
    EXPECT_TRUE(warning.noteOverrun(kStart + 1s));
    EXPECT_FALSE(warning.noteOverrun(kStart + 1h));
    EXPECT_TRUE(warning.noteOverrun(kStart + 1h + 1s));
}

}  // namespace
}  // namespace corvel::hosts
