#include "hosts/EndpointNaming.hpp"
#include "tests/hosts/alsa/EndpointRegistryFixture.hpp"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(EndpointRegistryTest, TakesPortsThatMayBeReadOrWrittenThroughSubscriptions) {
    PortDescription port = programPort(128, 0, "Synth", "Port");
    const auto accepted = [&](unsigned capabilities) {
        port.capabilities = capabilities;
        return std::pair(EndpointRegistry::isEndpoint(port, kSource), EndpointRegistry::isEndpoint(port, kDestination));
    };
    EXPECT_EQ(accepted(kReadable), std::pair(true, false));
    EXPECT_EQ(accepted(kWritable), std::pair(false, true));
    EXPECT_EQ(accepted(kReadable | kWritable), std::pair(true, true));
    EXPECT_EQ(accepted(SND_SEQ_PORT_CAP_READ), std::pair(false, false));
    EXPECT_EQ(accepted(SND_SEQ_PORT_CAP_SUBS_READ), std::pair(false, false));
    EXPECT_EQ(accepted(SND_SEQ_PORT_CAP_WRITE), std::pair(false, false));
    EXPECT_EQ(accepted(SND_SEQ_PORT_CAP_SUBS_WRITE), std::pair(false, false));
    EXPECT_EQ(accepted(kReadable | kWritable | SND_SEQ_PORT_CAP_NO_EXPORT), std::pair(false, false));
    EXPECT_EQ(accepted(kReadable | kWritable | (1U << 9U)), std::pair(false, false))
        << "a MIDI 2.0 endpoint's catch-all";
    EXPECT_EQ(accepted(kReadable | kWritable | (1U << 8U)), std::pair(true, true)) << "inactive, but there";
}

TEST_F(EndpointRegistryTest, LeavesOutTheSystemClient) {
    replaceAll({cardPort(0, -1, "System", "Announce"), programPort(128, 0, "Synth", "Out")});
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Out"));
}

// The identity of a port

TEST_F(EndpointRegistryTest, GivesAPortTheSameReferencesAsLongAsItLives) {
    const PortDescription port = programPort(128, 0, "Synth", "Port");
    registry_.update(port);
    const MIDIObjectRef source = firstSource().ref;
    const MIDIObjectRef destination = firstDestination().ref;
    EXPECT_NE(source, 0U);
    EXPECT_NE(destination, 0U);
    EXPECT_NE(source, destination);
    replaceAll({programPort(20, 0, "Another", "Port"), port});
    EXPECT_EQ(sources()[1].ref, source);
    ASSERT_NE(registry_.find(source), nullptr);
    EXPECT_EQ(registry_.find(source)->address, (PortAddress{128, 0}));
    EXPECT_EQ(registry_.find(source)->direction, kSource);
    ASSERT_NE(registry_.find({128, 0}, kDestination), nullptr);
    EXPECT_EQ(registry_.find({128, 0}, kDestination)->ref, destination);
}

TEST_F(EndpointRegistryTest, NeverGivesAReferenceToTheNextPortAtTheAddress) {
    const PortDescription port = programPort(128, 0, "Synth", "Port");
    std::set<MIDIObjectRef> refs;
    const auto expectAnotherRef = [&] {
        registry_.update(port);
        EXPECT_TRUE(refs.insert(firstSource().ref).second);
    };
    expectAnotherRef();
    registry_.portEnded(port.address);
    expectAnotherRef();
    replaceAll({});
    expectAnotherRef();
    registry_.clear();
    expectAnotherRef();
}

