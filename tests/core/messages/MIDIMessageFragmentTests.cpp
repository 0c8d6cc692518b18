#include "core/messages/MIDIMessageFragment.hpp"

#include <gtest/gtest.h>

namespace corvel {
namespace {

TEST(MIDIMessageFragment, KeepsItsBytesAndKnowsTheirKind) {
    const MIDIMessageFragment fragment{MIDIBytes{0xB3, 0x07, 0x64}};
    EXPECT_EQ(fragment.bytes, (MIDIBytes{0xB3, 0x07, 0x64}));
    EXPECT_EQ(fragment.messageKind, MIDIMessageKind::controlChange);
}

TEST(MIDIMessageFragment, OfNoBytesIsOfUnknownKind) {
    const MIDIMessageFragment fragment{MIDIBytes{}};
    EXPECT_TRUE(fragment.bytes.empty());
    EXPECT_EQ(fragment.messageKind, MIDIMessageKind::unknown);
}

TEST(MIDIMessageFragment, CountsNoteOnWithVelocityZeroAsNoteOff) {
    EXPECT_EQ((MIDIMessageFragment{MIDIBytes{0x9F, 0x3C, 0x00}}.messageKind), MIDIMessageKind::noteOff);
    EXPECT_EQ((MIDIMessageFragment{MIDIBytes{0x9F, 0x3C, 0x01}}.messageKind), MIDIMessageKind::noteOn);
}

TEST(MIDIMessageFragment, EqualsAFragmentOfTheSameBytesOnly) {
    const MIDIMessageFragment fragment{MIDIBytes{0x90, 0x3C, 0x64}};
    EXPECT_EQ(fragment, (MIDIMessageFragment{MIDIBytes{0x90, 0x3C, 0x64}}));
    EXPECT_NE(fragment, (MIDIMessageFragment{MIDIBytes{0x90, 0x3C, 0x65}}));
    EXPECT_NE(fragment, (MIDIMessageFragment{MIDIBytes{0x91, 0x3C, 0x64}}));
    EXPECT_NE(fragment, (MIDIMessageFragment{MIDIBytes{0x90, 0x3C}}));
    EXPECT_NE(fragment, (MIDIMessageFragment{MIDIBytes{0x90, 0x3C, 0x64, 0x00}}));
}

TEST(MIDIMessageFragment, DiffersFromOneOfTheSameBytesWhoseKindWasEdited) {
    const MIDIMessageFragment fragment{MIDIBytes{0x90, 0x3C, 0x64}};
    MIDIMessageFragment edited = fragment;
    edited.messageKind = MIDIMessageKind::data;
    EXPECT_NE(fragment, edited);
}

}  // namespace
}  // namespace corvel
