#include "hosts/demo/DemoMIDIHost.hpp"

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "hosts/demo/DemoDevices.hpp"
#include "tests/support/ByteText.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RecordingDelegate.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using namespace std::chrono_literals;
using hosts::DemoMIDIHost;
using hosts::DemoTraffic;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Records what a receive handler was given: "1: 90 3C 64", the connection and a packet.
class Inbox {
public:
    [[nodiscard]] MIDIHost::ReceiveHandler handler() {
        return [this](std::span<const MIDIArrival> arrivals) {
            for (const MIDIArrival& arrival : arrivals) {
                lines.push_back(std::to_string(arrival.connection) + ": " + byteText(arrival.bytes));
            }
        };
    }

    std::vector<std::string> lines;
};

class DemoMIDIHostTest : public ::testing::Test {
protected:
    DemoMIDIHostTest() : host(hosts::makeDemoMIDIHost(mainQueue, {.playsByItself = false, .notice = {}})) {}

    MIDIObjectRef makeClient(std::vector<std::string>* notifications = nullptr) {
        return host
            ->createClient("Test",
                           [notifications](const MIDINotification& change) {
                               if (notifications != nullptr) {
                                   notifications->push_back(
                                       std::to_string(change.messageID) + " child " + std::to_string(change.child) +
                                       " of type " + std::to_string(change.childType) + " in " +
                                       std::to_string(change.parent) + " of type " + std::to_string(change.parentType));
                               }
                           })
            .ref;
    }

    MIDIObjectRef makeInput(MIDIObjectRef client) { return host->createInputPort(client, "In", inbox.handler()).ref; }

    [[nodiscard]] MIDISetup setup() const { return *host->setup(MIDIListing::known); }
    [[nodiscard]] MIDIObjectRef source(std::size_t index) const { return setup().sources.at(index).ref; }
    [[nodiscard]] MIDIObjectRef destination(std::size_t index) const { return setup().destinations.at(index).ref; }

    MIDIStatus sendNote(MIDIObjectRef port, MIDIObjectRef destination) {
        MIDISend message{.destination = destination, .bytes = kNote, .status = -1};
        host->send(port, {&message, 1});
        return message.status;
    }

    static constexpr std::array<std::uint8_t, 3> kNote{0x90, 60, 100};

    const std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>();
    std::shared_ptr<DemoMIDIHost> host;
    Inbox inbox;
};

TEST_F(DemoMIDIHostTest, ListsItsSixDevicesWithNamesAndFixedIDs) {
    std::vector<std::string> lines;
    const MIDISetup listed = setup();
    for (const auto& records : {listed.sources, listed.destinations}) {
        for (const MIDIEndpointRecord& record : records) {
            lines.push_back(*record.displayName + "/" + *record.name + "/" + *record.manufacturer + "/" +
                            std::to_string(*record.uniqueID));
            EXPECT_EQ(record.isOffline, false);
        }
    }
    EXPECT_THAT(lines,
                ElementsAre("Demo Keyboard/Demo Keyboard/Corvel Demo/1001", "Demo Pads/Demo Pads/Corvel Demo/1002",
                            "Demo Sequencer/Demo Sequencer/Corvel Demo/1003", "Demo Synth/Demo Synth/Corvel Demo/2001",
                            "Demo Drums/Demo Drums/Corvel Demo/2002", "Demo Recorder/Demo Recorder/Corvel Demo/2003"));
}

TEST_F(DemoMIDIHostTest, HasADeviceWithOneEntityForEachEndpoint) {
    const MIDISetup listed = setup();
    std::vector<std::string> lines;
    for (const MIDIDeviceRecord& device : listed.devices) {
        ASSERT_EQ(device.entities.size(), 1U);
        const MIDIEntityRecord& entity = device.entities.front();
        EXPECT_EQ(entity.displayName, device.displayName);
        EXPECT_NE(entity.ref, device.ref);
        lines.push_back(*device.displayName + ":");
        for (const MIDIObjectRecord& record : entity.sources) {
            lines.back() += " <" + std::to_string(record.ref);
        }
        for (const MIDIObjectRecord& record : entity.destinations) {
            lines.back() += " >" + std::to_string(record.ref);
        }
    }
    const auto text = [](const MIDIObjectRecord& record) { return std::to_string(record.ref); };
    EXPECT_THAT(
        lines,
        ElementsAre("Demo Keyboard: <" + text(listed.sources[0]), "Demo Pads: <" + text(listed.sources[1]),
                    "Demo Sequencer: <" + text(listed.sources[2]), "Demo Synth: >" + text(listed.destinations[0]),
                    "Demo Drums: >" + text(listed.destinations[1]), "Demo Recorder: >" + text(listed.destinations[2])));
    EXPECT_THAT(listed.externalDevices, IsEmpty());
}