TEST_F(EndpointRegistryTest, FindsNoReferencesOfPortsThatHaveEnded) {
    PortDescription port = programPort(128, 0, "Synth", "Port");
    const auto expectGone = [&](const MIDIEndpointRecord& endpoint) {
        EXPECT_EQ(registry_.find(endpoint.ref), nullptr);
    };
    registry_.update(port);
    registry_.update(programPort(128, 1, "Synth", "Another"));
    const MIDIEndpointRecord ended = firstSource();
    registry_.portEnded(port.address);
    expectGone(ended);
    EXPECT_EQ(registry_.find(port.address, kSource), nullptr);
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Another"));

    const MIDIEndpointRecord notListed = firstSource();
    replaceAll({port});
    expectGone(notListed);

    const MIDIEndpointRecord closed = firstDestination();
    const MIDIEndpointRecord stillOpen = firstSource();
    port.capabilities = kReadable;
    registry_.update(port);
    expectGone(closed);
    EXPECT_NE(registry_.find(stillOpen.ref), nullptr);

    registry_.clear();
    expectGone(stillOpen);
}

TEST_F(EndpointRegistryTest, TakesARenamedPortForTheSameUnlessPortsMayHaveBeenMissed) {
    const PortDescription kept = programPort(127, 0, "Kept", "Port");
    replaceAll({kept, programPort(128, 0, "Synth", "Port"), programPort(129, 0, "Gone", "Port")});
    const std::vector<MIDIEndpointRecord> before = sources();
    EXPECT_THAT(registry_.replaceAll({kept, programPort(128, 0, "Synth", "Renamed")}, false),
                ElementsAre(PortAddress{129, 0}));
    EXPECT_EQ(sources()[1].ref, before[1].ref);
    EXPECT_EQ(sources()[1].uniqueID, before[1].uniqueID);
    EXPECT_EQ(sources()[1].displayName, "Synth Renamed");

    EXPECT_THAT(registry_.replaceAll({kept, programPort(128, 0, "Other", "Port")}, true),
                ElementsAre(PortAddress{128, 0}));
    EXPECT_EQ(sources()[0].ref, before[0].ref);
    EXPECT_NE(sources()[1].ref, before[1].ref);
    EXPECT_NE(sources()[1].uniqueID, before[1].uniqueID);
    EXPECT_EQ(registry_.find(before[1].ref), nullptr);
}

TEST_F(EndpointRegistryTest, ListsTheAddressesOfAClientsPorts) {
    replaceAll({programPort(127, 9, "A", "Port"), programPort(128, 0, "B", "Port"), programPort(128, 7, "B", "Port"),
                programPort(129, 0, "C", "Port")});
    EXPECT_THAT(registry_.portsOf(128), ElementsAre(PortAddress{128, 0}, PortAddress{128, 7}));
    EXPECT_THAT(registry_.portsOf(130), IsEmpty());
}

// Unique IDs

TEST_F(EndpointRegistryTest, GivesAPortItsFinalIDOnceItHasANameOfItsOwnAndNoOtherAfterwards) {
    registry_.update(programPort(129, 0, "Client-129", "port-0"));
    const MIDIObjectRef ref = firstSource().ref;
    EXPECT_THAT(sourceIDs(), ElementsAre(hosts::uniqueEndpointID(kSource, "Client-129", 0, "port-0")));
    registry_.update(programPort(129, 0, "Synth", "port-0"));
    EXPECT_THAT(sourceIDs(), ElementsAre(hosts::uniqueEndpointID(kSource, "Synth", 0, "port-0")));
    registry_.update(programPort(129, 0, "Synth", "Out"));
    EXPECT_THAT(sourceIDs(), ElementsAre(hosts::uniqueEndpointID(kSource, "Synth", 0, "Out")));
    registry_.update(programPort(129, 0, "Synth", "Renamed"));
    registry_.update(programPort(129, 0, "Client-129", "port-0"));
    registry_.update(programPort(129, 0, "Sampler", "In"));
    EXPECT_THAT(sourceIDs(), ElementsAre(hosts::uniqueEndpointID(kSource, "Synth", 0, "Out")));
    EXPECT_EQ(firstSource().ref, ref);
}

TEST_F(EndpointRegistryTest, TakesADefaultNameForOneOnlyWithTheNumbersOfThePort) {
    registry_.update(programPort(129, 1, "Client-128", "port-0"));
    const std::vector<std::int32_t> ids = sourceIDs();
    registry_.update(programPort(129, 1, "Synth", "Out"));
    EXPECT_EQ(sourceIDs(), ids);
}

