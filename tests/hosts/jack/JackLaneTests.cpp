#include "hosts/jack/JackLane.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <vector>

namespace corvel::hosts {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kMaxEvent = 1'000;

class JackLaneTest : public testing::Test {
protected:
    MIDIStatus write(const Bytes& packet, std::optional<std::uint32_t> frame = std::nullopt) {
        return lane_.write(packet, frame, kMaxEvent);
    }

    std::vector<Bytes> takeAll() {
        std::vector<Bytes> events;
        while (const JackOutputHeader* const header = lane_.next()) {
            Bytes bytes(header->size);
            lane_.take(bytes);
            events.push_back(std::move(bytes));
        }
        return events;
    }

    JackLane lane_;
};

TEST_F(JackLaneTest, KeepsTheOrderAndTheFrames) {
    EXPECT_EQ(write({0x90, 60, 100}, 7), kMIDISuccess);
    EXPECT_EQ(write({0x80, 60, 0}), kMIDISuccess);
    const JackOutputHeader* header = lane_.next();
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->isTimed, 1U);
    EXPECT_EQ(header->frame, 7U);
    EXPECT_EQ(lane_.next(), header) << "looking at it does not take it";
    Bytes bytes(3);
    lane_.take(bytes);
    EXPECT_EQ(bytes, Bytes({0x90, 60, 100}));
    EXPECT_EQ(lane_.next()->isTimed, 0U);
    EXPECT_FALSE(lane_.isDrained());
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0x80, 60, 0}));
    EXPECT_TRUE(lane_.isDrained());
}

TEST_F(JackLaneTest, MakesAnEventOfEachMessageOfAPacket) {
    EXPECT_EQ(write({0xB0, 99, 1, 0xB0, 98, 2, 0xF8}), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0xB0, 99, 1}, Bytes{0xB0, 98, 2}, Bytes{0xF8}));
}

TEST_F(JackLaneTest, PutsSysExTogetherThatComesInPieces) {
    EXPECT_EQ(write({0xF0, 1, 2}), kMIDISuccess);
    EXPECT_EQ(write({3, 4}), kMIDISuccess);
    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_EQ(write({0xF8}), kMIDISuccess);
    EXPECT_EQ(write({5, 0xF7}), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0xF8}, Bytes{0xF0, 1, 2, 3, 4, 5, 0xF7}));
}

TEST_F(JackLaneTest, DropsSysExThatAnotherMessageCutsOff) {
    EXPECT_EQ(write({0xF0, 1, 2}), kMIDISuccess);
    EXPECT_EQ(write({0x90, 60, 100}), kMIDISuccess);
    EXPECT_EQ(write({0xF0, 3, 0xF7}), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0x90, 60, 100}, Bytes{0xF0, 3, 0xF7}));
    EXPECT_EQ(write({0xF0, 4}), kMIDISuccess);
    EXPECT_EQ(write({0xF0, 5}), kMIDISuccess);
    EXPECT_EQ(write({0xF7}), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0xF0, 5, 0xF7}));
}

TEST_F(JackLaneTest, RefusesAMessageThatNoBufferTakesWhole) {
    Bytes exact(kMaxEvent, 1);
    exact.front() = 0xF0;
    exact.back() = 0xF7;
    EXPECT_EQ(write(exact), kMIDISuccess);
    Bytes tooLong(kMaxEvent + 1, 1);
    tooLong.front() = 0xF0;
    tooLong.back() = 0xF7;
    EXPECT_EQ(write(tooLong), -EMSGSIZE);
    EXPECT_THAT(takeAll(), ElementsAre(exact));
}

TEST_F(JackLaneTest, RefusesTheRestOfSysExThatHasBecomeTooLongInPieces) {
    Bytes begin(kMaxEvent - 1, 1);
    begin.front() = 0xF0;
    EXPECT_EQ(write(begin), kMIDISuccess);
    EXPECT_EQ(write({1}), -EMSGSIZE) << "with its end it would have one byte too many";
    EXPECT_EQ(write({1, 0xF7}), -EMSGSIZE);
    EXPECT_EQ(write({0xF0, 2}), kMIDISuccess);
    EXPECT_EQ(write({3, 0xF7}), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0xF0, 2, 3, 0xF7}));
}

TEST_F(JackLaneTest, JoinsSysExToTheLongestEventThatABufferTakes) {
    Bytes begin(kMaxEvent - 1, 1);
    begin.front() = 0xF0;
    EXPECT_EQ(write(begin), kMIDISuccess);
    EXPECT_EQ(write({0xF7}), kMIDISuccess);
    const std::vector<Bytes> events = takeAll();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].size(), 1'000U);
}

TEST_F(JackLaneTest, TakesUpTo64KilobytesWhateverABufferTakes) {
    Bytes longest(65'536, 1);
    longest.front() = 0xF0;
    longest.back() = 0xF7;
    EXPECT_EQ(lane_.write(longest, std::nullopt, 100'000), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(longest));
    longest.insert(longest.end() - 1, 1);
    EXPECT_EQ(lane_.write(longest, std::nullopt, 100'000), -EMSGSIZE);
}

TEST_F(JackLaneTest, RefusesWhatIsNoMessage) {
    EXPECT_EQ(write({}), kMIDIPacketNotMade);
    EXPECT_EQ(write({1, 2}), kMIDIPacketNotMade);
    EXPECT_EQ(write({0x90, 60}), kMIDIPacketNotMade);
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(JackLaneTest, RefusesPacketsWhileItIsFullAndGoesOnAfterwards) {
    std::size_t count = 0;
    while (write({0x90, 60, 100}) == kMIDISuccess) {
        ++count;
    }
    EXPECT_EQ(count, 17'476U) << "of 15 bytes each with their headers, in 256 kilobytes";
    EXPECT_EQ(write({0x90, 60, 100}), -EAGAIN);
    EXPECT_EQ(takeAll().size(), count);
    EXPECT_EQ(write({0x80, 60, 0}), kMIDISuccess);
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0x80, 60, 0}));
}

TEST_F(JackLaneTest, TakesAMessageThatFillsItExactly) {
    for (int count = 0; count < 17'475; ++count) {
        ASSERT_EQ(write({0x90, 60, 100}), kMIDISuccess);
    }
    EXPECT_EQ(write({0xF0, 1, 2, 3, 4, 5, 6, 0xF7}), -EAGAIN) << "19 bytes are left, and 12 are for the header";
    EXPECT_EQ(write({0xF0, 1, 2, 3, 4, 5, 0xF7}), kMIDISuccess);
    EXPECT_EQ(takeAll().size(), 17'476U);
}

TEST_F(JackLaneTest, LeavesAnEventOut) {
    Bytes longOne(700, 1);
    longOne.front() = 0xF0;
    longOne.back() = 0xF7;
    EXPECT_EQ(write(longOne), kMIDISuccess);
    EXPECT_EQ(write({0x80, 60, 0}), kMIDISuccess);
    ASSERT_NE(lane_.next(), nullptr);
    lane_.skip();
    EXPECT_THAT(takeAll(), ElementsAre(Bytes{0x80, 60, 0}));
    EXPECT_TRUE(lane_.isDrained());
}

}  // namespace
}  // namespace corvel::hosts
