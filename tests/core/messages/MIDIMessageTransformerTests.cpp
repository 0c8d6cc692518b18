#include "core/messages/MIDIMessageTransformer.hpp"

#include "tests/support/ByteText.hpp"
#include "tests/support/RandomSource.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace corvel {
namespace {

using tests::byteText;

std::string forced(int channel, const MIDIBytes& bytes) {
    return byteText(MIDIMessageTransformer::transform(bytes, ChannelMode::force(channel)));
}

TEST(MIDIMessageTransformer, TakesExactlyTheBytes80ToEFForChannelVoiceStatuses) {
    for (int byte = 0x00; byte <= 0xFF; ++byte) {
        const bool isStatus = byte >= 0x80 && byte < 0xF0;
        EXPECT_EQ(MIDIMessageTransformer::isChannelVoiceStatus(static_cast<std::uint8_t>(byte)), isStatus) << byte;
    }
}

TEST(MIDIMessageTransformer, ReturnsAnythingUnchangedAsItIs) {
    const auto asIs = [](const MIDIBytes& bytes) {
        return byteText(MIDIMessageTransformer::transform(bytes, ChannelMode::asIs()));
    };
    EXPECT_EQ(asIs({}), "");
    EXPECT_EQ(asIs({0x93, 0x3C, 0x64}), "93 3C 64");
    EXPECT_EQ(asIs({0xF0, 0x43, 0x90, 0xF7, 0x9F, 0x01, 0xF8}), "F0 43 90 F7 9F 01 F8");
}

TEST(MIDIMessageTransformer, ReturnsAnEmptyInputUnchanged) {
    EXPECT_EQ(forced(5, {}), "");
}

TEST(MIDIMessageTransformer, PutsEveryKindOfChannelMessageOnTheForcedChannel) {
    EXPECT_EQ(forced(16, {0x93, 0x3C, 0x64}), "9F 3C 64");
    EXPECT_EQ(forced(1, {0x8F, 0x3C, 0x40}), "80 3C 40");
    EXPECT_EQ(forced(2, {0xA0, 0x3C, 0x40}), "A1 3C 40");
    EXPECT_EQ(forced(10, {0xBF, 0x07, 0x7F}), "B9 07 7F");
    EXPECT_EQ(forced(9, {0xC0, 0x05}), "C8 05");
    EXPECT_EQ(forced(3, {0xDF, 0x40}), "D2 40");
    EXPECT_EQ(forced(8, {0xE0, 0x00, 0x40}), "E7 00 40");
}

TEST(MIDIMessageTransformer, PutsEveryStatusOnEveryChannel) {
    for (int channel = 1; channel <= 16; ++channel) {
        for (int status = 0x80; status <= 0xEF; ++status) {
            const MIDIBytes result = MIDIMessageTransformer::transform({static_cast<std::uint8_t>(status), 0x11, 0x22},
                                                                       ChannelMode::force(channel));
            EXPECT_EQ(int{result[0]}, status / 16 * 16 + channel - 1);
            EXPECT_EQ(int{result[1]}, 0x11);
            EXPECT_EQ(int{result[2]}, 0x22);
        }
    }
}

TEST(MIDIMessageTransformer, LeavesAStatusThatIsOnTheChannelAlready) {
    EXPECT_EQ(forced(4, {0x93, 0x3C, 0x64}), "93 3C 64");
}

TEST(MIDIMessageTransformer, RewritesEveryMessageOfAPacket) {
    EXPECT_EQ(forced(1, {0xC5, 0x07, 0x91, 0x40, 0x40}), "C0 07 90 40 40");
    EXPECT_EQ(forced(2, {0xB0, 0x63, 0x01, 0xB0, 0x62, 0x02, 0xD0, 0x10, 0xE0, 0x00, 0x40, 0x80, 0x3C, 0x00}),
              "B1 63 01 B1 62 02 D1 10 E1 00 40 81 3C 00");
}

TEST(MIDIMessageTransformer, LeavesSysExMessagesAlone) {
    EXPECT_EQ(forced(16, {0xF0, 0x43, 0x90, 0xF7}), "F0 43 90 F7");
    EXPECT_EQ(forced(16, {0xF0, 0xF0, 0x90, 0xF8, 0xC0, 0xF7, 0x90, 0x3C, 0x64}), "F0 F0 90 F8 C0 F7 9F 3C 64");
    EXPECT_EQ(forced(16, {0xF0, 0xF7, 0x80, 0x3C, 0x64}), "F0 F7 8F 3C 64");
}

TEST(MIDIMessageTransformer, StopsAtASysExMessageWithoutEnd) {
    EXPECT_EQ(forced(16, {0x90, 0x3C, 0x64, 0xF0, 0x43, 0x90, 0x3C, 0x64}), "9F 3C 64 F0 43 90 3C 64");
    EXPECT_EQ(forced(16, {0xF0}), "F0");
}

TEST(MIDIMessageTransformer, StepsOverSystemCommonMessagesByTheirLength) {
    EXPECT_EQ(forced(16, {0xF1, 0x10, 0x90, 0x3C, 0x64}), "F1 10 9F 3C 64");
    EXPECT_EQ(forced(16, {0xF2, 0x10, 0x20, 0x90, 0x3C, 0x64}), "F2 10 20 9F 3C 64");
    EXPECT_EQ(forced(16, {0xF3, 0x10, 0x90, 0x3C, 0x64}), "F3 10 9F 3C 64");
    EXPECT_EQ(forced(16, {0xF1, 0x90, 0x3C, 0x90}), "F1 90 3C 9F");
    EXPECT_EQ(forced(16, {0xF2, 0x90, 0x80, 0x90}), "F2 90 80 9F");
    EXPECT_EQ(forced(16, {0xF3, 0xC0, 0xC0, 0x05}), "F3 C0 CF 05");
}

TEST(MIDIMessageTransformer, StepsOverSingleBytesOneByOne) {
    for (const int single : {0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF, 0x00, 0x7F}) {
        const MIDIBytes result = MIDIMessageTransformer::transform(
            {static_cast<std::uint8_t>(single), 0x90, 0x3C, 0x64}, ChannelMode::force(16));
        EXPECT_EQ(int{result[0]}, single);
        EXPECT_EQ(int{result[1]}, 0x9F) << "after " << single;
    }
}

TEST(MIDIMessageTransformer, StepsOverTheStatusThatFollowsATruncatedMessage) {
    EXPECT_EQ(forced(2, {0x90, 0x3C, 0xB0, 0x07, 0x64}), "91 3C B0 07 64");
    EXPECT_EQ(forced(2, {0x90, 0xB0, 0xC0, 0xD0, 0x05}), "91 B0 C0 D1 05");
    EXPECT_EQ(forced(2, {0xC0, 0xD0, 0xE0, 0x01, 0x02}), "C1 D0 E1 01 02");
}

TEST(MIDIMessageTransformer, StepsOverARealtimeByteLikeADataByte) {
    EXPECT_EQ(forced(2, {0x90, 0xF8, 0x3C, 0x64, 0x80, 0x3C, 0x00}), "91 F8 3C 64 81 3C 00");
    EXPECT_EQ(forced(2, {0xC0, 0xF8, 0x05, 0xC0, 0x06}), "C1 F8 05 C1 06");
    EXPECT_EQ(forced(2, {0x90, 0x3C, 0xF0, 0xB0, 0x07, 0x64}), "91 3C F0 B1 07 64");
}

TEST(MIDIMessageTransformer, RewritesAStatusThatEndsTheBuffer) {
    EXPECT_EQ(forced(7, {0x90}), "96");
    EXPECT_EQ(forced(7, {0xC0}), "C6");
    EXPECT_EQ(forced(7, {0x90, 0x3C}), "96 3C");
    EXPECT_EQ(forced(7, {0xF2}), "F2");
    EXPECT_EQ(forced(7, {0xF1}), "F1");
}

TEST(MIDIMessageTransformer, ReturnsTheBytesUnchangedForAChannelThatDoesNotExist) {
    for (const int channel : {0, 17, -1, 18, 255, 256, 257, INT_MIN, INT_MAX}) {
        EXPECT_EQ(forced(channel, {0x93, 0x3C, 0x64, 0xC5, 0x07}), "93 3C 64 C5 07") << "channel " << channel;
    }
}

TEST(MIDIMessageTransformer, LeavesTheCallersBytesAsTheyAre) {
    for (const std::size_t size : {3U, 100U}) {
        MIDIBytes bytes(size, 0x40);
        bytes.writable()[0] = 0x93;
        const MIDIBytes result = MIDIMessageTransformer::transform(bytes, ChannelMode::force(1));
        EXPECT_EQ(int{result.front()}, 0x90);
        EXPECT_EQ(int{bytes.front()}, 0x93);
    }
}

TEST(MIDIMessageTransformer, SharesALongSequenceOfWhichItChangesNothing) {
    MIDIBytes bytes(100, 0x40);
    bytes.writable()[0] = 0x93;
    const auto isShared = [&](const ChannelMode& mode) {
        return MIDIMessageTransformer::transform(bytes, mode).data() == bytes.data();
    };
    EXPECT_TRUE(isShared(ChannelMode::asIs()));
    EXPECT_TRUE(isShared(ChannelMode::force(0)));
    EXPECT_TRUE(isShared(ChannelMode::force(4))) << "on the channel already";
    EXPECT_FALSE(isShared(ChannelMode::force(5)));
    bytes.writable()[0] = 0xF0;
    EXPECT_TRUE(isShared(ChannelMode::force(5))) << "SysEx";
}

TEST(MIDIMessageTransformer, RewritesThroughoutALongBuffer) {
    std::vector<std::uint8_t> bytes;
    for (int message = 0; message < 1000; ++message) {
        bytes.insert(bytes.end(), {0x90, 0x3C, 0x64, 0xF8, 0xD3, 0x40});
    }
    const MIDIBytes result = MIDIMessageTransformer::transform(MIDIBytes(bytes), ChannelMode::force(12));
    ASSERT_EQ(result.size(), 6000U);
    for (std::size_t start = 0; start < result.size(); start += 6) {
        ASSERT_EQ(byteText(std::span(result.data() + start, 6)), "9B 3C 64 F8 DB 40");
    }
}

TEST(MIDIMessageTransformer, ChangesNothingButTheChannelOfChannelStatusesInAnyBuffer) {
    tests::RandomSource random(3);
    for (int round = 0; round < 5'000; ++round) {
        MIDIBytes bytes(random.below(40), 0);
        for (std::uint8_t& byte : bytes.writable()) {
            byte = random.byte();
        }
        const auto channel = static_cast<int>(random.below(18));
        SCOPED_TRACE(byteText(bytes) + " to channel " + std::to_string(channel));
        const MIDIBytes result = MIDIMessageTransformer::transform(bytes, ChannelMode::force(channel));
        ASSERT_EQ(result.size(), bytes.size());
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            if (result[index] != bytes[index]) {
                ASSERT_TRUE(bytes[index] >= 0x80 && bytes[index] <= 0xEF);
                ASSERT_EQ(result[index] / 16, bytes[index] / 16);
                ASSERT_EQ(result[index] % 16, channel - 1);
            }
        }
        ASSERT_EQ(MIDIMessageTransformer::transform(result, ChannelMode::force(channel)), result);
    }
}

}  // namespace
}  // namespace corvel
