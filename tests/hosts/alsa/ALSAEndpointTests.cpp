// Which ports the ALSA host lists and how it names them, on the real sequencer.

#include "core/support/EventLoop.hpp"
#include "tests/hosts/alsa/HostUnderTest.hpp"
#include "tests/support/ConnectionsFile.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corvel::tests {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr unsigned kInactive = 1U << 8U;
constexpr unsigned kUMPEndpoint = 1U << 9U;

std::vector<SequencerPort> portsOf(const SequencerPeer& observer, const std::string& clientName) {
    std::vector<SequencerPort> found;
    for (const SequencerPort& port : observer.ports()) {
        if (port.clientName == clientName) {
            found.push_back(port);
        }
    }
    return found;
}

TEST(ALSAEndpoints, ClientHasThreePortsThatOtherProgramsCannotPatch) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer observer("Observer");
    const std::vector<SequencerPort> ports = portsOf(observer, "Corvel");
    ASSERT_THAT(ports, SizeIs(3));
    std::set<std::string> names;
    for (const SequencerPort& port : ports) {
        names.insert(port.name);
        EXPECT_NE(port.capability & SND_SEQ_PORT_CAP_NO_EXPORT, 0U) << port.name;
        EXPECT_EQ(port.address.client, ports.front().address.client);
    }
    EXPECT_TRUE(names.contains("Corvel Input"));
    EXPECT_TRUE(names.contains("Corvel Output"));
    const SequencerAddress out = observer.addPort("Out", SequencerPeer::kSource);
    EXPECT_LT(observer.connect(out, observer.find("Corvel", "Corvel Input")), 0);
}

TEST(ALSAEndpoints, ClientIsGoneOnceItIsDisposedOf) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer observer("Observer");
    ASSERT_THAT(portsOf(observer, "Corvel"), SizeIs(3));
    corvel.dispose();
    EXPECT_TRUE(corvel.waitUntil([&] { return portsOf(observer, "Corvel").empty(); }));
}

TEST(ALSAEndpoints, AreThePortsThatOtherProgramsMaySubscribe) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer peer("Caps");
    peer.addPort("source", SequencerPeer::kSource);
    peer.addPort("destination", SequencerPeer::kDestination);
    peer.addPort("duplex", SequencerPeer::kDuplex | SND_SEQ_PORT_CAP_DUPLEX);
    peer.addPort("read only by itself", SND_SEQ_PORT_CAP_READ);
    peer.addPort("subscribe bit alone", SND_SEQ_PORT_CAP_SUBS_READ | SND_SEQ_PORT_CAP_SUBS_WRITE);
    peer.addPort("written only by itself", SND_SEQ_PORT_CAP_WRITE);
    peer.addPort("mixed", SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_WRITE);
    peer.addPort("not exported", SequencerPeer::kDuplex | SND_SEQ_PORT_CAP_NO_EXPORT);
    peer.addPort("all groups", SequencerPeer::kDuplex | kUMPEndpoint);
    EXPECT_THAT(corvel.sourceNames("Caps "), ElementsAre("Caps source", "Caps duplex"));
    EXPECT_THAT(corvel.destinationNames("Caps "), ElementsAre("Caps destination", "Caps duplex"));
}

TEST(ALSAEndpoints, LeaveOutTheSystemClientAndTheOwnClient) {
    HostUnderTest corvel;
    corvel.start();
    for (const auto& endpoints : {corvel.sources(), corvel.destinations()}) {
        ASSERT_THAT(endpoints, Not(IsEmpty()));
        for (const ListedEndpoint& endpoint : endpoints) {
            EXPECT_THAT(endpoint.displayName.value_or(""),
                        AllOf(Not(testing::HasSubstr("Timer")), Not(testing::HasSubstr("Announce")),
                              Not(testing::HasSubstr("Corvel"))));
            EXPECT_NE(endpoint.ref, 0U);
        }
    }
}