TEST_F(DemoMIDIHostTest, GivesASetupThatStaysAsItWas) {
    const std::shared_ptr<const MIDISetup> before = host->setup(MIDIListing::known);
    host->removeEndpoint(source(0));
    EXPECT_EQ(before->sources.size(), 3U);
    EXPECT_EQ(setup().sources.size(), 2U);
}

TEST_F(DemoMIDIHostTest, RefusesPortsOfClientsThatAreNotThere) {
    EXPECT_EQ(host->createInputPort(9999, "In", inbox.handler()).status, -ENOENT);
    EXPECT_EQ(host->createInputPort(9999, "In", inbox.handler()).ref, 0U);
    EXPECT_EQ(host->createOutputPort(9999, "Out").status, -ENOENT);

    const MIDIObjectRef client = makeClient();
    host->disposeClient(client);
    EXPECT_EQ(host->createOutputPort(client, "Out").status, -ENOENT);
}

TEST_F(DemoMIDIHostTest, RefusesConnectionsOfWrongReferences) {
    const MIDIObjectRef client = makeClient();
    const MIDIObjectRef input = makeInput(client);
    const MIDIObjectRef output = host->createOutputPort(client, "Out").ref;

    EXPECT_EQ(host->connectSource(9999, source(0), 1), -ENOENT);
    EXPECT_EQ(host->connectSource(output, source(0), 1), -ENOENT);
    EXPECT_EQ(host->connectSource(input, 9999, 1), -ENOENT);
    EXPECT_EQ(host->connectSource(input, destination(0), 1), -ENOENT);
    EXPECT_EQ(host->disconnectSource(9999, source(0)), -ENOENT);
    EXPECT_EQ(host->disconnectSource(input, source(0)), -ENOTCONN);
}

TEST_F(DemoMIDIHostTest, RefusesSendsToWrongReferences) {
    const MIDIObjectRef client = makeClient();
    const MIDIObjectRef input = makeInput(client);
    const MIDIObjectRef output = host->createOutputPort(client, "Out").ref;

    EXPECT_EQ(sendNote(9999, destination(0)), -ENOENT);
    EXPECT_EQ(sendNote(input, destination(0)), -ENOENT);
    EXPECT_EQ(sendNote(output, 9999), -ENOENT);
    EXPECT_EQ(sendNote(output, source(0)), -ENOENT);
}

TEST_F(DemoMIDIHostTest, DeliversToEveryConnectedPortWithItsConnection) {
    const MIDIObjectRef client = makeClient();
    const MIDIObjectRef keyboard = source(0);
    ASSERT_EQ(host->connectSource(makeInput(client), keyboard, 71), kMIDISuccess);
    ASSERT_EQ(host->connectSource(makeInput(client), keyboard, 72), kMIDISuccess);

    host->play(keyboard, {0x90, 60, 100});
    host->play(source(1), {0x99, 36, 100});

    EXPECT_THAT(inbox.lines, ElementsAre("71: 90 3C 64", "72: 90 3C 64"));
}

TEST_F(DemoMIDIHostTest, DeliversOnceWhenASourceIsConnectedAgain) {
    const MIDIObjectRef input = makeInput(makeClient());
    ASSERT_EQ(host->connectSource(input, source(0), 71), kMIDISuccess);
    ASSERT_EQ(host->connectSource(input, source(0), 72), kMIDISuccess);

    host->play(source(0), {0xFE});

    EXPECT_THAT(inbox.lines, ElementsAre("72: FE"));
}

