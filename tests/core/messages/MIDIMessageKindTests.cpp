#include "core/messages/MIDIMessageKind.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace corvel {
namespace {

constexpr std::array<std::pair<MIDIMessageKind, std::string_view>, 20> kKindsInOrder{{
    {MIDIMessageKind::noteOff, "Note Off"},
    {MIDIMessageKind::noteOn, "Note"},
    {MIDIMessageKind::polyPressure, "Poly Pressure"},
    {MIDIMessageKind::controlChange, "CC"},
    {MIDIMessageKind::programChange, "Program"},
    {MIDIMessageKind::channelPressure, "Pressure"},
    {MIDIMessageKind::pitchBend, "Pitch Bend"},
    {MIDIMessageKind::sysex, "SysEx"},
    {MIDIMessageKind::timeCode, "MTC"},
    {MIDIMessageKind::songPosition, "Song Position"},
    {MIDIMessageKind::songSelect, "Song Select"},
    {MIDIMessageKind::tuneRequest, "Tune"},
    {MIDIMessageKind::timingClock, "Clock"},
    {MIDIMessageKind::start, "Start"},
    {MIDIMessageKind::continue_, "Continue"},
    {MIDIMessageKind::stop, "Stop"},
    {MIDIMessageKind::activeSensing, "Active Sense"},
    {MIDIMessageKind::systemReset, "Reset"},
    {MIDIMessageKind::data, "Data"},
    {MIDIMessageKind::unknown, "Unknown"},
}};

MIDIMessageKind detect(const std::vector<std::uint8_t>& bytes) {
    return detectMessageKind(bytes);
}

/// The kind of a one-byte message, by the ranges of its status.
MIDIMessageKind kindByRange(int first) {
    if (first <= 0x7F)
        return MIDIMessageKind::data;
    if (first <= 0x8F)
        return MIDIMessageKind::noteOff;
    if (first <= 0x9F)
        return MIDIMessageKind::noteOn;
    if (first <= 0xAF)
        return MIDIMessageKind::polyPressure;
    if (first <= 0xBF)
        return MIDIMessageKind::controlChange;
    if (first <= 0xCF)
        return MIDIMessageKind::programChange;
    if (first <= 0xDF)
        return MIDIMessageKind::channelPressure;
    return MIDIMessageKind::pitchBend;
}

TEST(MIDIMessageKind, ShowsEveryKindUnderItsOwnName) {
    for (const auto& [kind, name] : kKindsInOrder) {
        EXPECT_EQ(rawValue(kind), name);
    }
}

TEST(MIDIMessageKind, KeepsItsFixedOrder) {
    for (std::size_t ordinal = 0; ordinal < kKindsInOrder.size(); ++ordinal) {
        EXPECT_EQ(static_cast<std::size_t>(kKindsInOrder.at(ordinal).first), ordinal);
    }
}

TEST(MIDIMessageKind, IsFoundByExactlyItsName) {
    for (const auto& [kind, name] : kKindsInOrder) {
        EXPECT_EQ(messageKindFromRawValue(name), kind);
    }
}

TEST(MIDIMessageKind, IsNotFoundByAnyOtherText) {
    using namespace std::string_view_literals;
    for (const std::string_view text : {""sv, "note"sv, "NOTE"sv, "Note On"sv, "noteOn"sv, "Note "sv, " Note"sv,
                                        "Note\0"sv, "cc"sv, "Control Change"sv, "Sysex"sv, "Continue_"sv, "continue"sv,
                                        "unknown"sv, "Dat"sv, "NoteOff"sv, "Note  Off"sv}) {
        EXPECT_EQ(messageKindFromRawValue(text), std::nullopt) << text;
    }
}

TEST(MIDIMessageKind, IsDetectedFromEveryFirstByteUpToThePitchBends) {
    for (int first = 0x00; first <= 0xEF; ++first) {
        EXPECT_EQ(detect({static_cast<std::uint8_t>(first)}), kindByRange(first)) << "first byte " << first;
        EXPECT_EQ(detect({static_cast<std::uint8_t>(first), 0x00, 0x40}), kindByRange(first)) << "first byte " << first;
    }
}

TEST(MIDIMessageKind, IsDetectedFromEverySystemByte) {
    constexpr std::array kSystemKinds{
        MIDIMessageKind::sysex,       MIDIMessageKind::timeCode, MIDIMessageKind::songPosition,
        MIDIMessageKind::songSelect,  MIDIMessageKind::unknown,  MIDIMessageKind::unknown,
        MIDIMessageKind::tuneRequest, MIDIMessageKind::unknown,  MIDIMessageKind::timingClock,
        MIDIMessageKind::unknown,     MIDIMessageKind::start,    MIDIMessageKind::continue_,
        MIDIMessageKind::stop,        MIDIMessageKind::unknown,  MIDIMessageKind::activeSensing,
        MIDIMessageKind::systemReset,
    };
    for (std::size_t low = 0; low < kSystemKinds.size(); ++low) {
        const auto first = static_cast<std::uint8_t>(0xF0 + low);
        EXPECT_EQ(detect({first}), kSystemKinds.at(low)) << "first byte " << int{first};
        EXPECT_EQ(detect({first, 0x01, 0x00}), kSystemKinds.at(low)) << "first byte " << int{first};
    }
}

TEST(MIDIMessageKind, OfNoBytesIsUnknown) {
    EXPECT_EQ(detect({}), MIDIMessageKind::unknown);
}

TEST(MIDIMessageKind, OfNoteOnWithVelocityZeroIsNoteOffOnEveryChannel) {
    for (int channel = 0; channel < 16; ++channel) {
        const auto status = static_cast<std::uint8_t>(0x90 + channel);
        EXPECT_EQ(detect({status, 0x40, 0x00}), MIDIMessageKind::noteOff);
        EXPECT_EQ(detect({status, 0x40, 0x00, 0x7F}), MIDIMessageKind::noteOff);
        EXPECT_EQ(detect({status, 0x40, 0x01}), MIDIMessageKind::noteOn);
        EXPECT_EQ(detect({status, 0x00, 0x7F}), MIDIMessageKind::noteOn);
    }
}

TEST(MIDIMessageKind, OfNoteOnWithoutVelocityStaysNoteOn) {
    EXPECT_EQ(detect({0x90}), MIDIMessageKind::noteOn);
    EXPECT_EQ(detect({0x90, 0x40}), MIDIMessageKind::noteOn);
    EXPECT_EQ(detect({0x90, 0x00}), MIDIMessageKind::noteOn);
}

TEST(MIDIMessageKind, IgnoresAZeroThirdByteInEveryOtherMessage) {
    EXPECT_EQ(detect({0x80, 0x40, 0x00}), MIDIMessageKind::noteOff);
    EXPECT_EQ(detect({0xA0, 0x40, 0x00}), MIDIMessageKind::polyPressure);
    EXPECT_EQ(detect({0xB0, 0x07, 0x00}), MIDIMessageKind::controlChange);
    EXPECT_EQ(detect({0xE0, 0x00, 0x00}), MIDIMessageKind::pitchBend);
}

TEST(MIDIMessageKind, CanBeKeptInAHashSet) {
    std::unordered_set<MIDIMessageKind> kinds;
    for (const auto& [kind, name] : kKindsInOrder) {
        kinds.insert(kind);
    }
    EXPECT_EQ(kinds.size(), 20U);
}

}  // namespace
}  // namespace corvel