TEST(ALSAEndpoints, ComeInTheOrderOfClientAndPort) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer first("Order B");
    SequencerPeer second("Order A");
    ASSERT_LT(first.client(), second.client());
    second.addPort("1", SequencerPeer::kDuplex);
    first.addPort("2", SequencerPeer::kDuplex);
    first.addPort("1", SequencerPeer::kDuplex);
    EXPECT_THAT(corvel.sourceNames("Order "), ElementsAre("Order B 2", "Order B 1", "Order A 1"));
    EXPECT_THAT(corvel.destinationNames("Order "), ElementsAre("Order B 2", "Order B 1", "Order A 1"));
    EXPECT_THAT(corvel.sourceNames(""),
                testing::IsSupersetOf({"Midi Through Port-0", "Virtual Raw MIDI 0-0 VirMIDI 0-0"}));
    EXPECT_EQ(corvel.sourceNames("").front(), "Midi Through Port-0");
}

TEST(ALSAEndpoints, KeepTheirIDAcrossMachines) {
    HostUnderTest corvel;
    corvel.start();
    EXPECT_EQ(corvel.source("Midi Through Port-0").uniqueID, 2033977708);
    EXPECT_EQ(corvel.destination("Midi Through Port-0").uniqueID, -2065501447);
}

TEST(ALSAEndpoints, OfASoundCardAreIdentifiedByTheCard) {
    HostUnderTest corvel;
    corvel.start();
    const ListedEndpoint source = corvel.source("Virtual Raw MIDI 0-2 VirMIDI 0-2");
    EXPECT_EQ(source.uniqueID, endpointID("source", "card:VirMIDI", 0, "VirMIDI 0-2"));
    EXPECT_EQ(source.name, "VirMIDI 0-2");
    EXPECT_EQ(source.manufacturer, std::nullopt);
    EXPECT_EQ(corvel.destination("Virtual Raw MIDI 0-2 VirMIDI 0-2").uniqueID,
              endpointID("destination", "card:VirMIDI", 0, "VirMIDI 0-2"));
}

TEST(ALSAEndpoints, ShowThePortNameAloneWhereItBeginsWithTheClientName) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer peer("Naming");
    peer.addPort("Naming out", SequencerPeer::kSource);
    peer.addPort("Other out", SequencerPeer::kSource);
    EXPECT_THAT(corvel.sourceNames("Naming"), ElementsAre("Naming out", "Naming Other out"));
    EXPECT_EQ(corvel.source("Naming Other out").name, "Other out");
    EXPECT_EQ(corvel.source("Naming Other out").manufacturer, std::nullopt);
    EXPECT_EQ(corvel.source("Naming Other out").uniqueID, endpointID("source", "Naming", 1, "Other out"));
    EXPECT_FALSE(corvel.source("Naming Other out").isOffline.value_or(false));
}

TEST(ALSAEndpoints, LeaveTheProcessIDOutOfNamesAndIDs) {
    HostUnderTest corvel;
    corvel.start();
    const std::string processID = std::to_string(getpid());
    SequencerPeer peer("FLUID Synth (" + processID + ")");
    peer.addPort("Synth input port (" + processID + ":0)", SequencerPeer::kDestination);
    peer.addPort("plain", SequencerPeer::kDestination);
    const std::vector<std::string> names = corvel.destinationNames("FLUID Synth");
    ASSERT_THAT(names, SizeIs(2));
    EXPECT_THAT(names[0], Not(testing::HasSubstr(processID)));
    EXPECT_THAT(names[0], testing::StartsWith("FLUID Synth Synth input port"));
    EXPECT_EQ(names[1], "FLUID Synth plain");
    EXPECT_EQ(corvel.destination("FLUID Synth plain").uniqueID, endpointID("destination", "FLUID Synth", 1, "plain"));
}

TEST(ALSAEndpoints, OfOneClientThatWouldLookTheSameGetTheirPortNumber) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer peer("Alike");
    peer.addPort("Out", SequencerPeer::kSource);
    peer.addPort("Other", SequencerPeer::kSource);
    peer.addPort("Out", SequencerPeer::kSource);
    EXPECT_THAT(corvel.sourceNames("Alike"), ElementsAre("Alike Out (0)", "Alike Other", "Alike Out (2)"));
}