TEST_F(DemoMIDIHostTest, DeliversNothingOnceDisconnectedOrDisposedOf) {
    const MIDIObjectRef client = makeClient();
    const MIDIObjectRef disconnected = makeInput(client);
    const MIDIObjectRef disposed = makeInput(client);
    ASSERT_EQ(host->connectSource(disconnected, source(0), 1), kMIDISuccess);
    ASSERT_EQ(host->connectSource(disposed, source(0), 2), kMIDISuccess);

    EXPECT_EQ(host->disconnectSource(disconnected, source(0)), kMIDISuccess);
    host->disposePort(disposed);
    host->play(source(0), {0xFE});

    EXPECT_THAT(inbox.lines, IsEmpty());
    EXPECT_EQ(host->connectSource(disposed, source(0), 2), -ENOENT);
}

TEST_F(DemoMIDIHostTest, DisposesOfAClientsPortsWithIt) {
    const MIDIObjectRef client = makeClient();
    ASSERT_EQ(host->connectSource(makeInput(client), source(0), 1), kMIDISuccess);
    const MIDIObjectRef output = host->createOutputPort(client, "Out").ref;

    host->disposeClient(client);
    host->play(source(0), {0xFE});

    EXPECT_THAT(inbox.lines, IsEmpty());
    EXPECT_EQ(sendNote(output, destination(0)), -ENOENT);
}

TEST_F(DemoMIDIHostTest, CountsWhatADestinationReceives) {
    const MIDIObjectRef output = host->createOutputPort(makeClient(), "Out").ref;

    const std::array<std::uint8_t, 2> program{0xC0, 5};
    std::array<MIDISend, 3> messages{MIDISend{.destination = destination(1), .bytes = kNote},
                                     MIDISend{.destination = 9999, .bytes = kNote},
                                     MIDISend{.destination = destination(1), .bytes = program}};
    host->send(output, messages);

    EXPECT_EQ(messages[0].status, kMIDISuccess);
    EXPECT_EQ(messages[1].status, -ENOENT);
    EXPECT_EQ(messages[2].status, kMIDISuccess);
    EXPECT_EQ(host->traffic(destination(1)), (DemoTraffic{.packets = 2, .bytes = 5}));
    EXPECT_EQ(host->traffic(destination(0)), DemoTraffic{});
    EXPECT_EQ(host->traffic(9999), DemoTraffic{});
}

TEST_F(DemoMIDIHostTest, LosesWhatIsSentToADeviceThatIsOffline) {
    const MIDIObjectRef output = host->createOutputPort(makeClient(), "Out").ref;
    host->setOffline(destination(0), true);

    EXPECT_EQ(sendNote(output, destination(0)), kMIDISuccess);

    EXPECT_EQ(setup().destinations[0].isOffline, true);
    EXPECT_EQ(host->traffic(destination(0)), DemoTraffic{});
}

TEST_F(DemoMIDIHostTest, HearsNothingOfASourceThatIsOffline) {
    ASSERT_EQ(host->connectSource(makeInput(makeClient()), source(0), 1), kMIDISuccess);
    host->setOffline(source(0), true);
    host->play(source(0), {0xFE});
    EXPECT_THAT(inbox.lines, IsEmpty());

    host->setOffline(source(0), false);
    host->play(source(0), {0xFE});
    EXPECT_THAT(inbox.lines, ElementsAre("1: FE"));
}

TEST_F(DemoMIDIHostTest, TellsEveryClientOnTheMainQueueWhatWasAdded) {
    std::vector<std::string> first;
    std::vector<std::string> second;
    makeClient(&first);
    makeClient(&second);

    const MIDIObjectRef source = host->addSource("Pedals", std::nullopt, 42);
    const MIDIObjectRef destination = host->addDestination("Lights", "Maker", 43);
    EXPECT_THAT(first, IsEmpty());
    mainQueue->runAll();

    const MIDISetup listed = setup();
    EXPECT_EQ(listed.sources.at(3).ref, source);
    EXPECT_EQ(listed.sources.at(3).displayName, "Pedals");
    EXPECT_EQ(listed.sources.at(3).manufacturer, std::nullopt);
    EXPECT_EQ(listed.sources.at(3).uniqueID, 42);
    EXPECT_EQ(listed.destinations.at(3).ref, destination);
    EXPECT_EQ(listed.destinations.at(3).displayName, "Lights");
    EXPECT_EQ(listed.destinations.at(3).manufacturer, "Maker");
    const std::string sourceEntity = std::to_string(listed.devices.at(3).entities.at(0).ref);
    const std::string destinationEntity = std::to_string(listed.devices.at(7).entities.at(0).ref);
    EXPECT_THAT(first, ElementsAre("2 child " + std::to_string(source) + " of type 2 in " + sourceEntity + " of type 1",
                                   "2 child " + std::to_string(destination) + " of type 3 in " + destinationEntity +
                                       " of type 1"));
    EXPECT_EQ(second, first);
}

