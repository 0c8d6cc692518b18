#include "hosts/alsa/DeviceTree.hpp"

#include <alsa/asoundlib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvel::tests {

namespace {

using hosts::DeviceTree;
using hosts::EndpointRegistry;
using hosts::PortDescription;
using hosts::SoundCard;

PortDescription port(int client, int number, const std::string& clientName, int card, bool isKernelClient) {
    PortDescription description;
    description.address = {client, number};
    description.clientName = clientName;
    description.portName = "Port " + std::to_string(number);
    description.capabilities =
        SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ | SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;
    description.card = card;
    description.isKernelClient = isKernelClient;
    return description;
}

TEST(DeviceTree, HasCardsInTheirOrderThenKernelClientsWithoutOneAndNeitherSystemNorPrograms) {
    const std::vector<PortDescription> ports{port(0, 1, "System", -1, true),    port(14, 0, "Midi Through", -1, true),
                                             port(20, 0, "Second", 2, true),    port(24, 0, "First A", 1, true),
                                             port(24, 1, "First A", 1, true),   port(28, 0, "First B", 1, true),
                                             port(128, 0, "Program", -1, false)};
    EndpointRegistry registry([](int card) { return SoundCard{"id" + std::to_string(card), std::nullopt}; });
    registry.update(ports, false);
    const DeviceTree tree = DeviceTree::build(ports, registry, [](int card) { return "Card " + std::to_string(card); });

    ASSERT_EQ(tree.devices.size(), 3U);
    EXPECT_EQ(tree.devices[0].name, "Card 1");
    ASSERT_EQ(tree.devices[0].entities.size(), 2U);
    EXPECT_EQ(tree.devices[0].entities[0].name, "First A");
    EXPECT_EQ(tree.devices[0].entities[0].sources.size(), 2U);
    EXPECT_EQ(tree.devices[0].entities[0].destinations.size(), 2U);
    EXPECT_EQ(tree.devices[0].entities[0].sources[1], registry.knownReference({24, 1}, MIDIEndpointDirection::source));
    EXPECT_EQ(tree.devices[0].entities[1].name, "First B");
    EXPECT_EQ(tree.devices[1].name, "Card 2");
    EXPECT_EQ(tree.devices[2].name, "Midi Through");
    ASSERT_EQ(tree.devices[2].entities.size(), 1U);

    for (const DeviceTree::Device& device : tree.devices) {
        ASSERT_NE(device.ref, 0U);
        ASSERT_NE(tree.findDevice(device.ref), nullptr);
        EXPECT_EQ(tree.findDevice(device.ref)->name, device.name);
        for (const DeviceTree::Entity& entity : device.entities) {
            ASSERT_NE(tree.findEntity(entity.ref), nullptr);
            EXPECT_EQ(tree.findEntity(entity.ref)->name, entity.name);
        }
    }
    EXPECT_EQ(tree.findDevice(0), nullptr);
    EXPECT_EQ(tree.findEntity(tree.devices[0].ref), nullptr);
}

}  // namespace

}  // namespace corvel::tests