TEST(ALSAEndpoints, OfTwinProgramsKeepEqualNamesAndGetNeighbouringIDs) {
    HostUnderTest corvel;
    corvel.start();
    std::optional<SequencerPeer> first(std::in_place, "Twin");
    first->addPort("Out", SequencerPeer::kSource);
    SequencerPeer second("Twin");
    second.addPort("Out", SequencerPeer::kSource);
    ASSERT_LT(first->client(), second.client());
    EXPECT_THAT(corvel.sourceNames("Twin"), ElementsAre("Twin Out", "Twin Out"));

    const std::int32_t wanted = endpointID("source", "Twin", 0, "Out");
    const auto twinIDs = [&] {
        std::vector<std::int32_t> ids;
        for (const ListedEndpoint& endpoint : corvel.sources()) {
            if (endpoint.displayName == "Twin Out") {
                ids.push_back(endpoint.uniqueID.value_or(0));
            }
        }
        return ids;
    };
    EXPECT_THAT(twinIDs(), ElementsAre(wanted, wanted + 1));
    first.reset();
    EXPECT_THAT(twinIDs(), ElementsAre(wanted + 1)) << "an ID stays with its port as long as the port lives";
    first.emplace("Twin");
    first->addPort("Out", SequencerPeer::kSource);
    ASSERT_LT(first->client(), second.client());
    EXPECT_THAT(twinIDs(), ElementsAre(wanted, wanted + 1));
}

TEST(ALSAEndpoints, KeepIDAndReferenceWhenTheirPortIsRenamed) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer peer("Renamed");
    const SequencerAddress port = peer.addPort("before", SequencerPeer::kSource);
    const ListedEndpoint before = corvel.source("Renamed before");
    peer.renamePort(port, "after");
    const ListedEndpoint after = corvel.source("Renamed after");
    EXPECT_EQ(after.ref, before.ref);
    EXPECT_EQ(after.uniqueID, before.uniqueID);
    EXPECT_EQ(after.name, "after");
    peer.rename("Client");
    EXPECT_EQ(corvel.source("Client after").ref, before.ref);
}

TEST(ALSAEndpoints, WithNamesThatAreNotTextAreShownWithReplacementCharacters) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer peer("Bytes");
    peer.addPort("Caf\xE9 out", SequencerPeer::kSource);
    EXPECT_THAT(corvel.sourceNames("Bytes"), ElementsAre("Bytes Caf\xEF\xBF\xBD out"));
    EXPECT_EQ(corvel.source("Bytes Caf\xEF\xBF\xBD out").uniqueID,
              endpointID("source", "Bytes", 0, "Caf\xEF\xBF\xBD out"));
}

TEST(ALSAEndpoints, WithNamesCutInsideACharacterEndWithAReplacementCharacter) {
    HostUnderTest corvel;
    corvel.start();
    std::string name;
    for (int index = 0; index < 40; ++index) {
        name += "\xC3\xA9";
    }
    SequencerPeer peer("Cut");
    peer.addPort(name, SequencerPeer::kSource);
    // The kernel keeps 63 bytes: 31 characters of two bytes and the first half of another.
    EXPECT_THAT(corvel.sourceNames("Cut"), ElementsAre("Cut " + name.substr(0, 62) + "\xEF\xBF\xBD"));
}

TEST(ALSAEndpoints, OfAPortFlaggedInactiveAreListedAsOfflineUnlessTheKernelHidesIt) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer peer("Sleeping");
    const SequencerAddress port = peer.addPort("Out", SequencerPeer::kDuplex | kInactive);
    // Linux hides such ports since version 6.5.
    if (!corvel.sourceNames("Sleeping").empty()) {
        EXPECT_EQ(corvel.source("Sleeping Out").isOffline, true);
        EXPECT_EQ(corvel.destination("Sleeping Out").isOffline, true);
    }
    peer.setCapability(port, SequencerPeer::kDuplex);
    EXPECT_FALSE(corvel.source("Sleeping Out").isOffline.value_or(false));
}

TEST(ALSAEndpoints, CanBeListedBeforeThereIsAClientAndLeaveNoneBehind) {
    HostUnderTest corvel;
    SequencerPeer peer("Early");
    peer.addPort("Out", SequencerPeer::kSource);
    peer.addPort("In", SequencerPeer::kDestination);
    EXPECT_THAT(corvel.sourceNames("Early"), ElementsAre("Early Out"));
    EXPECT_THAT(corvel.destinationNames("Early"), ElementsAre("Early In"));
    EXPECT_EQ(corvel.source("Early Out").uniqueID, endpointID("source", "Early", 0, "Out"));
    EXPECT_THAT(portsOf(peer, "Corvel"), IsEmpty());
    for (const SequencerPort& port : peer.ports()) {
        EXPECT_LE(port.address.client, peer.client()) << port.clientName << " came after the peer and is still there";
    }
}

