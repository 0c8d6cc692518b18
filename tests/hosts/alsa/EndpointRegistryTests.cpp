#include "hosts/alsa/EndpointRegistry.hpp"

#include "hosts/alsa/EndpointNaming.hpp"

#include <alsa/asoundlib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

namespace {

using hosts::Endpoint;
using hosts::EndpointRegistry;
using hosts::PortAddress;
using hosts::PortDescription;
using hosts::SoundCard;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr auto kSource = MIDIEndpointDirection::source;
constexpr auto kDestination = MIDIEndpointDirection::destination;
constexpr unsigned kReadable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
constexpr unsigned kWritable = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

PortDescription programPort(int client, int port, const std::string& clientName, const std::string& portName) {
    PortDescription description;
    description.address = {client, port};
    description.clientName = clientName;
    description.portName = portName;
    description.capabilities = kReadable | kWritable;
    return description;
}

PortDescription cardPort(int client, int card, const std::string& clientName, const std::string& portName) {
    PortDescription description = programPort(client, 0, clientName, portName);
    description.card = card;
    description.isKernelClient = true;
    return description;
}

SoundCard usbCard(int number, const std::string& path, const std::optional<std::string>& serialNumber) {
    return {"UM" + std::to_string(number), SoundCard::USBDevice{"0582", "012a", serialNumber, path, "Roland"}};
}

/// A registry over ports and cards that a test lists.
class EndpointRegistryTest : public testing::Test {
protected:
    void update(const std::vector<PortDescription>& ports, bool mayHaveMissedPorts = false) {
        registry_.update(ports, mayHaveMissedPorts);
    }

    std::vector<std::string> sourceNames() const {
        std::vector<std::string> names;
        for (const Endpoint& endpoint : registry_.sources()) {
            names.push_back(endpoint.displayName);
        }
        return names;
    }

    std::vector<std::int32_t> sourceIDs() const {
        std::vector<std::int32_t> ids;
        for (const Endpoint& endpoint : registry_.sources()) {
            ids.push_back(endpoint.uniqueID);
        }
        return ids;
    }

    std::map<int, SoundCard> cards_;
    EndpointRegistry registry_{[this](int card) { return cards_.at(card); }};
};

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
    update({cardPort(0, -1, "System", "Announce"), programPort(128, 0, "Synth", "Out")});
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Out"));
}

TEST_F(EndpointRegistryTest, GivesAPortTheSameReferencesAsLongAsItLives) {
    const PortDescription port = programPort(128, 0, "Synth", "Port");
    update({port});
    const MIDIObjectRef source = registry_.sources().front().ref;
    const MIDIObjectRef destination = registry_.destinations().front().ref;
    EXPECT_NE(source, 0U);
    EXPECT_NE(destination, 0U);
    EXPECT_NE(source, destination);
    update({programPort(20, 0, "Another", "Port"), port});
    EXPECT_EQ(registry_.sources()[1].ref, source);
    ASSERT_NE(registry_.find(source), nullptr);
    EXPECT_EQ(registry_.find(source)->address, (PortAddress{128, 0}));
}

TEST_F(EndpointRegistryTest, NeverGivesAReferenceToTheNextPortAtTheAddress) {
    const PortDescription port = programPort(128, 0, "Synth", "Port");
    update({port});
    const MIDIObjectRef first = registry_.sources().front().ref;
    registry_.portEnded({128, 0});
    EXPECT_EQ(registry_.find(first), nullptr);
    EXPECT_EQ(registry_.knownReference({128, 0}, kSource), 0U);
    update({port});
    const MIDIObjectRef second = registry_.sources().front().ref;
    EXPECT_NE(second, first);
    update({});
    update({port});
    EXPECT_NE(registry_.sources().front().ref, first);
    EXPECT_NE(registry_.sources().front().ref, second);
    registry_.clear();
    update({port});
    EXPECT_NE(registry_.sources().front().ref, second);
}

TEST_F(EndpointRegistryTest, TakesARenamedPortForTheSameUnlessPortsMayHaveBeenMissed) {
    update({programPort(128, 0, "Synth", "Port")});
    const Endpoint before = registry_.sources().front();
    update({programPort(128, 0, "Synth", "Renamed")});
    EXPECT_EQ(registry_.sources().front().ref, before.ref);
    EXPECT_EQ(registry_.sources().front().uniqueID, before.uniqueID);
    EXPECT_EQ(registry_.sources().front().displayName, "Synth Renamed");
    update({programPort(128, 0, "Other", "Port")}, true);
    EXPECT_NE(registry_.sources().front().ref, before.ref);
    EXPECT_EQ(registry_.find(before.ref), nullptr);
}

TEST_F(EndpointRegistryTest, GivesEqualPortsNeighbouringIDsInTheirOrder) {
    const std::int32_t wanted = hosts::uniqueEndpointID(kSource, "Synth", 0, "Out");
    update({programPort(128, 0, "Synth", "Out"), programPort(129, 0, "Synth", "Out"),
            programPort(130, 0, "Synth", "Out")});
    EXPECT_THAT(sourceIDs(), ElementsAre(wanted, wanted + 1, wanted + 2));
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Out", "Synth Out", "Synth Out"));
}

TEST_F(EndpointRegistryTest, StepsOverZeroAndFromTheLargestIDToTheSmallest) {
    // Names made for their hashes.
    update({programPort(128, 0, "Bridge", "Port TX50G9"), programPort(129, 0, "Bridge", "Port TX50G9")});
    EXPECT_THAT(sourceIDs(), ElementsAre(-1, 1));
    update({programPort(130, 0, "Bridge", "Port 07QBP1J"), programPort(131, 0, "Bridge", "Port 07QBP1J")});
    EXPECT_THAT(sourceIDs(), ElementsAre(2147483647, -2147483648));
}

