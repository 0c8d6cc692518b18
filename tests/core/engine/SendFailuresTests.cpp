#include "core/engine/SendFailures.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST(SendFailures, AreNamedByWhatFailed) {
    EXPECT_EQ(SendFailures::message(-11), "MIDI message could not be sent");
    EXPECT_EQ(SendFailures::message(1), "MIDI message could not be sent");
    EXPECT_EQ(SendFailures::message(-10838), "MIDI packet could not be created");
}

TEST(SendFailures, AreToBeReportedAtOnceOnlyTheFirstTimeForADestinationAndStatus) {
    SendFailures failures;
    EXPECT_TRUE(failures.empty());
    EXPECT_TRUE(failures.add(21, -11));
    EXPECT_FALSE(failures.empty());
    EXPECT_FALSE(failures.add(21, -11));
    EXPECT_TRUE(failures.add(22, -11));
    EXPECT_TRUE(failures.add(21, -19));
    EXPECT_FALSE(failures.add(21, -11));
    EXPECT_FALSE(failures.add(22, -11));
}

TEST(SendFailures, AreCountedPerDestinationAndStatusWithoutTheOneThatWasReported) {
    SendFailures failures;
    for (int count = 0; count < 3; ++count) {
        (void)failures.add(21, -11);
        (void)failures.add(21, -10838);
    }
    (void)failures.add(22, -11);
    (void)failures.add(22, -11);
    (void)failures.add(23, -11);
    EXPECT_THAT(failures.takeRepeated(),
                UnorderedElementsAre("MIDI message could not be sent (-11), repeated 2 times",
                                     "MIDI packet could not be created (-10838), repeated 2 times",
                                     "MIDI message could not be sent (-11), repeated 1 time"));
}

TEST(SendFailures, AreWatchedUntilAnIntervalWithoutThem) {
    SendFailures failures;
    (void)failures.add(21, -11);
    (void)failures.add(21, -11);
    EXPECT_THAT(failures.takeRepeated(), ElementsAre("MIDI message could not be sent (-11), repeated 1 time"));
    EXPECT_FALSE(failures.empty());
    EXPECT_FALSE(failures.add(21, -11));
    EXPECT_THAT(failures.takeRepeated(), ElementsAre("MIDI message could not be sent (-11), repeated 1 time"));
    EXPECT_THAT(failures.takeRepeated(), IsEmpty());
    EXPECT_TRUE(failures.empty());
    EXPECT_TRUE(failures.add(21, -11));
    EXPECT_THAT(failures.takeRepeated(), IsEmpty()) << "reported at once, and not again since";
    EXPECT_TRUE(failures.empty());
}

}  // namespace
}  // namespace corvel
