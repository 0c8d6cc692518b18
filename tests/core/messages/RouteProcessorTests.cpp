#include "core/messages/RouteProcessor.hpp"

#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace corvel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::makeID;
using tests::makeRoute;
using tests::makeVariant;

constexpr std::int32_t kKeys = 11;
constexpr std::int32_t kPads = 12;
constexpr std::int32_t kSynth = 21;
constexpr std::int32_t kDrums = 22;

TEST(RouteProcessor, FindsNothingWithoutRoutes) {
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64}, {}), IsEmpty());
}

TEST(RouteProcessor, SendsAPacketAlongTheRouteFromItsSource) {
    const std::vector routes{makeRoute({.id = makeID(1), .sourceID = kKeys, .destinationID = kSynth})};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(1), kSynth, {0x90, 0x3C, 0x64}}));
}

TEST(RouteProcessor, LeavesOutRoutesFromOtherSources) {
    const std::vector routes{makeRoute({.sourceID = kPads, .destinationID = kSynth}),
                             makeRoute({.sourceID = kSynth, .destinationID = kKeys})};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64}, routes), IsEmpty());
}

TEST(RouteProcessor, LeavesOutDisabledRoutes) {
    const std::vector routes{
        makeRoute({.id = makeID(1), .sourceID = kKeys, .destinationID = kSynth, .isEnabled = false}),
        makeRoute({.id = makeID(2), .sourceID = kKeys, .destinationID = kDrums})};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(2), kDrums, {0x90, 0x3C, 0x64}}));
}

TEST(RouteProcessor, FansOutInRouteOrderWithOneTransformedCopyEach) {
    const std::vector routes{
        makeRoute({.id = makeID(3), .sourceID = kKeys, .destinationID = kDrums, .channelMode = ChannelMode::force(10)}),
        makeRoute({.id = makeID(9), .sourceID = kPads, .destinationID = kDrums}),
        makeRoute({.id = makeID(1), .sourceID = kKeys, .destinationID = kSynth}),
        makeRoute({.id = makeID(2), .sourceID = kKeys, .destinationID = kSynth, .channelMode = ChannelMode::force(2)})};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x94, 0x3C, 0x64}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(3), kDrums, {0x99, 0x3C, 0x64}},
                            RoutedMIDIMessage{makeID(1), kSynth, {0x94, 0x3C, 0x64}},
                            RoutedMIDIMessage{makeID(2), kSynth, {0x91, 0x3C, 0x64}}));
}

TEST(RouteProcessor, MergesNothing) {
    const auto route = makeRoute({.id = makeID(1), .sourceID = kKeys, .destinationID = kSynth});
    const std::vector routes{route, route};
    const RoutedMIDIMessage message{makeID(1), kSynth, {0xF8}};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0xF8}, routes), ElementsAre(message, message));
}

TEST(RouteProcessor, SendsAPacketOfSeveralMessagesAsOne) {
    const std::vector routes{
        makeRoute({.id = makeID(1), .sourceID = kKeys, .destinationID = kSynth, .channelMode = ChannelMode::force(3)})};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64, 0xF8, 0xC0, 0x01}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(1), kSynth, {0x92, 0x3C, 0x64, 0xF8, 0xC2, 0x01}}));
}

TEST(RouteProcessor, SendsAnEmptyPacketAsAnEmptyMessage) {
    const std::vector routes{makeRoute({.id = makeID(1), .sourceID = kKeys, .destinationID = kSynth})};
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(1), kSynth, {}}));
}

TEST(RouteProcessor, MatchesTheWholeRangeOfUniqueIDs) {
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    const std::vector routes{makeRoute({.id = makeID(1), .sourceID = kMin, .destinationID = kMax}),
                             makeRoute({.id = makeID(2), .sourceID = kMax, .destinationID = kMin}),
                             makeRoute({.id = makeID(3), .sourceID = 0, .destinationID = -1})};
    EXPECT_THAT(RouteProcessor::routedMessages(kMin, {0xFE}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(1), kMax, {0xFE}}));
    EXPECT_THAT(RouteProcessor::routedMessages(kMax, {0xFE}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(2), kMin, {0xFE}}));
    EXPECT_THAT(RouteProcessor::routedMessages(0, {0xFE}, routes),
                ElementsAre(RoutedMIDIMessage{makeID(3), -1, {0xFE}}));
}

TEST(RouteProcessor, GoesByTheRouteAndNotByItsAssignments) {
    MIDIRoute route =
        makeRoute({.id = makeID(1),
                   .variants = {makeVariant(
                       {.channelMode = ChannelMode::force(5), .sourceID = kKeys, .destinationID = kSynth})}});
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64}, std::vector{route}),
                ElementsAre(RoutedMIDIMessage{makeID(1), kSynth, {0x94, 0x3C, 0x64}}));
    route.sourceID = kPads;
    EXPECT_THAT(RouteProcessor::routedMessages(kKeys, {0x90, 0x3C, 0x64}, std::vector{route}), IsEmpty());
}

TEST(RoutedMIDIMessage, EqualsAnotherOnlyInAllItsFields) {
    const RoutedMIDIMessage message{makeID(1), kSynth, {0x90, 0x3C, 0x64}};
    EXPECT_EQ(message, (RoutedMIDIMessage{makeID(1), kSynth, {0x90, 0x3C, 0x64}}));
    EXPECT_NE(message, (RoutedMIDIMessage{makeID(2), kSynth, {0x90, 0x3C, 0x64}}));
    EXPECT_NE(message, (RoutedMIDIMessage{makeID(1), kDrums, {0x90, 0x3C, 0x64}}));
    EXPECT_NE(message, (RoutedMIDIMessage{makeID(1), kSynth, {0x90, 0x3C, 0x65}}));
}

}  // namespace
}  // namespace corvel
