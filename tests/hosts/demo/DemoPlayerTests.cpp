#include "hosts/demo/DemoPlayer.hpp"

#include "tests/support/ByteText.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using hosts::DemoPiece;
using hosts::DemoPlayer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DemoPlayerTest : public ::testing::Test {
protected:
    /// Plays the steps from `first` up to, but not including, `end`.
    void playSteps(std::uint64_t first, std::uint64_t end, bool isHeard) {
        for (std::uint64_t step = first; step < end; ++step) {
            static_cast<void>(player.play(step, isHeard));
        }
    }

    DemoPlayer player{DemoPiece::keyboard};
};

TEST_F(DemoPlayerTest, BeginsAtOnceWhenItIsHeardFromTheStart) {
    EXPECT_THAT(byteTexts(player.play(0, true)), ElementsAre("90 4C 5C"));
    EXPECT_TRUE(player.isPlaying());
}

TEST_F(DemoPlayerTest, BeginsItsPieceAtTheNextBarLineWhenItIsHeardLater) {
    playSteps(0, 40, false);
    playSteps(40, 96, true);
    EXPECT_FALSE(player.isPlaying());

    EXPECT_THAT(byteTexts(player.play(96, true)), ElementsAre("90 4C 5C"));
    playSteps(97, 118, true);
    EXPECT_THAT(byteTexts(player.play(118, true)), ElementsAre("80 4C 40"));
}

TEST_F(DemoPlayerTest, StaysSilentWhileNobodyListens) {
    EXPECT_THAT(player.play(0, false), IsEmpty());
    EXPECT_FALSE(player.isPlaying());
}

TEST_F(DemoPlayerTest, KeepsWhatFallsDueWhileTheListenerIsAwayForAnInstant) {
    playSteps(0, 22, true);

    EXPECT_THAT(player.play(22, false), IsEmpty());
    EXPECT_TRUE(player.hasWaiting());

    EXPECT_THAT(byteTexts(player.takeWaiting()), ElementsAre("80 4C 40"));
    EXPECT_FALSE(player.hasWaiting());
}

TEST_F(DemoPlayerTest, DeliversWhatWaitedAheadOfTheNextStep) {
    playSteps(0, 22, true);
    playSteps(22, 24, false);

    EXPECT_THAT(byteTexts(player.play(24, true)), ElementsAre("80 4C 40", "90 4A 50"));
}

TEST_F(DemoPlayerTest, GivesUpWhenNobodyHasListenedForLongerThanItsPatience) {
    playSteps(0, 22, true);
    playSteps(22, 25, false);
    EXPECT_TRUE(player.isPlaying());

    EXPECT_THAT(player.play(25, false), IsEmpty());

    EXPECT_FALSE(player.isPlaying());
    EXPECT_FALSE(player.hasWaiting());
    EXPECT_THAT(byteTexts(player.play(96, true)), ElementsAre("90 4C 5C"));
}

TEST_F(DemoPlayerTest, EndsWhatItHasBegun) {
    playSteps(0, 10, true);

    EXPECT_THAT(byteTexts(player.end()), ElementsAre("80 4C 40", "B0 40 00", "B0 01 00", "E0 00 40"));

    EXPECT_FALSE(player.isPlaying());
    EXPECT_THAT(player.end(), IsEmpty());
}

TEST_F(DemoPlayerTest, EndsANoteThatTheNextStepWouldHaveEnded) {
    playSteps(0, 22, true);

    EXPECT_THAT(byteTexts(player.end()), ElementsAre("80 4C 40", "B0 40 00", "B0 01 00", "E0 00 40"));
}

TEST_F(DemoPlayerTest, EndsWithWhatWaitsFirst) {
    playSteps(0, 24, true);
    static_cast<void>(player.play(24, false));

    EXPECT_THAT(byteTexts(player.end()), ElementsAre("90 4A 50", "80 4A 40", "B0 40 00", "B0 01 00", "E0 00 40"));
}

TEST_F(DemoPlayerTest, EndsWithNothingToSayWhenItHasNotBegun) {
    EXPECT_THAT(player.end(), IsEmpty());
}

}  // namespace
}  // namespace corvel::tests
