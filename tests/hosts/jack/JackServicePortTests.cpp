#include "tests/hosts/jack/JackServiceFixture.hpp"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>

namespace corvel::hosts {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

TEST_F(JackServiceTest, HasThePortOfADestinationReadyOnceAConnectionLeadsThere) {
    server_->addDestination("dump:in");
    start();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    use("dump:in");
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("dump in"));
}

TEST_F(JackServiceTest, ListensOnlyToSourcesOfConnections) {
    server_->addSource("seq:out");
    server_->addSource("other:out");
    start();
    connect("seq:out", 77);
    connect("other:out", 78);
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    use("seq:out");
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
    play({{"seq:out", {{3, {0x90, 60, 100}}}}, {"other:out", {{3, {0x90, 61, 100}}}}});
    EXPECT_THAT(received_, ElementsAre(std::pair<MIDIObjectRef, Bytes>(77, {0x90, 60, 100})));
}

TEST_F(JackServiceTest, ListensToASourceThatIsConnectedAfterItIsUsed) {
    server_->addSource("seq:out");
    start();
    use("seq:out");
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    connect("seq:out", 77);
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
}

TEST_F(JackServiceTest, KeepsThePortsForAWhileWhenNoConnectionUsesThemAnyMore) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    connect("seq:out");
    use("dump:in");
    onQueue([this] { service_->setUsedEndpoints({}, {}); });
    settle();
    EXPECT_THAT(server_->ownPortNames(), SizeIs(2));
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackServiceTest, GoesOnListeningIfASourceIsUsedAgainBeforeItsPortIsReleased) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    onQueue([this] { service_->setUsedEndpoints({}, {}); });
    queue_->advance(9s);
    onQueue([this] { service_->setUsedEndpoints(usedSources_, {}); });
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("seq out"));
    play({{"seq:out", {{3, {0x90, 60, 100}}}}});
    EXPECT_THAT(received_, SizeIs(1));
}

TEST_F(JackServiceTest, SendsToADestinationThatNoConnectionLeadsTo) {
    server_->addDestination("dump:in");
    start();
    onQueue([this] { EXPECT_EQ(send(destinationRef("dump:in"), {0xB0, 123, 0}), kMIDISuccess); });
    settle();
    EXPECT_THAT(server_->sent["dump:in"], SizeIs(1));
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackServiceTest, RefusesEndpointsThatAreNotThere) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    onQueue([this] {
        EXPECT_EQ(service_->connectSource(999, 1), -ENODEV);
        EXPECT_EQ(service_->connectSource(destinationRef("dump:in"), 1), -ENODEV);
        EXPECT_EQ(service_->disconnectSource(sourceRef("seq:out")), -ENODEV);
        EXPECT_EQ(send(999, {0x90, 60, 100}), -ENODEV);
        EXPECT_EQ(send(sourceRef("seq:out"), {0x90, 60, 100}), -ENODEV);
    });
}

TEST_F(JackServiceTest, LeavesThePortsAloneInAReload) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    const std::size_t wishesBefore = wishCount_;
    onQueue([this] {
        const MIDIObjectRef source = sourceRef("seq:out");
        EXPECT_EQ(service_->disconnectSource(source), kMIDISuccess);
        EXPECT_EQ(service_->connectSource(source, 5), kMIDISuccess);
    });
    EXPECT_EQ(wishCount_, wishesBefore);
    play({{"seq:out", {{3, {0x90, 60, 100}}}}});
    EXPECT_EQ(received_.at(0).first, 5U);
}

TEST_F(JackServiceTest, LetsGoOfASourceThatIsDisconnected) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    onQueue([this] { EXPECT_EQ(service_->disconnectSource(sourceRef("seq:out")), kMIDISuccess); });
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackServiceTest, ReleasesPortsEachTimeThatTheyAreNoLongerUsed) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    for (int count = 0; count < 2; ++count) {
        onQueue([this] { EXPECT_EQ(service_->connectSource(sourceRef("seq:out"), 5), kMIDISuccess); });
        use("seq:out");
        use("dump:in");
        EXPECT_THAT(server_->ownPortNames(), UnorderedElementsAre("seq out", "dump in"));
        usedSources_.clear();
        usedDestinations_.clear();
        onQueue([this] {
            service_->setUsedEndpoints({}, {});
            EXPECT_EQ(service_->disconnectSource(sourceRef("seq:out")), kMIDISuccess);
        });
        settle();
        EXPECT_THAT(server_->ownPortNames(), ElementsAre("dump in")) << "disconnected ones at once";
        queue_->advance(10s);
        settle();
        EXPECT_THAT(server_->ownPortNames(), IsEmpty());
    }
}

TEST_F(JackServiceTest, KeepsADestinationInUseWhenAnotherIsReleased) {
    server_->addDestination("a:in");
    server_->addDestination("b:in");
    start();
    use("a:in");
    use("b:in");
    onQueue([this] { service_->setUsedEndpoints({}, std::array<MIDIObjectRef, 1>{destinationRef("a:in")}); });
    queue_->advance(10s);
    settle();
    EXPECT_THAT(server_->ownPortNames(), ElementsAre("a in"));
}

TEST_F(JackServiceTest, ReleasesThePortsOfEndpointsThatGo) {
    server_->addSource("seq:out");
    server_->addDestination("dump:in");
    start();
    connect("seq:out");
    use("dump:in");
    server_->remove("seq:out");
    server_->remove("dump:in");
    settle();
    EXPECT_THAT(server_->ownPortNames(), IsEmpty());
}

TEST_F(JackServiceTest, ListsThePortsAgainAndRestoresConnectionsOnlyForAListingAfresh) {
    server_->addSource("seq:out");
    start();
    connect("seq:out");
    server_->ownPorts[0]->connectedTo.clear();
    const std::size_t before = server_->listCount;
    onQueue([this] { EXPECT_NE(service_->setup(MIDIListing::known), nullptr); });
    settle();
    EXPECT_EQ(server_->connectedTo("seq:out"), nullptr);
    onQueue([this] { EXPECT_NE(service_->setup(MIDIListing::afresh), nullptr); });
    settle();
    EXPECT_NE(server_->connectedTo("seq:out"), nullptr);
    EXPECT_EQ(server_->listCount, before + 1);
}

}  // namespace
}  // namespace corvel::hosts