TEST_F(EndpointRegistryTest, KeepsAnIDWithItsPortWhenAnEqualOneGoes) {
    const std::int32_t wanted = hosts::uniqueEndpointID(kSource, "Synth", 0, "Out");
    const PortDescription second = programPort(129, 0, "Synth", "Out");
    update({programPort(128, 0, "Synth", "Out"), second});
    registry_.portEnded({128, 0});
    update({second});
    EXPECT_THAT(sourceIDs(), ElementsAre(wanted + 1));
    update({programPort(128, 0, "Synth", "Out"), second});
    EXPECT_THAT(sourceIDs(), ElementsAre(wanted, wanted + 1));
}

TEST_F(EndpointRegistryTest, LeavesTheProcessIDOutOfNamesAndIDs) {
    PortDescription port = programPort(128, 0, "FLUID Synth (1234)", "Synth input port");
    port.processID = 1234;
    update({port});
    EXPECT_EQ(registry_.destinations().front().uniqueID, 1699463900);
    EXPECT_EQ(registry_.destinations().front().displayName, "FLUID Synth Synth input port");
    EXPECT_EQ(registry_.destinations().front().name, "Synth input port");
}

TEST_F(EndpointRegistryTest, NumbersPortsOfOneClientThatWouldLookTheSame) {
    update({programPort(128, 0, "Synth", "Out"), programPort(128, 3, "Synth", "Out"),
            programPort(128, 4, "Synth", "Other")});
    EXPECT_THAT(sourceNames(), ElementsAre("Synth Out (0)", "Synth Out (3)", "Synth Other"));
}

TEST_F(EndpointRegistryTest, IdentifiesAUSBDeviceBySerialNumberElseByPath) {
    cards_[1] = usbCard(1, "1-2", "AB12");
    update({cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1")});
    EXPECT_THAT(sourceIDs(), ElementsAre(1470946362));
    EXPECT_EQ(registry_.sources().front().manufacturer, "Roland");
    registry_.portEnded({20, 0});
    cards_[1] = usbCard(1, "1-2", std::nullopt);
    update({cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1")});
    EXPECT_THAT(sourceIDs(), ElementsAre(-2128938868));
}

TEST_F(EndpointRegistryTest, KnowsAUSBDeviceAgainWhateverItsClientAndCardNumber) {
    cards_[1] = usbCard(1, "1-2", "AB12");
    cards_[2] = usbCard(2, "1-3", "AB12");
    update({cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1")});
    registry_.portEnded({20, 0});
    update({cardPort(28, 2, "UM-ONE", "UM-ONE MIDI 1")});
    EXPECT_THAT(sourceIDs(), ElementsAre(1470946362));
}

TEST_F(EndpointRegistryTest, TellsLikeDevicesApartByTheirPlaceFromTheSecondOnForAsLongAsEachLives) {
    cards_[1] = usbCard(1, "1-2", std::nullopt);
    cards_[2] = usbCard(2, "1-3", std::nullopt);
    const PortDescription first = cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1");
    const PortDescription second = cardPort(24, 2, "UM-ONE", "UM-ONE MIDI 1");
    update({first});
    EXPECT_THAT(sourceNames(), ElementsAre("UM-ONE MIDI 1"));
    update({first, second});
    EXPECT_THAT(sourceNames(), ElementsAre(HasSubstr("USB 1-2"), HasSubstr("USB 1-3")));
    const std::string placed = sourceNames().front();
    registry_.portEnded({24, 0});
    update({first});
    EXPECT_THAT(sourceNames(), ElementsAre(placed)) << "or its connections would follow the other device";
    registry_.portEnded({20, 0});
    update({first});
    EXPECT_THAT(sourceNames(), ElementsAre("UM-ONE MIDI 1"));
}

TEST_F(EndpointRegistryTest, TellsLikeCardsOfOtherBusesApartByTheirID) {
    cards_[1] = {"AudioPCI", std::nullopt};
    cards_[2] = {"AudioPCI_1", std::nullopt};
    update({cardPort(20, 1, "Ensoniq AudioPCI", "ES1370"), cardPort(24, 2, "Ensoniq AudioPCI", "ES1370")});
    const std::vector<std::string> names = sourceNames();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_NE(names[0], names[1]);
    EXPECT_THAT(names[1], HasSubstr("AudioPCI_1"));
}

TEST_F(EndpointRegistryTest, ListsAnInactivePortAsOffline) {
    PortDescription port = programPort(128, 0, "Synth", "Out");
    port.capabilities |= 1U << 8U;
    update({port, programPort(129, 0, "Synth B", "Out")});
    EXPECT_TRUE(registry_.sources()[0].isOffline);
    EXPECT_FALSE(registry_.sources()[1].isOffline);
}

TEST_F(EndpointRegistryTest, GivesManyPortsDifferentIDs) {
    std::vector<PortDescription> ports;
    for (int client = 128; client < 168; ++client) {
        for (int port = 0; port < 16; ++port) {
            ports.push_back(programPort(client, port, "Synth", "Out"));
        }
    }
    update(ports);
    std::vector<std::int32_t> ids = sourceIDs();
    for (const Endpoint& endpoint : registry_.destinations()) {
        ids.push_back(endpoint.uniqueID);
    }
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
    EXPECT_EQ(std::find(ids.begin(), ids.end(), 0), ids.end());
}

}  // namespace

}  // namespace corvel::tests
