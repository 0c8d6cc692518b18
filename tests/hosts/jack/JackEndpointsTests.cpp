#include "hosts/jack/JackEndpoints.hpp"

#include "hosts/jack/JackNaming.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace corvel::hosts {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kSource = MIDIEndpointDirection::source;
constexpr auto kDestination = MIDIEndpointDirection::destination;

JackPort source(std::string name, std::vector<std::string> aliases = {}) {
    return {.name = std::move(name), .direction = kSource, .aliases = std::move(aliases), .prettyName = {}};
}

JackPort destination(std::string name) {
    return {.name = std::move(name), .direction = kDestination, .aliases = {}, .prettyName = {}};
}

class JackEndpointsTest : public testing::Test {
protected:
    JackEndpoints::Change replace(std::vector<JackPort> ports, std::string server = "JACK") {
        return endpoints_.replaceAll({.serverName = std::move(server), .ports = std::move(ports), .renames = {}});
    }
    std::vector<std::string> sourceNames() {
        std::vector<std::string> names;
        for (const MIDIEndpointRecord& record : endpoints_.setup()->sources) {
            names.push_back(*record.displayName);
        }
        return names;
    }
    std::int32_t sourceID(std::size_t index) { return *endpoints_.setup()->sources.at(index).uniqueID; }

    JackEndpoints endpoints_{true};
};

TEST_F(JackEndpointsTest, ListsPortsWithNameManufacturerAndID) {
    const auto change = replace({source("seq:out"), destination("dump:input")}, "PipeWire");
    EXPECT_EQ(change.added.size(), 2U);
    EXPECT_FALSE(change.hasChangedProperties);
    const auto setup = endpoints_.setup();
    ASSERT_EQ(setup->sources.size(), 1U);
    const MIDIEndpointRecord& seq = setup->sources[0];
    EXPECT_EQ(seq.ref, 1U);
    EXPECT_EQ(seq.displayName, "seq");
    EXPECT_EQ(seq.name, "seq:out");
    EXPECT_EQ(seq.manufacturer, "PipeWire");
    EXPECT_EQ(seq.isOffline, false);
    EXPECT_EQ(seq.uniqueID, uniqueJackID(kSource, "seq", "out"));
    ASSERT_EQ(setup->destinations.size(), 1U);
    EXPECT_EQ(setup->destinations[0].displayName, "dump");
    EXPECT_EQ(setup->destinations[0].uniqueID, uniqueJackID(kDestination, "dump", "input"));
}

TEST_F(JackEndpointsTest, NamesThePortsOfAClientThatHasSeveralOfADirection) {
    replace({source("seq:a"), source("seq:b"), destination("seq:in")});
    EXPECT_THAT(sourceNames(), ElementsAre("seq a", "seq b"));
    EXPECT_EQ(endpoints_.setup()->destinations[0].displayName, "seq");
}

TEST_F(JackEndpointsTest, TellsEqualNamesApart) {
    JackPort first = source("a:out");
    JackPort second = source("b:out");
    first.prettyName = second.prettyName = "Piano";
    replace({first, second});
    EXPECT_THAT(sourceNames(), ElementsAre("Piano (a:out)", "Piano (b:out)"));
}

TEST_F(JackEndpointsTest, LeavesOutCorvelsOwnPortsAndThoseThatMirrorTheSequencer) {
    replace({source("Corvel:x"), destination("Corvel-01:x"), source("a2j:Keys"), source("seq:out")});
    EXPECT_THAT(sourceNames(), ElementsAre("seq"));
    EXPECT_THAT(endpoints_.setup()->destinations, IsEmpty());
}

TEST_F(JackEndpointsTest, ListsMirrorsWhereTheSequencerItselfIsNotListed) {
    JackEndpoints all(false);
    all.replaceAll({.serverName = "JACK", .ports = {source("a2j:Keys")}, .renames = {}});
    EXPECT_EQ(all.setup()->sources.size(), 1U);
}

TEST_F(JackEndpointsTest, ReportsNothingWhereNothingIsDifferent) {
    replace({source("seq:out")});
    const auto setup = endpoints_.setup();
    EXPECT_TRUE(replace({source("seq:out"), source("Corvel:new")}).isNone());
    EXPECT_EQ(endpoints_.setup(), setup);
}

TEST_F(JackEndpointsTest, ReportsAnotherServerButNeitherTheFirstNorTheEndOfOne) {
    EXPECT_TRUE(replace({}, "JACK").isNone());
    EXPECT_TRUE(replace({}, "PipeWire").hasChangedProperties);
    EXPECT_TRUE(replace({}, "").isNone());
}

