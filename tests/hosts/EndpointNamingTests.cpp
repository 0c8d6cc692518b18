#include "hosts/EndpointNaming.hpp"

#include <gtest/gtest.h>

namespace corvel::tests {

namespace {

using hosts::combinedName;
using hosts::stableName;
using hosts::uniqueEndpointID;

constexpr auto kSource = MIDIEndpointDirection::source;
constexpr auto kDestination = MIDIEndpointDirection::destination;

TEST(EndpointNaming, LeavesOutTheProcessID) {
    EXPECT_EQ(stableName("FLUID Synth (1234)", 1234), "FLUID Synth");
    EXPECT_EQ(stableName("Synth input port (1234:0)", 1234).find("1234"), std::string::npos);
    EXPECT_EQ(stableName("Synth input port (1234:0)", 1234), stableName("Synth input port (77:0)", 77));
    EXPECT_NE(stableName("Synth input port (1234:0)", 1234), stableName("Synth input port (1234:1)", 1234));
}

TEST(EndpointNaming, LeavesOutTheProcessIDInEveryFormInWhichItIsWritten) {
    EXPECT_EQ(stableName("Synth(1234)", 1234), "Synth");
    EXPECT_EQ(stableName("Synth[1234] left", 1234), "Synth left");
    EXPECT_EQ(stableName("Synth-1234", 1234), "Synth");
    EXPECT_EQ(stableName("Synth(1234) (1234)[1234]-1234", 1234), "Synth");
    EXPECT_EQ(stableName("Stage Piano 88", 88), "Stage Piano 88");
}

TEST(EndpointNaming, KeepsNumbersThatAreNotTheProcessID) {
    EXPECT_EQ(stableName("Bank (1234)", 99), "Bank (1234)");
    EXPECT_EQ(stableName("Bank (12345)", 1234), "Bank (12345)");
    EXPECT_EQ(stableName("Bank (41234)", 1234), "Bank (41234)");
    EXPECT_EQ(stableName("Virtual Raw MIDI 0-1", -1), "Virtual Raw MIDI 0-1");
    EXPECT_EQ(stableName("Piano (1)", -1), "Piano (1)");
}

TEST(EndpointNaming, PutsReplacementCharactersForBytesThatAreNotText) {
    EXPECT_EQ(stableName("Caf\xE9", -1), "Caf\xEF\xBF\xBD");
    EXPECT_EQ(stableName("Caf\xC3\xA9", -1), "Caf\xC3\xA9");
}

TEST(EndpointNaming, ShowsThePortNameAloneWhereItBeginsWithTheClientName) {
    EXPECT_EQ(combinedName("Midi Through", "Midi Through Port-0"), "Midi Through Port-0");
    EXPECT_EQ(combinedName("UM-ONE", "UM-ONE MIDI 1"), "UM-ONE MIDI 1");
    EXPECT_EQ(combinedName("Synth", "Synth"), "Synth");
    EXPECT_EQ(combinedName("Virtual Raw MIDI 0-0", "VirMIDI 0-0"), "Virtual Raw MIDI 0-0 VirMIDI 0-0");
}

TEST(EndpointNaming, HashesDirectionIdentityPortNumberAndPortName) {
    EXPECT_EQ(uniqueEndpointID(kSource, "Midi Through", 0, "Midi Through Port-0"), 2033977708);
    EXPECT_EQ(uniqueEndpointID(kDestination, "Midi Through", 0, "Midi Through Port-0"), -2065501447);
    EXPECT_EQ(uniqueEndpointID(kSource, "usb:0582:012a:AB12", 0, "UM-ONE MIDI 1"), 1470946362);
    EXPECT_EQ(uniqueEndpointID(kSource, "card:VirMIDI", 0, "VirMIDI 0-0"), -762804485);
    EXPECT_EQ(uniqueEndpointID(kDestination, "FLUID Synth", 0, "Synth input port"), 1699463900);
}

TEST(EndpointNaming, NeverGivesZero) {
    // The hash of these is 0.
    EXPECT_EQ(uniqueEndpointID(kSource, "Zero", 0, "lAns1g"), 1);
}

}  // namespace

}  // namespace corvel::tests