TEST_F(EndpointRegistryTest, FreesAProvisionalIDOnceTheFinalOneIsThere) {
    // Both ports ask for the same ID in turn.
    registry_.update(programPort(129, 0, "Client-129", "Out"));
    registry_.update(programPort(129, 0, "Synth", "Out"));
    registry_.update(programPort(130, 0, "Client-129", "Out"));
    EXPECT_THAT(sourceIDs(), ElementsAre(hosts::uniqueEndpointID(kSource, "Synth", 0, "Out"),
                                         hosts::uniqueEndpointID(kSource, "Client-129", 0, "Out")));
}

TEST_F(EndpointRegistryTest, GivesEqualPortsNeighbouringIDsInTheirOrder) {
    const std::int32_t wanted = hosts::uniqueEndpointID(kSource, "Synth", 0, "Out");
    replaceAll({programPort(128, 0, "Synth", "Out"), programPort(129, 0, "Synth", "Out"),
                programPort(130, 0, "Synth", "Out")});
    EXPECT_THAT(sourceIDs(), ElementsAre(wanted, wanted + 1, wanted + 2));
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Out", "Synth Out", "Synth Out"));
}

TEST_F(EndpointRegistryTest, StepsOverZeroAndFromTheMaximumIDToTheMinimum) {
    // Names made for their hashes.
    replaceAll({programPort(128, 0, "Bridge", "Port TX50G9"), programPort(129, 0, "Bridge", "Port TX50G9")});
    EXPECT_THAT(sourceIDs(), ElementsAre(-1, 1));
    replaceAll({programPort(130, 0, "Bridge", "Port 07QBP1J"), programPort(131, 0, "Bridge", "Port 07QBP1J")});
    EXPECT_THAT(sourceIDs(), ElementsAre(2147483647, -2147483648));
}

TEST_F(EndpointRegistryTest, KeepsAnIDWithItsPortWhenAnEqualOneGoes) {
    const std::int32_t wanted = hosts::uniqueEndpointID(kSource, "Synth", 0, "Out");
    const PortDescription second = programPort(129, 0, "Synth", "Out");
    replaceAll({programPort(128, 0, "Synth", "Out"), second});
    registry_.portEnded({128, 0});
    replaceAll({second});
    EXPECT_THAT(sourceIDs(), ElementsAre(wanted + 1));
    replaceAll({programPort(128, 0, "Synth", "Out"), second});
    EXPECT_THAT(sourceIDs(), ElementsAre(wanted, wanted + 1));
}

TEST_F(EndpointRegistryTest, LeavesTheProcessIDOutOfNamesAndIDs) {
    PortDescription port = programPort(128, 0, "FLUID Synth (1234)", "Synth input port");
    port.processID = 1234;
    replaceAll({port});
    EXPECT_EQ(firstDestination().uniqueID, 1699463900);
    EXPECT_EQ(firstDestination().displayName, "FLUID Synth Synth input port");
    EXPECT_EQ(firstDestination().name, "Synth input port");
}

TEST_F(EndpointRegistryTest, NumbersPortsOfOneClientThatWouldLookTheSame) {
    replaceAll({programPort(128, 0, "Synth", "Out"), programPort(128, 3, "Synth", "Out"),
                programPort(128, 4, "Synth", "Other")});
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Out (0)", "Synth Out (3)", "Synth Other"));
}