TEST_F(JackEndpointsTest, NeverGivesAReferenceTwiceButTheSameIDAgain) {
    replace({source("seq:out")});
    const std::int32_t id = sourceID(0);
    EXPECT_EQ(replace({}, "").removed.size(), 1U);
    EXPECT_THAT(sourceNames(), IsEmpty());
    replace({source("seq:out")});
    EXPECT_EQ(endpoints_.setup()->sources[0].ref, 2U);
    EXPECT_EQ(sourceID(0), id);
    EXPECT_EQ(endpoints_.find(1), nullptr);
    EXPECT_EQ(endpoints_.find(2)->portName, "seq:out");
}

TEST_F(JackEndpointsTest, GivesAClientThatTheServerHasNumberedTheIDOfItsName) {
    replace({source("seq-01:out")});
    EXPECT_EQ(sourceID(0), uniqueJackID(kSource, "seq", "out"));
    EXPECT_THAT(sourceNames(), ElementsAre("seq-01"));
}

TEST_F(JackEndpointsTest, GivesTwoClientsOfTheSameNameAnIDEach) {
    replace({source("seq:out"), source("seq-01:out"), source("seq-77:out", {"seq:out"})});
    EXPECT_EQ(sourceID(0), uniqueJackID(kSource, "seq-01", "out"));
    EXPECT_EQ(sourceID(1), uniqueJackID(kSource, "seq-77", "out"));
    EXPECT_EQ(sourceID(2), uniqueJackID(kSource, "seq", "out"));
}

TEST_F(JackEndpointsTest, LeavesTheIDOfTheNameToTheClientWithoutANumber) {
    replace({source("seq-01:out"), source("seq:out")});
    EXPECT_EQ(sourceID(0), uniqueJackID(kSource, "seq-01", "out"));
    EXPECT_EQ(sourceID(1), uniqueJackID(kSource, "seq", "out"));
}

TEST_F(JackEndpointsTest, KeepsAnIDForAsLongAsThePortLives) {
    replace({source("seq-01:out")});
    const std::int32_t id = sourceID(0);
    replace({source("seq-01:out"), source("seq:out")});
    EXPECT_EQ(sourceID(0), id);
    EXPECT_EQ(sourceID(1), id + 1);
}

TEST_F(JackEndpointsTest, KeepsReferenceAndIDOfAPortThatIsRenamed) {
    replace({source("seq:out")});
    const std::int32_t id = sourceID(0);
    const auto change = endpoints_.replaceAll(
        {.serverName = "JACK", .ports = {source("seq:left")}, .renames = {{"seq:out", "seq:left"}}});
    EXPECT_THAT(change.added, IsEmpty());
    EXPECT_THAT(change.removed, IsEmpty());
    EXPECT_TRUE(change.hasChangedProperties);
    EXPECT_EQ(endpoints_.setup()->sources[0].ref, 1U);
    EXPECT_EQ(endpoints_.setup()->sources[0].name, "seq:left");
    EXPECT_EQ(sourceID(0), id);
    EXPECT_EQ(endpoints_.find(1)->portName, "seq:left");
}

TEST_F(JackEndpointsTest, ReportsAPrettyNameThatComesLater) {
    replace({source("seq:out")});
    JackPort port = source("seq:out");
    port.prettyName = "Drums";
    EXPECT_TRUE(replace({port}).hasChangedProperties);
    EXPECT_THAT(sourceNames(), ElementsAre("Drums"));
}

TEST_F(JackEndpointsTest, ListsEachClientAsADeviceWithItsPorts) {
    replace({source("b:out"), destination("a:in"), destination("b:in")});
    const auto setup = endpoints_.setup();
    ASSERT_EQ(setup->devices.size(), 2U);
    EXPECT_EQ(setup->devices[0].name, "a");
    EXPECT_EQ(setup->devices[1].name, "b");
    EXPECT_EQ(setup->devices[0].ref, 0x2000'0000U);
    EXPECT_EQ(setup->devices[1].ref, 0x2000'0001U);
    EXPECT_EQ(setup->devices[0].entities[0].ref, 0x1000'0000U);
    EXPECT_EQ(setup->devices[1].entities[0].ref, 0x1000'0001U);
    EXPECT_EQ(setup->devices[1].entities[0].name, "b");
    ASSERT_EQ(setup->devices[1].entities.size(), 1U);
    EXPECT_EQ(setup->devices[1].entities[0].sources[0].name, "b:out");
    EXPECT_EQ(setup->devices[1].entities[0].destinations[0].name, "b:in");
}

TEST_F(JackEndpointsTest, TakesNamesOfAnyBytes) {
    replace({source(std::string("\xff\x01\x00:\n", 5)), source(":"), source("x"), source("")});
    const auto setup = endpoints_.setup();
    EXPECT_EQ(setup->sources.size(), 4U);
    std::set<std::int32_t> ids;
    for (const MIDIEndpointRecord& record : setup->sources) {
        ids.insert(*record.uniqueID);
    }
    EXPECT_EQ(ids.size(), 4U);
}

}  // namespace
}  // namespace corvel::hosts
