#include "core/messages/MIDIMessageParser.hpp"

#include "tests/support/ByteText.hpp"
#include "tests/support/RandomSource.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

namespace corvel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::byteText;

/// The messages found in a buffer, each as its bytes, a colon and its kind: "90 3C 64: Note".
std::vector<std::string> messages(const std::vector<std::uint8_t>& buffer) {
    std::vector<std::string> texts;
    for (const MIDIMessageFragment& fragment : MIDIMessageParser::fragments(buffer)) {
        texts.push_back(byteText(fragment.bytes) + ": " + std::string(rawValue(fragment.messageKind)));
    }
    return texts;
}

TEST(MIDIMessageParser, FindsNothingInAnEmptyBuffer) {
    EXPECT_THAT(messages({}), IsEmpty());
}

TEST(MIDIMessageParser, KnowsNoRunningStatus) {
    EXPECT_THAT(messages({0x90, 0x3C, 0x64, 0x3C, 0x00}), ElementsAre("90 3C 64: Note", "3C: Data", "00: Data"));
}

TEST(MIDIMessageParser, EmitsRealtimeBytesAheadOfTheMessageTheyInterrupt) {
    EXPECT_THAT(messages({0x90, 0xF8, 0x3C, 0x64}), ElementsAre("F8: Clock", "90 3C 64: Note"));
}

TEST(MIDIMessageParser, LetsAStatusByteNotEndASysExMessage) {
    EXPECT_THAT(messages({0xF0, 0x7E, 0x90, 0xF7, 0xC0, 0x05}), ElementsAre("F0 7E 90 F7: SysEx", "C0 05: Program"));
}

TEST(MIDIMessageParser, EmitsAnInterruptedMessageAsFarAsItGoes) {
    EXPECT_THAT(messages({0x90, 0x3C, 0xB0, 0x07, 0x64}), ElementsAre("90 3C: Note", "B0 07 64: CC"));
}

TEST(MIDIMessageParser, TakesTwoDataBytesForMostChannelMessages) {
    EXPECT_THAT(messages({0x81, 1, 2, 3}), ElementsAre("81 01 02: Note Off", "03: Data"));
    EXPECT_THAT(messages({0x92, 1, 2, 3}), ElementsAre("92 01 02: Note", "03: Data"));
    EXPECT_THAT(messages({0xA3, 1, 2, 3}), ElementsAre("A3 01 02: Poly Pressure", "03: Data"));
    EXPECT_THAT(messages({0xB4, 1, 2, 3}), ElementsAre("B4 01 02: CC", "03: Data"));
    EXPECT_THAT(messages({0xE5, 1, 2, 3}), ElementsAre("E5 01 02: Pitch Bend", "03: Data"));
}

TEST(MIDIMessageParser, TakesOneDataByteForProgramChangeAndChannelPressure) {
    EXPECT_THAT(messages({0xC6, 1, 2}), ElementsAre("C6 01: Program", "02: Data"));
    EXPECT_THAT(messages({0xD7, 1, 2}), ElementsAre("D7 01: Pressure", "02: Data"));
}

TEST(MIDIMessageParser, TakesTheDataBytesOfSystemCommonMessages) {
    EXPECT_THAT(messages({0xF1, 0x10, 0x20}), ElementsAre("F1 10: MTC", "20: Data"));
    EXPECT_THAT(messages({0xF2, 0x10, 0x20}), ElementsAre("F2 10 20: Song Position"));
    EXPECT_THAT(messages({0xF2, 0x10, 0x20, 0x30}), ElementsAre("F2 10 20: Song Position", "30: Data"));
    EXPECT_THAT(messages({0xF3, 0x10, 0x20}), ElementsAre("F3 10: Song Select", "20: Data"));
}

TEST(MIDIMessageParser, EmitsSystemCommonMessagesWithoutDataAsOneByte) {
    EXPECT_THAT(messages({0xF4, 0xF5, 0xF6, 0xF7, 0x01}),
                ElementsAre("F4: Unknown", "F5: Unknown", "F6: Tune", "F7: Unknown", "01: Data"));
}

TEST(MIDIMessageParser, EmitsEveryRealtimeByteAlone) {
    EXPECT_THAT(messages({0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF}),
                ElementsAre("F8: Clock", "F9: Unknown", "FA: Start", "FB: Continue", "FC: Stop", "FD: Unknown",
                            "FE: Active Sense", "FF: Reset"));
}

TEST(MIDIMessageParser, EmitsStrayDataBytesOneByOne) {
    EXPECT_THAT(messages({0x00, 0x1F, 0x20, 0x3F, 0x40, 0x5F, 0x60, 0x7F, 0x40}),
                ElementsAre("00: Data", "1F: Data", "20: Data", "3F: Data", "40: Data", "5F: Data", "60: Data",
                            "7F: Data", "40: Data"));
}