TEST_F(DemoMIDIHostTest, TellsWhatWasRemovedAndForgetsIt) {
    std::vector<std::string> notifications;
    const MIDIObjectRef input = makeInput(makeClient(&notifications));
    const MIDIObjectRef pads = source(1);
    const std::string entity = std::to_string(setup().devices.at(1).entities.at(0).ref);
    ASSERT_EQ(host->connectSource(input, pads, 1), kMIDISuccess);

    host->removeEndpoint(pads);
    host->removeEndpoint(pads);
    host->play(pads, {0xFE});
    mainQueue->runAll();

    EXPECT_THAT(notifications,
                ElementsAre("3 child " + std::to_string(pads) + " of type 2 in " + entity + " of type 1"));
    EXPECT_THAT(inbox.lines, IsEmpty());
    EXPECT_EQ(setup().sources.size(), 2U);
    EXPECT_EQ(setup().sources[1].displayName, "Demo Sequencer");
    EXPECT_EQ(host->connectSource(input, pads, 1), -ENOENT);
}

TEST_F(DemoMIDIHostTest, TellsOnlyOfOfflineFlagsThatChange) {
    std::vector<std::string> notifications;
    makeClient(&notifications);

    host->setOffline(source(0), false);
    host->setOffline(source(0), true);
    host->setOffline(9999, true);
    mainQueue->runAll();

    EXPECT_THAT(notifications, ElementsAre("4 child 0 of type -1 in 0 of type -1"));
}

TEST_F(DemoMIDIHostTest, TellsNothingToAClientThatIsGoneByThen) {
    std::vector<std::string> notifications;
    const MIDIObjectRef client = makeClient(&notifications);
    host->setOffline(source(0), true);
    host->disposeClient(client);
    mainQueue->runAll();
    EXPECT_THAT(notifications, IsEmpty());
}

TEST_F(DemoMIDIHostTest, LeavesNothingBehindThatOutlivesIt) {
    std::vector<std::string> notifications;
    makeClient(&notifications);
    host->setOffline(source(0), true);
    host.reset();
    mainQueue->runAll();
    EXPECT_THAT(notifications, IsEmpty());
}

TEST_F(DemoMIDIHostTest, GivesAddedEndpointsTheNextFreeID) {
    host->addSource("A", std::nullopt, 0);
    host->addDestination("B", std::nullopt, 0);
    EXPECT_EQ(setup().sources.at(3).uniqueID, 9001);
    EXPECT_EQ(setup().destinations.at(3).uniqueID, 9002);
}

TEST_F(DemoMIDIHostTest, NeverGivesAReferenceAgain) {
    const MIDIObjectRef removed = host->addSource("A", std::nullopt, 5);
    host->removeEndpoint(removed);
    const MIDIObjectRef added = host->addSource("A", std::nullopt, 5);
    EXPECT_NE(added, removed);
    EXPECT_EQ(source(3), added);
}

TEST_F(DemoMIDIHostTest, LetsAReceiverCallItAgain) {
    const MIDIObjectRef client = makeClient();
    MIDIObjectRef input = 0;
    const MIDIHost::ReceiveHandler disposing = [&](std::span<const MIDIArrival> arrivals) {
        inbox.lines.push_back("disposing " + std::to_string(arrivals.front().connection));
        host->disposePort(input);
        host->play(source(0), {0xFE});
    };
    input = host->createInputPort(client, "In", disposing).ref;
    ASSERT_EQ(host->connectSource(input, source(0), 1), kMIDISuccess);
    ASSERT_EQ(host->connectSource(makeInput(client), source(0), 2), kMIDISuccess);

    host->play(source(0), {0xF8});

    EXPECT_THAT(inbox.lines, ElementsAre("disposing 1", "2: FE", "2: F8"));
}

