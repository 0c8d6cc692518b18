#include "core/engine/MIDIEndpointModel.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <unordered_set>
#include <vector>

namespace corvel::tests {
namespace {

const MIDIEndpointModel kKeys{-42, 11, "Keys", "Acme", MIDIEndpointDirection::source, true};

/// Copies of `kKeys` that differ from it in one field each.
std::vector<MIDIEndpointModel> variations() {
    std::vector<MIDIEndpointModel> models(9, kKeys);
    models[0].id = 42;
    models[1].endpointRef = 12;
    models[2].displayName = "keys";
    models[3].manufacturer = "";
    models[4].manufacturer.reset();
    models[5].direction = MIDIEndpointDirection::destination;
    models[6].isOnline = false;
    models[7].port = 1;
    models[8].isLoopback = true;
    return models;
}

TEST(MIDIEndpointDirection, HasItsWordAsRawValue) {
    EXPECT_EQ(rawValue(MIDIEndpointDirection::source), "source");
    EXPECT_EQ(rawValue(MIDIEndpointDirection::destination), "destination");
}

TEST(MIDIEndpointDirection, ReadsExactlyItsRawValues) {
    EXPECT_EQ(endpointDirectionFromRawValue("source"), MIDIEndpointDirection::source);
    EXPECT_EQ(endpointDirectionFromRawValue("destination"), MIDIEndpointDirection::destination);
    for (const char* text : {"", "Source", "SOURCE", "source ", " destination", "input"}) {
        EXPECT_EQ(endpointDirectionFromRawValue(text), std::nullopt) << text;
    }
}

TEST(MIDIEndpointModel, DescribesItselfInFourLinesWithAManufacturer) {
    EXPECT_EQ(kKeys.detailText(), "Keys\nAcme\nsource\nID -42");
}

TEST(MIDIEndpointModel, DescribesItselfInThreeLinesWithoutAManufacturer) {
    const MIDIEndpointModel synth{2147483647, 21, "Synth", std::nullopt, MIDIEndpointDirection::destination, false};
    EXPECT_EQ(synth.detailText(), "Synth\ndestination\nID 2147483647");
}

TEST(MIDIEndpointModel, LeavesAnEmptyManufacturerOutOfItsDescription) {
    const MIDIEndpointModel keys{-2147483648, 11, "Keys", "", MIDIEndpointDirection::source, true};
    EXPECT_EQ(keys.detailText(), "Keys\nsource\nID -2147483648");
}

TEST(MIDIEndpointModel, IsAnEndpointOfNoPortThatIsOnlineUnlessToldOtherwise) {
    const MIDIEndpointModel endpoint;
    EXPECT_EQ(endpoint.id, 0);
    EXPECT_EQ(endpoint.endpointRef, 0U);
    EXPECT_TRUE(endpoint.isOnline);
    EXPECT_EQ(endpoint.port, 0U);
    EXPECT_FALSE(endpoint.isLoopback);
}

TEST(MIDIEndpointModel, ComparesEveryField) {
    const MIDIEndpointModel copy = kKeys;
    EXPECT_EQ(copy, kKeys);
    for (const MIDIEndpointModel& other : variations()) {
        EXPECT_NE(other, kKeys) << other.detailText();
    }
}

TEST(MIDIEndpointModel, HashesEveryField) {
    const std::hash<MIDIEndpointModel> hash;
    const MIDIEndpointModel copy = kKeys;
    EXPECT_EQ(hash(copy), hash(kKeys));
    std::unordered_set<std::size_t> hashes{hash(kKeys)};
    for (const MIDIEndpointModel& other : variations()) {
        EXPECT_TRUE(hashes.insert(hash(other)).second) << other.detailText();
    }
}

}  // namespace
}  // namespace corvel::tests
