#include "core/engine/HeldNotes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<MIDIBytes> endingsAfter(const std::vector<MIDIBytes>& packets) {
    HeldNotes held;
    for (const MIDIBytes& packet : packets) {
        held.takeIn(packet);
    }
    return held.endings({});
}

TEST(HeldNotes, EndsWhatBeganAndDidNotEnd) {
    EXPECT_THAT(endingsAfter({{0x92, 60, 100}, {0x92, 64, 1}, {0x9F, 127, 127}, {0x92, 0, 100}}),
                ElementsAre(MIDIBytes{0x82, 0, 64}, MIDIBytes{0x82, 60, 64}, MIDIBytes{0x82, 64, 64},
                            MIDIBytes{0x8F, 127, 64}));
    EXPECT_THAT(endingsAfter({{0x92, 60, 100}, {0x82, 60, 0}}), IsEmpty());
    EXPECT_THAT(endingsAfter({{0x92, 60, 100}, {0x92, 60, 0}}), IsEmpty()) << "velocity 0 is a note-off";
    EXPECT_THAT(endingsAfter({{0x92, 60, 100}, {0x83, 60, 0}, {0x82, 61, 0}}), ElementsAre(MIDIBytes{0x82, 60, 64}))
        << "of another channel, of another note";
}

TEST(HeldNotes, LiftsThePedalsThatAreDownBehindTheNotes) {
    EXPECT_THAT(endingsAfter({{0xB0, 64, 64}, {0xB3, 64, 127}, {0x93, 60, 1}}),
                ElementsAre(MIDIBytes{0x83, 60, 64}, MIDIBytes{0xB0, 64, 0}, MIDIBytes{0xB3, 64, 0}));
    EXPECT_THAT(endingsAfter({{0xB0, 64, 127}, {0xB0, 64, 63}}), IsEmpty());
    EXPECT_THAT(endingsAfter({{0xB0, 66, 127}, {0xB0, 65, 127}}), IsEmpty()) << "other pedals";
}

TEST(HeldNotes, CountsNotesAsEndedByTheMessagesThatSilenceTheirChannel) {
    for (const std::uint8_t controller : std::initializer_list<std::uint8_t>{120, 123, 124, 125, 126, 127}) {
        EXPECT_THAT(endingsAfter({{0x95, 60, 100}, {0x96, 61, 100}, {0xB5, controller, 0}}),
                    ElementsAre(MIDIBytes{0x86, 61, 64}))
            << int{controller};
    }
    EXPECT_THAT(endingsAfter({{0x95, 60, 100}, {0xB5, 121, 0}, {0xB5, 122, 0}}), ElementsAre(MIDIBytes{0x85, 60, 64}));
    EXPECT_THAT(endingsAfter({{0xB5, 64, 127}, {0xB5, 123, 0}}), ElementsAre(MIDIBytes{0xB5, 64, 0}))
        << "the pedal stays down";
}

TEST(HeldNotes, ReadsEveryMessageOfAPacket) {
    EXPECT_THAT(endingsAfter({{0x90, 60, 100, 0xF8, 0x90, 0xFE, 62, 0xF8, 100, 0xE0, 0, 64, 0xB1, 64, 127}}),
                ElementsAre(MIDIBytes{0x80, 60, 64}, MIDIBytes{0x80, 62, 64}, MIDIBytes{0xB1, 64, 0}));
    EXPECT_THAT(endingsAfter({{0xF0, 0x90, 60, 100, 0xF7, 0x90, 61, 100}}), ElementsAre(MIDIBytes{0x80, 61, 64}))
        << "not the inside of a SysEx message";
    EXPECT_THAT(endingsAfter({{0xF0, 60, 100, 61}, {60, 100}, {0x90, 60}, {0x90, 60, 0xC0, 100, 5}, {}}), IsEmpty())
        << "nothing that is no whole note-on";
    EXPECT_THAT(endingsAfter({{0x90, 0xFE, 60}, {0x90, 60, 0xFE}, {0x90, 0xC0, 60}}), IsEmpty())
        << "nor three bytes that look like one";
    EXPECT_THAT(endingsAfter({{0x90, 60, 100, 62, 100}, {0x90, 60, 100, 0}}), ElementsAre(MIDIBytes{0x80, 60, 64}))
        << "there is no running status";
}

TEST(HeldNotes, LeavesWhatOthersHoldToThem) {
    HeldNotes held;
    held.takeIn(MIDIBytes{0x90, 60, 100, 0x90, 61, 100, 0xB0, 64, 127, 0xB1, 64, 127});
    HeldNotes others;
    others.takeIn(MIDIBytes{0x90, 61, 100, 0x91, 60, 100, 0xB1, 64, 127});
    EXPECT_THAT(held.endings(others), ElementsAre(MIDIBytes{0x80, 60, 64}, MIDIBytes{0xB0, 64, 0}));
    held.add(others);
    EXPECT_THAT(held.endings({}), ElementsAre(MIDIBytes{0x80, 60, 64}, MIDIBytes{0x80, 61, 64}, MIDIBytes{0x81, 60, 64},
                                              MIDIBytes{0xB0, 64, 0}, MIDIBytes{0xB1, 64, 0}));
}

}  // namespace
}  // namespace corvel::tests