TEST_F(DemoMIDIHostTest, LetsAHandlersEndCallItAgain) {
    // An example is a handler that owns an engine, whose destructor disposes of ports.
    const MIDIObjectRef client = makeClient();
    const MIDIObjectRef other = host->createOutputPort(client, "Out").ref;
    auto property = std::shared_ptr<int>(new int(0), [this, other](const int* value) {
        delete value;
        host->disposePort(other);
    });
    const MIDIObjectRef input = host->createInputPort(client, "In", [kept = std::move(property)](auto) {}).ref;

    host->disposePort(input);

    EXPECT_EQ(sendNote(other, destination(0)), -ENOENT);
}

TEST(DemoMIDIHost, LogsItsNoticeOnceWhenTheFirstClientIsMade) {
    const auto mainQueue = std::make_shared<ManualQueue>();
    const auto host = hosts::makeDemoMIDIHost(mainQueue, {.playsByItself = false, .notice = "Instead."});
    std::vector<std::string> messages;
    host->setDiagnosticHandler([&messages](const std::string& message, MIDIStatus status) {
        messages.push_back(message + " (" + std::to_string(status) + ")");
    });
    EXPECT_THAT(messages, IsEmpty());

    static_cast<void>(host->createClient("A", {}));
    static_cast<void>(host->createClient("B", {}));

    EXPECT_THAT(messages, ElementsAre("Instead. (0)"));
}

TEST(DemoMIDIHost, CarriesItsOwnConnectionsThroughTheEngine) {
    const auto queue = std::make_shared<ManualQueue>();
    const auto mainQueue = std::make_shared<ManualQueue>(ManualQueue::Current::onMakerThread);
    const auto host = hosts::makeDemoMIDIHost(mainQueue, {.playsByItself = false, .notice = {}});
    const auto engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, std::make_shared<ManualClock>());
    const auto delegate = std::make_shared<RecordingDelegate>();
    engine->setDelegate(delegate);
    engine->updateRoutes(hosts::makeDemoDocument().selectedRouteSet().routes);
    engine->start();
    queue->runAll();
    mainQueue->runAll();
    delegate->reports.clear();

    const MIDISetup setup = *host->setup(MIDIListing::known);
    host->play(setup.sources[0].ref, {0x90, 60, 100});
    host->play(setup.sources[1].ref, {0x90, 36, 100});
    host->play(setup.sources[2].ref, {0xF8});
    queue->runAll();
    mainQueue->runAll();

    EXPECT_THAT(delegate->reports, ElementsAre("routed [90 3C 64]", "routed [99 24 64]", "routed [F8]"));
    EXPECT_EQ(host->traffic(setup.destinations[0].ref), (DemoTraffic{.packets = 1, .bytes = 3}));
    EXPECT_EQ(host->traffic(setup.destinations[1].ref), (DemoTraffic{.packets = 1, .bytes = 3}));
    EXPECT_EQ(host->traffic(setup.destinations[2].ref), (DemoTraffic{.packets = 1, .bytes = 1}));
}

TEST(DemoDocument, JoinsTheDevicesByThreeConnections) {
    const MIDIRouteSetDocument document = hosts::makeDemoDocument();
    const std::vector<MIDIRoute>& routes = document.selectedRouteSet().routes;
    ASSERT_EQ(routes.size(), 3U);
    EXPECT_EQ(routes[0].sourceName, "Demo Keyboard");
    EXPECT_EQ(routes[0].destinationName, "Demo Synth");
    EXPECT_EQ(routes[0].channelMode, ChannelMode::asIs());
    EXPECT_EQ(routes[1].sourceID, 1002);
    EXPECT_EQ(routes[1].destinationID, 2002);
    EXPECT_EQ(routes[1].channelMode, ChannelMode::force(10));
    EXPECT_EQ(routes[2].sourceID, 1003);
    EXPECT_EQ(routes[2].destinationID, 2003);
    for (const MIDIRoute& route : routes) {
        EXPECT_TRUE(route.isEnabled);
        EXPECT_EQ(route.sourceManufacturer, "Corvel Demo");
        EXPECT_EQ(route.destinationManufacturer, "Corvel Demo");
    }
}

}  // namespace
}  // namespace corvel::tests
