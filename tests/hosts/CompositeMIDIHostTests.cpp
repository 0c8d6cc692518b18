#include "hosts/CompositeMIDIHost.hpp"

#include "tests/support/FakeMIDIHost.hpp"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <utility>

namespace corvel::hosts {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using tests::FakeMIDIHost;
using tests::FakeSentPacket;

/// The second service's reference in the combined list.
constexpr MIDIObjectRef second(MIDIObjectRef ref) {
    return 0x4000'0000U | ref;
}

class CompositeMIDIHostOfTwo : public testing::Test {
protected:
    void SetUp() override {
        host_->setDiagnosticHandler(
            [this](std::string message, MIDIStatus status) { diagnostics_.emplace_back(std::move(message), status); });
    }

    void open() {
        const MIDICreation client = host_->createClient(
            "Corvel", [this](const MIDINotification& notification) { notifications_.push_back(notification); });
        ASSERT_EQ(client.status, kMIDISuccess);
        client_ = client.ref;
        const MIDICreation input =
            host_->createInputPort(client_, "Corvel Input", [this](std::span<const MIDIArrival> arrivals) {
                arrivals_.insert(arrivals_.end(), arrivals.begin(), arrivals.end());
            });
        ASSERT_EQ(input.status, kMIDISuccess);
        input_ = input.ref;
        const MIDICreation output = host_->createOutputPort(client_, "Corvel Output");
        ASSERT_EQ(output.status, kMIDISuccess);
        output_ = output.ref;
    }