TEST(MIDIMessageParser, EmitsALoneStatusAtTheEndOfTheBuffer) {
    EXPECT_THAT(messages({0x80}), ElementsAre("80: Note Off"));
    EXPECT_THAT(messages({0x90}), ElementsAre("90: Note"));
    EXPECT_THAT(messages({0xA0}), ElementsAre("A0: Poly Pressure"));
    EXPECT_THAT(messages({0xB0}), ElementsAre("B0: CC"));
    EXPECT_THAT(messages({0xC0}), ElementsAre("C0: Program"));
    EXPECT_THAT(messages({0xD0}), ElementsAre("D0: Pressure"));
    EXPECT_THAT(messages({0xEF}), ElementsAre("EF: Pitch Bend"));
    EXPECT_THAT(messages({0xF0}), ElementsAre("F0: SysEx"));
    EXPECT_THAT(messages({0xF1}), ElementsAre("F1: MTC"));
    EXPECT_THAT(messages({0xF2}), ElementsAre("F2: Song Position"));
    EXPECT_THAT(messages({0xF3}), ElementsAre("F3: Song Select"));
    EXPECT_THAT(messages({0x80, 0x3C, 0x00, 0x90}), ElementsAre("80 3C 00: Note Off", "90: Note"));
}

TEST(MIDIMessageParser, EmitsAMessageThatTheBufferCutsShort) {
    EXPECT_THAT(messages({0x90, 0x3C}), ElementsAre("90 3C: Note"));
    EXPECT_THAT(messages({0xF2, 0x10}), ElementsAre("F2 10: Song Position"));
    EXPECT_THAT(messages({0x90, 0x3C, 0xF8}), ElementsAre("F8: Clock", "90 3C: Note"));
    EXPECT_THAT(messages({0xC0, 0xFE, 0xFF}), ElementsAre("FE: Active Sense", "FF: Reset", "C0: Program"));
}

TEST(MIDIMessageParser, EndsAMessageAtEveryKindOfStatusByte) {
    EXPECT_THAT(messages({0x90, 0x80, 0x3C, 0x00}), ElementsAre("90: Note", "80 3C 00: Note Off"));
    EXPECT_THAT(messages({0xC0, 0xD0, 0x05}), ElementsAre("C0: Program", "D0 05: Pressure"));
    EXPECT_THAT(messages({0xB0, 0x07, 0xF0, 0x01, 0xF7}), ElementsAre("B0 07: CC", "F0 01 F7: SysEx"));
    EXPECT_THAT(messages({0xF2, 0x10, 0xF1, 0x20}), ElementsAre("F2 10: Song Position", "F1 20: MTC"));
    EXPECT_THAT(messages({0xF1, 0xF2, 0x10, 0x20}), ElementsAre("F1: MTC", "F2 10 20: Song Position"));
    EXPECT_THAT(messages({0xF3, 0xF6}), ElementsAre("F3: Song Select", "F6: Tune"));
    EXPECT_THAT(messages({0xE0, 0x01, 0xF4, 0x02}), ElementsAre("E0 01: Pitch Bend", "F4: Unknown", "02: Data"));
    EXPECT_THAT(messages({0xA0, 0x01, 0xF7}), ElementsAre("A0 01: Poly Pressure", "F7: Unknown"));
}

TEST(MIDIMessageParser, TellsAnInterruptedNoteOnFromANoteOffByTheVelocityItGot) {
    EXPECT_THAT(messages({0x90, 0x00, 0x90, 0x00, 0x00}), ElementsAre("90 00: Note", "90 00 00: Note Off"));
}

TEST(MIDIMessageParser, EmitsSeveralRealtimeBytesInTheirOrderAheadOfTheMessage) {
    EXPECT_THAT(messages({0x90, 0xFA, 0x3C, 0xF8, 0xFE, 0x64, 0xFC}),
                ElementsAre("FA: Start", "F8: Clock", "FE: Active Sense", "90 3C 64: Note", "FC: Stop"));
    EXPECT_THAT(messages({0xF2, 0xF8, 0x10, 0xF9, 0x20}),
                ElementsAre("F8: Clock", "F9: Unknown", "F2 10 20: Song Position"));
}

TEST(MIDIMessageParser, TakesRealtimeBytesOutOfASysExMessage) {
    EXPECT_THAT(messages({0xF0, 0xF8, 0x01, 0xFF, 0x02, 0xF7, 0xFE}),
                ElementsAre("F8: Clock", "FF: Reset", "F0 01 02 F7: SysEx", "FE: Active Sense"));
}

