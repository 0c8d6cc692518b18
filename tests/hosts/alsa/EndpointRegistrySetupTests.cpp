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
using testing::IsEmpty;

TEST_F(EndpointRegistryTest, GivesTheSameSetupUntilSomethingChanges) {
    const PortDescription port = programPort(128, 0, "Synth", "Out");
    registry_.update(port);
    const std::shared_ptr<const MIDISetup> first = registry_.setup();
    const MIDISetup copy = *first;
    registry_.update(port);
    replaceAll({port});
    registry_.portEnded({128, 1});
    EXPECT_EQ(registry_.setup(), first);

    std::set<std::shared_ptr<const MIDISetup>> setups{first};
    const auto expectAnother = [&] { EXPECT_TRUE(setups.insert(registry_.setup()).second); };
    registry_.update(programPort(128, 0, "Synth", "Renamed"));
    expectAnother();
    registry_.update(programPort(128, 1, "Synth", "Second"));
    expectAnother();
    registry_.portEnded({128, 1});
    expectAnother();
    replaceAll({});
    expectAnother();
    registry_.clear();
    expectAnother();
    EXPECT_EQ(*first, copy);
}

TEST_F(EndpointRegistryTest, ReadsACardOnceAsLongAsItsPortsAreThere) {
    cards_[1] = usbCard(1, "1-2", "AB12");
    const PortDescription first = cardPort(20, 1, "UM-ONE", "UM-ONE MIDI 1");
    const PortDescription second = cardPort(24, 1, "UM-ONE", "UM-ONE MIDI 2");
    replaceAll({first, second});
    static_cast<void>(registry_.setup());
    registry_.update(cardPort(20, 1, "UM-ONE", "Renamed"));
    registry_.update(programPort(128, 0, "Synth", "Out"));
    static_cast<void>(registry_.setup());
    replaceAll({first, second});
    static_cast<void>(registry_.setup());
    EXPECT_THAT(readCounts_, ElementsAre(std::pair(1, 1)));

    static_cast<void>(registry_.replaceAll({first, second}, true));
    static_cast<void>(registry_.setup());
    EXPECT_THAT(readCounts_, ElementsAre(std::pair(1, 2))) << "another card may have got the number unseen";
}

TEST_F(EndpointRegistryTest, ListsCardsInTheirOrderThenKernelClientsWithoutOneAndNeitherSystemNorPrograms) {
    for (const int card : {1, 2}) {
        cards_[card] = {"id" + std::to_string(card), "Card " + std::to_string(card), std::nullopt};
    }
    PortDescription second = cardPort(24, 1, "First A", "Port 1");
    second.address.port = 1;
    replaceAll({cardPort(0, -1, "System", "Announce"), cardPort(14, -1, "Midi Through", "Port"),
                cardPort(20, 2, "Second", "Port"), cardPort(24, 1, "First A", "Port 0"), second,
                cardPort(28, 1, "First B", "Port"), programPort(128, 0, "Program", "Port")});

    const std::shared_ptr<const MIDISetup> setup = registry_.setup();
    std::vector<std::string> lines;
    std::set<MIDIObjectRef> refs;
    for (const MIDIDeviceRecord& device : setup->devices) {
        EXPECT_TRUE(refs.insert(device.ref).second);
        for (const MIDIEntityRecord& entity : device.entities) {
            EXPECT_TRUE(refs.insert(entity.ref).second);
            std::string line = device.name.value() + "/" + entity.name.value() + ":";
            for (const auto& records : {entity.sources, entity.destinations}) {
                for (const MIDIObjectRecord& record : records) {
                    const Endpoint* const endpoint = registry_.find(record.ref);
                    ASSERT_NE(endpoint, nullptr);
                    line += (endpoint->direction == kSource ? " <" : " >") + record.name.value();
                }
            }
            lines.push_back(line);
        }
    }
    EXPECT_THAT(lines, ElementsAre("Card 1/First A: <Port 0 <Port 1 >Port 0 >Port 1", "Card 1/First B: <Port >Port",
                                   "Card 2/Second: <Port >Port", "Midi Through/Midi Through: <Port >Port"));
    EXPECT_FALSE(refs.contains(0));
    EXPECT_THAT(setup->externalDevices, IsEmpty());
}

TEST_F(EndpointRegistryTest, TakesTheCardWithTheNumberZeroForACardLikeAnyOther) {
    cards_[0] = usbCard(0, "1-2", std::nullopt);
    cards_[0].name = "Card 0";
    cards_[1] = usbCard(1, "1-3", std::nullopt);
    const std::vector<PortDescription> ports{cardPort(20, 0, "UM-ONE", "UM-ONE MIDI 1"),
                                             cardPort(24, 1, "UM-ONE", "UM-ONE MIDI 1")};
    replaceAll(ports);
    EXPECT_THAT(sourceNames(), ElementsAre("UM-ONE MIDI 1 (USB 1-2)", "UM-ONE MIDI 1 (USB 1-3)"));
    EXPECT_EQ(firstSource().manufacturer, "Roland");
    EXPECT_TRUE(registry_.find(firstSource().ref)->isHardware);
    ASSERT_EQ(registry_.setup()->devices.size(), 2U);
    EXPECT_EQ(registry_.setup()->devices[0].name, "Card 0");
    registry_.portEnded({20, 0});
    replaceAll(ports);
    EXPECT_EQ(readCounts_[0], 2) << "another card may have got the number";
}

TEST_F(EndpointRegistryTest, KnowsTheKernelsClientThatReturnsWhatItReceives) {
    cards_[0] = {"Through", "Card", std::nullopt};
    replaceAll({cardPort(14, -1, "Midi Through", "Port-0"), cardPort(15, -1, "Other", "Port-0"),
                cardPort(20, 0, "Midi Through", "Port-0"), programPort(128, 0, "Midi Through", "Port-0")});
    std::vector<bool> areLoopbacks;
    for (const MIDIEndpointRecord& record : sources()) {
        areLoopbacks.push_back(record.isLoopback);
    }
    EXPECT_THAT(areLoopbacks, ElementsAre(true, false, false, false));
    EXPECT_FALSE(registry_.find(firstSource().ref)->isHardware);
}

TEST_F(EndpointRegistryTest, PausesAfterEvery64EndpointsThatItLists) {
    for (int port = 0; port < 128; ++port) {
        registry_.update(programPort(128, port, "Synth", "Out"));
    }
    int pauseCount = 0;
    const auto pause = [&pauseCount] { ++pauseCount; };
    ASSERT_NE(registry_.setup(pause), nullptr);
    EXPECT_EQ(pauseCount, 4) << "two for each direction";
    ASSERT_NE(registry_.setup(pause), nullptr);
    EXPECT_EQ(pauseCount, 4) << "nothing has changed";
}

}  // namespace

}  // namespace corvel::tests