    const std::shared_ptr<FakeMIDIHost> a_ = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<FakeMIDIHost> b_ = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<MIDIHost> host_ = makeCompositeMIDIHost({a_, b_});
    std::vector<std::pair<std::string, MIDIStatus>> diagnostics_;
    std::vector<MIDINotification> notifications_;
    std::vector<MIDIArrival> arrivals_;
    MIDIObjectRef client_ = 0;
    MIDIObjectRef input_ = 0;
    MIDIObjectRef output_ = 0;
};

TEST_F(CompositeMIDIHostOfTwo, ListsTheEndpointsOfBothAndTellsTheirReferencesApart) {
    a_->addSource(5, {.displayName = "Keys", .uniqueID = 100, .port = 9});
    b_->addSource(5, {.displayName = "Synth", .uniqueID = 200, .port = 9});
    b_->destinations = {0, 6};
    const auto setup = host_->setup(MIDIListing::known);
    ASSERT_EQ(setup->sources.size(), 2U);
    EXPECT_EQ(setup->sources[0].ref, 5U);
    EXPECT_EQ(setup->sources[0].port, 9U);
    EXPECT_EQ(setup->sources[1].ref, second(5));
    EXPECT_EQ(setup->sources[1].port, second(9));
    EXPECT_EQ(setup->sources[1].displayName, "Synth");
    EXPECT_EQ(setup->sources[1].uniqueID, 200);
    ASSERT_EQ(setup->destinations.size(), 2U);
    EXPECT_EQ(setup->destinations[0].ref, 0U) << "a place without an endpoint stays one";
    EXPECT_EQ(setup->destinations[1].ref, second(6));
}

TEST_F(CompositeMIDIHostOfTwo, ListsTheDevicesOfBoth) {
    MIDIObjectRecord endpoint;
    endpoint.ref = 5;
    MIDIEntityRecord entity;
    entity.ref = 4;
    entity.sources.push_back(endpoint);
    MIDIDeviceRecord device;
    device.ref = 3;
    device.entities.push_back(entity);
    a_->devices = {device};
    b_->devices = {device};
    b_->externalDevices = {device};
    const auto setup = host_->setup(MIDIListing::known);
    ASSERT_EQ(setup->devices.size(), 2U);
    EXPECT_EQ(setup->devices[0], device);
    EXPECT_EQ(setup->devices[1].ref, second(3));
    EXPECT_EQ(setup->devices[1].entities[0].ref, second(4));
    EXPECT_EQ(setup->devices[1].entities[0].sources[0].ref, second(5));
    ASSERT_EQ(setup->externalDevices.size(), 1U);
    EXPECT_EQ(setup->externalDevices[0].ref, second(3));
}

TEST_F(CompositeMIDIHostOfTwo, AsksBothForTheirSetupInTheSameWay) {
    [[maybe_unused]] const auto known = host_->setup(MIDIListing::known);
    [[maybe_unused]] const auto afresh = host_->setup(MIDIListing::afresh);
    EXPECT_THAT(a_->listings, ElementsAre(MIDIListing::known, MIDIListing::afresh));
    EXPECT_THAT(b_->listings, ElementsAre(MIDIListing::known, MIDIListing::afresh));
}

TEST_F(CompositeMIDIHostOfTwo, GivesAnEndpointTheNextFreeIDWhereTheOtherServiceHasIts) {
    a_->addSource(1, {.uniqueID = 100});
    a_->addDestination(2, {.uniqueID = 101});
    b_->addSource(1, {.uniqueID = 100});
    const auto setup = host_->setup(MIDIListing::known);
    EXPECT_EQ(setup->sources[0].uniqueID, 100);
    EXPECT_EQ(setup->sources[1].uniqueID, 102);
}

TEST_F(CompositeMIDIHostOfTwo, KeepsTheIDOfAnEndpointWhenOneOfTheOtherServiceComesWithTheSame) {
    b_->addSource(1, {.uniqueID = 100});
    EXPECT_EQ(host_->setup(MIDIListing::known)->sources[0].uniqueID, 100);
    a_->addSource(1, {.uniqueID = 100});
    const auto setup = host_->setup(MIDIListing::known);
    EXPECT_EQ(setup->sources[0].uniqueID, 101);
    EXPECT_EQ(setup->sources[1].uniqueID, 100);
    // When the other one disappears, this one keeps its changed ID.
    b_->sources.clear();
    EXPECT_EQ(host_->setup(MIDIListing::known)->sources[0].uniqueID, 101);
}

TEST_F(CompositeMIDIHostOfTwo, GoesOnAfterTheLargestIDWithTheSmallestAndLeavesOutZero) {
    a_->addSource(1, {.uniqueID = 2'147'483'647});
    a_->addSource(2, {.uniqueID = -1});
    a_->addSource(3, {.uniqueID = 5});
    b_->addSource(1, {.uniqueID = 2'147'483'647});
    b_->addSource(2, {.uniqueID = -1});
    b_->addSource(3, {.uniqueID = 0});
    const auto setup = host_->setup(MIDIListing::known);
    EXPECT_EQ(setup->sources[3].uniqueID, -2'147'483'648);
    EXPECT_EQ(setup->sources[4].uniqueID, 1);
    EXPECT_EQ(setup->sources[5].uniqueID, 0) << "which means that it has none";
}

TEST_F(CompositeMIDIHostOfTwo, LeavesEqualIDsWithinAServiceAndMissingOnesAsTheyAre) {
    a_->addSource(1, {.uniqueID = 100});
    a_->addDestination(2, {.uniqueID = 100});
    b_->addSource(3, {});
    const auto setup = host_->setup(MIDIListing::known);
    EXPECT_EQ(setup->sources[0].uniqueID, 100);
    EXPECT_EQ(setup->destinations[0].uniqueID, 100);
    EXPECT_EQ(setup->sources[1].uniqueID, std::nullopt);
}

TEST_F(CompositeMIDIHostOfTwo, StartsWithTheServiceThatCanAndReportsWhyTheOtherCannot) {
    a_->clientStatus = -13;
    b_->addSource(5, {});
    open();
    EXPECT_THAT(diagnostics_, ElementsAre(Pair("MIDI client could not be created", -13)));
    EXPECT_THAT(a_->requested, ElementsAre("Corvel")) << "no ports without a client";
    EXPECT_THAT(b_->requested, ElementsAre("Corvel", "Corvel Input", "Corvel Output"));
    EXPECT_EQ(host_->connectSource(input_, second(5), 77), kMIDISuccess);
    EXPECT_EQ(host_->connectSource(input_, 5, 78), -19) << "the first service has no port";
    EXPECT_EQ(host_->connectSource(input_, 0x8000'0005U, 79), -19) << "there is no such service";
}

TEST_F(CompositeMIDIHostOfTwo, FailsWithTheFirstStatusWhereNoServiceCan) {
    a_->clientStatus = -13;
    b_->clientStatus = -2;
    const MIDICreation creation = host_->createClient("Corvel", [](const MIDINotification&) {});
    EXPECT_EQ(creation.status, -13);
    EXPECT_EQ(creation.ref, 0U);
    EXPECT_THAT(diagnostics_, IsEmpty()) << "the result says it";
}

TEST_F(CompositeMIDIHostOfTwo, GoesOnWithoutThePortThatAServiceCannotMake) {
    b_->outputPortStatus = -12;
    open();
    EXPECT_THAT(diagnostics_, ElementsAre(Pair("MIDI output port could not be created", -12)));
    std::array<MIDISend, 1> sends{{{.destination = second(6), .bytes = {}, .status = 0}}};
    host_->send(output_, sends);
    EXPECT_EQ(sends[0].status, -19);
}

TEST_F(CompositeMIDIHostOfTwo, PassesOnBothServicesNotificationsAndDiagnostics) {
    open();
    a_->notify({.messageID = MIDINotification::kObjectAdded, .parent = 0, .child = 5});
    b_->notify({.messageID = MIDINotification::kObjectRemoved, .parent = 4, .child = 5});
    ASSERT_EQ(notifications_.size(), 2U);
    EXPECT_EQ(notifications_[0].child, 5U);
    EXPECT_EQ(notifications_[0].parent, 0U);
    EXPECT_EQ(notifications_[1].child, second(5));
    EXPECT_EQ(notifications_[1].parent, second(4));
    b_->diagnose("xruns: 2");
    EXPECT_THAT(diagnostics_, ElementsAre(Pair("xruns: 2", 0)));
}

TEST_F(CompositeMIDIHostOfTwo, DeliversWhatArrivesFromEitherWithTheEnginesConstant) {
    a_->addSource(5, {});
    b_->addSource(5, {});
    open();
    EXPECT_EQ(host_->connectSource(input_, 5, 5), kMIDISuccess);
    EXPECT_EQ(host_->connectSource(input_, second(5), second(5)), kMIDISuccess);
    EXPECT_THAT(b_->connections, ElementsAre(Pair(5U, second(5))));
    a_->receive({{0x90, 60, 100}}, 5);
    b_->receive({{0x80, 60, 0}}, second(5));
    ASSERT_EQ(arrivals_.size(), 2U);
    EXPECT_EQ(arrivals_[0].connection, 5U);
    EXPECT_EQ(arrivals_[1].connection, second(5));
    EXPECT_EQ(host_->disconnectSource(input_, second(5)), kMIDISuccess);
    EXPECT_THAT(b_->connections, IsEmpty());
    EXPECT_EQ(a_->connections.size(), 1U);
}

TEST_F(CompositeMIDIHostOfTwo, SendsEachMessageToItsServiceInOrderAndGivesEachItsStatus) {
    open();
    b_->sendStatuses[6] = -11;
    const std::array<std::uint8_t, 1> one{1};
    const std::array<std::uint8_t, 1> two{2};
    const std::array<std::uint8_t, 1> three{3};
    const std::array<std::uint8_t, 1> four{4};
    std::array<MIDISend, 5> sends{{{second(7), one, 99},
                                   {7, two, 99},
                                   {second(6), three, 99},
                                   {second(7), four, 99},
                                   {0x8000'0000U | 7U, four, 99}}};
    host_->send(output_, sends);
    EXPECT_THAT(a_->sent, ElementsAre(FakeSentPacket{7, {2}}));
    EXPECT_THAT(b_->sent, ElementsAre(FakeSentPacket{7, {1}}, FakeSentPacket{7, {4}}));
    EXPECT_THAT(b_->sendSizes, ElementsAre(3U)) << "one call for all";
    EXPECT_EQ(sends[0].status, 0);
    EXPECT_EQ(sends[1].status, 0);
    EXPECT_EQ(sends[2].status, -11);
    EXPECT_EQ(sends[3].status, 0);
    EXPECT_EQ(sends[4].status, -19) << "there is no such service";
}

TEST_F(CompositeMIDIHostOfTwo, GivesTheFirstServiceItsMessagesInOneCall) {
    open();
    std::array<MIDISend, 2> sends{{{7, {}, 99}, {8, {}, 99}}};
    host_->send(output_, sends);
    EXPECT_THAT(a_->sendSizes, ElementsAre(2U));
    EXPECT_THAT(b_->sendSizes, IsEmpty());
}

TEST_F(CompositeMIDIHostOfTwo, TellsEachServiceWhichOfItsEndpointsAreUsed) {
    open();
    host_->setUsedEndpoints(std::array<MIDIObjectRef, 2>{second(4), 5},
                            std::array<MIDIObjectRef, 3>{7, second(8), second(9)});
    EXPECT_THAT(a_->usedSources, ElementsAre(5U));
    EXPECT_THAT(a_->usedDestinations, ElementsAre(7U));
    EXPECT_THAT(b_->usedSources, ElementsAre(4U));
    EXPECT_THAT(b_->usedDestinations, ElementsAre(8U, 9U));
    host_->setUsedEndpoints({}, std::array<MIDIObjectRef, 2>{second(8), 0x8000'0009U});
    EXPECT_THAT(a_->usedSources, IsEmpty());
    EXPECT_THAT(a_->usedDestinations, IsEmpty());
    EXPECT_THAT(b_->usedSources, IsEmpty());
    EXPECT_THAT(b_->usedDestinations, ElementsAre(8U));
}

TEST_F(CompositeMIDIHostOfTwo, DisposesOfThePortsAndClientsOfBoth) {
    open();
    host_->disposePort(input_);
    host_->disposePort(output_);
    host_->disposeClient(client_);
    EXPECT_THAT(a_->disposed, ElementsAre(2U, 3U, 1U));
    EXPECT_THAT(b_->disposed, ElementsAre(2U, 3U, 1U));
}

}  // namespace
}  // namespace corvel::hosts