TEST(MIDIMessageParser, EmitsASysExMessageWithoutItsEnd) {
    EXPECT_THAT(messages({0xF0, 0x43, 0x10}), ElementsAre("F0 43 10: SysEx"));
    EXPECT_THAT(messages({0xF0, 0x43, 0xF8, 0x90, 0x3C, 0x64}), ElementsAre("F8: Clock", "F0 43 90 3C 64: SysEx"));
    EXPECT_THAT(messages({0xF0, 0xF8}), ElementsAre("F8: Clock", "F0: SysEx"));
}

TEST(MIDIMessageParser, KeepsEveryStatusByteInsideASysExMessage) {
    EXPECT_THAT(messages({0xF0, 0xF0, 0x80, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xEF, 0xF7, 0x01}),
                ElementsAre("F0 F0 80 F1 F2 F3 F4 F5 F6 EF F7: SysEx", "01: Data"));
}

TEST(MIDIMessageParser, SplitsSysExMessagesThatFollowEachOther) {
    EXPECT_THAT(messages({0xF0, 0xF7, 0xF0, 0x01, 0xF7, 0xF7}),
                ElementsAre("F0 F7: SysEx", "F0 01 F7: SysEx", "F7: Unknown"));
}

TEST(MIDIMessageParser, CarriesNothingOverToTheNextBuffer) {
    EXPECT_THAT(messages({0xF0, 0x01}), ElementsAre("F0 01: SysEx"));
    EXPECT_THAT(messages({0x02, 0xF7}), ElementsAre("02: Data", "F7: Unknown"));
    EXPECT_THAT(messages({0x90, 0x3C}), ElementsAre("90 3C: Note"));
    EXPECT_THAT(messages({0x64}), ElementsAre("64: Data"));
}

TEST(MIDIMessageParser, KeepsALongSysExMessageWhole) {
    std::vector<std::uint8_t> buffer(60'000, 0x55);
    buffer.front() = 0xF0;
    buffer.back() = 0xF7;
    const auto fragments = MIDIMessageParser::fragments(buffer);
    ASSERT_EQ(fragments.size(), 1U);
    EXPECT_EQ(fragments.front().messageKind, MIDIMessageKind::sysex);
    EXPECT_TRUE(std::ranges::equal(fragments.front().bytes, buffer));
}

/// A buffer with about as many status, realtime and data bytes.
std::vector<std::uint8_t> randomBuffer(tests::RandomSource& random) {
    std::vector<std::uint8_t> buffer(random.below(40));
    for (std::uint8_t& byte : buffer) {
        switch (random.below(4)) {
            case 0:
                byte = static_cast<std::uint8_t>(0xF0 + random.below(16));
                break;
            case 1:
                byte = static_cast<std::uint8_t>(0x80 + random.below(0x70));
                break;
            default:
                byte = static_cast<std::uint8_t>(random.below(0x80));
        }
    }
    return buffer;
}

TEST(MIDIMessageParser, NeitherLosesNorInventsAByteOfAnyBuffer) {
    tests::RandomSource random(1);
    for (int round = 0; round < 5'000; ++round) {
        std::vector<std::uint8_t> buffer = randomBuffer(random);
        SCOPED_TRACE(byteText(buffer));
        std::vector<std::uint8_t> emitted;
        for (const MIDIMessageFragment& fragment : MIDIMessageParser::fragments(buffer)) {
            emitted.insert(emitted.end(), fragment.bytes.begin(), fragment.bytes.end());
        }
        std::ranges::sort(emitted);
        std::ranges::sort(buffer);
        ASSERT_EQ(emitted, buffer);
    }
}

TEST(MIDIMessageParser, KeepsTheOrderOfAllButRealtimeBytesOfAnyBuffer) {
    const auto isRealtime = [](std::uint8_t byte) { return byte >= 0xF8; };
    tests::RandomSource random(2);
    for (int round = 0; round < 5'000; ++round) {
        std::vector<std::uint8_t> buffer = randomBuffer(random);
        SCOPED_TRACE(byteText(buffer));
        std::vector<std::uint8_t> others;
        std::vector<std::uint8_t> realtime;
        for (const MIDIMessageFragment& fragment : MIDIMessageParser::fragments(buffer)) {
            ASSERT_FALSE(fragment.bytes.empty());
            if (isRealtime(fragment.bytes.front())) {
                ASSERT_EQ(fragment.bytes.size(), 1U);
                realtime.push_back(fragment.bytes.front());
            } else {
                others.insert(others.end(), fragment.bytes.begin(), fragment.bytes.end());
            }
        }
        std::vector<std::uint8_t> expectedRealtime;
        std::ranges::copy_if(buffer, std::back_inserter(expectedRealtime), isRealtime);
        std::erase_if(buffer, isRealtime);
        ASSERT_EQ(realtime, expectedRealtime);
        ASSERT_EQ(others, buffer);
    }
}

}  // namespace
}  // namespace corvel