TEST_F(EndpointRegistryTest, IdentifiesAUSBDeviceBySerialNumberElseByPath) {
    cards_[1] = usbCard(1, "1-2", "AB12");
    replaceAll({cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1")});
    EXPECT_THAT(sourceIDs(), ElementsAre(1470946362));
    EXPECT_EQ(firstSource().manufacturer, "Roland");
    registry_.portEnded({20, 0});
    cards_[1] = usbCard(1, "1-2", std::nullopt);
    replaceAll({cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1")});
    EXPECT_THAT(sourceIDs(), ElementsAre(-2128938868));
}

TEST_F(EndpointRegistryTest, KnowsAUSBDeviceAgainWhateverItsClientAndCardNumber) {
    cards_[1] = usbCard(1, "1-2", "AB12");
    cards_[2] = usbCard(2, "1-3", "AB12");
    replaceAll({cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1")});
    registry_.portEnded({20, 0});
    replaceAll({cardPort(28, 2, "UM-ONE", "UM-ONE MIDI 1")});
    EXPECT_THAT(sourceIDs(), ElementsAre(1470946362));
}

TEST_F(EndpointRegistryTest, TellsLikeDevicesApartByTheirPlaceFromTheSecondOnForAsLongAsEachLives) {
    cards_[1] = usbCard(1, "1-2", std::nullopt);
    cards_[2] = usbCard(2, "1-3", std::nullopt);
    const PortDescription first = cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1");
    const PortDescription second = cardPort(24, 2, "UM-ONE", "UM-ONE MIDI 1");
    replaceAll({first});
    EXPECT_THAT(sourceNames(), ElementsAre("UM-ONE MIDI 1"));
    replaceAll({first, second});
    EXPECT_THAT(sourceNames(), ElementsAre(HasSubstr("USB 1-2"), HasSubstr("USB 1-3")));
    const std::string placed = sourceNames().front();
    registry_.portEnded({24, 0});
    replaceAll({first});
    EXPECT_THAT(sourceNames(), ElementsAre(placed)) << "or its connections would follow the other device";
    registry_.portEnded({20, 0});
    replaceAll({first});
    EXPECT_THAT(sourceNames(), ElementsAre("UM-ONE MIDI 1"));
}

TEST_F(EndpointRegistryTest, TellsLikeCardsOfOtherBusesApartByTheirID) {
    cards_[1] = {"AudioPCI", "Ensoniq", std::nullopt};
    cards_[2] = {"AudioPCI_1", "Ensoniq", std::nullopt};
    replaceAll({cardPort(20, 1, "Ensoniq AudioPCI", "ES1370"), cardPort(24, 2, "Ensoniq AudioPCI", "ES1370")});
    const std::vector<std::string> names = sourceNames();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_NE(names[0], names[1]);
    EXPECT_THAT(names[1], HasSubstr("AudioPCI_1"));
}

TEST_F(EndpointRegistryTest, ListsAnInactivePortAsOffline) {
    PortDescription port = programPort(128, 0, "Synth", "Out");
    port.capabilities |= 1U << 8U;
    replaceAll({port, programPort(129, 0, "Synth B", "Out")});
    EXPECT_EQ(sources()[0].isOffline, true);
    EXPECT_EQ(sources()[1].isOffline, false);
}

TEST_F(EndpointRegistryTest, TellsAThousandPortsApart) {
    // Near the 254 that the sequencer gives to a client, all of one name.
    for (int client = 128; client < 132; ++client) {
        for (int port = 0; port < 250; ++port) {
            registry_.update(programPort(client, port, "Synth", "Out"));
        }
    }
    std::set<std::int32_t> ids;
    std::set<MIDIObjectRef> refs;
    const std::shared_ptr<const MIDISetup> setup = registry_.setup();
    for (const auto& records : {setup->sources, setup->destinations}) {
        ASSERT_EQ(records.size(), 1'000U);
        for (const MIDIEndpointRecord& record : records) {
            ids.insert(record.uniqueID.value());
            refs.insert(record.ref);
        }
        EXPECT_EQ(records[499].displayName, "Synth Out (249)");
    }
    EXPECT_EQ(ids.size(), 2'000U);
    EXPECT_FALSE(ids.contains(0));
    EXPECT_EQ(refs.size(), 2'000U);
    for (int client = 128; client < 132; ++client) {
        for (const PortAddress& address : registry_.portsOf(client)) {
            registry_.portEnded(address);
        }
    }
    EXPECT_EQ(*registry_.setup(), MIDISetup());
}

}  // namespace

}  // namespace corvel::tests