TEST(ALSAEndpoints, AStaleReferenceNeverHitsTheProgramThatCameAfter) {
    HostUnderTest corvel;
    corvel.start();
    std::optional<SequencerPeer> old(std::in_place, "Stale");
    old->addPort("Port", SequencerPeer::kDuplex);
    const MIDIObjectRef oldSource = corvel.source("Stale Port").ref;
    const MIDIObjectRef oldDestination = corvel.destination("Stale Port").ref;
    ASSERT_NE(oldSource, oldDestination);
    const int client = old->client();
    old.reset();

    const auto newcomers = startUntilClient("Stale", client);
    SequencerPeer& newcomer = *newcomers.back();
    const SequencerAddress port = newcomer.addPort("Port", SequencerPeer::kDuplex);
    EXPECT_LT(corvel.send(oldDestination, {0x90, 0x3C, 0x64}), 0);
    EXPECT_LT(corvel.connect(oldSource), 0);
    EXPECT_THAT(newcomer.subscribers(port), IsEmpty());
    EXPECT_NE(corvel.source("Stale Port").ref, oldSource);
    EXPECT_NE(corvel.destination("Stale Port").ref, oldDestination);
    EXPECT_LT(corvel.send(oldDestination, {0x90, 0x3C, 0x64}), 0);
    ASSERT_EQ(corvel.send(corvel.destination("Stale Port").ref, {0x80, 0x3C, 0x40}), 0);
    ASSERT_TRUE(newcomer.readUntil([&] { return newcomer.receivedBytes().size() >= 3; }));
    EXPECT_EQ(newcomer.receivedBytes(), (Bytes{0x80, 0x3C, 0x40})) << "and only that";
}

TEST(ALSAEndpoints, OfAReturningProgramHaveTheirIDAgain) {
    HostUnderTest corvel;
    corvel.start();
    std::optional<SequencerPeer> program(std::in_place, "Returning");
    program->addPort("Out", SequencerPeer::kSource);
    const ListedEndpoint before = corvel.source("Returning Out");
    program.reset();
    EXPECT_THAT(corvel.sourceNames("Returning"), IsEmpty());
    program.emplace("Returning");
    program->addPort("Out", SequencerPeer::kSource);
    EXPECT_EQ(corvel.source("Returning Out").uniqueID, before.uniqueID);
}

TEST(ALSADeviceTree, HasTheCardsThenTheKernelClientsWithoutOneAndNoPrograms) {
    HostUnderTest corvel;
    corvel.start();
    SequencerPeer program("Program");
    program.addPort("Out", SequencerPeer::kDuplex);
    const std::shared_ptr<const MIDISetup> setup = corvel.setup();
    EXPECT_THAT(setup->externalDevices, IsEmpty());
    ASSERT_GE(setup->devices.size(), 2U);
    const MIDIDeviceRecord& card = setup->devices.front();
    ASSERT_THAT(card.entities, SizeIs(4));
    for (std::size_t index = 0; index < 4; ++index) {
        const MIDIEntityRecord& entity = card.entities[index];
        const std::string number = "0-" + std::to_string(index);
        EXPECT_EQ(entity.name, "Virtual Raw MIDI " + number);
        ASSERT_THAT(entity.sources, SizeIs(1));
        ASSERT_THAT(entity.destinations, SizeIs(1));
        EXPECT_EQ(entity.sources[0].displayName, "Virtual Raw MIDI " + number + " VirMIDI " + number);
    }
    const MIDIDeviceRecord& through = setup->devices.back();
    EXPECT_EQ(through.name, "Midi Through");
    ASSERT_THAT(through.entities, SizeIs(1));
    EXPECT_EQ(through.entities[0].sources.at(0).ref, setup->sources.front().ref);
}

}  // namespace

}  // namespace corvel::tests
