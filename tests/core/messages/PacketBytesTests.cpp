#include "core/messages/PacketBytes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<MIDIBytes> packetsOf(const PacketBytes& packets) {
    std::vector<MIDIBytes> copies;
    packets.forEach([&](std::span<const std::uint8_t> bytes) { copies.emplace_back(bytes.begin(), bytes.end()); });
    return copies;
}

PacketBytes copyOf(const std::vector<std::vector<std::uint8_t>>& packets) {
    const std::vector<std::span<const std::uint8_t>> spans(packets.begin(), packets.end());
    return PacketBytes(spans);
}

TEST(PacketBytes, GivesEveryPacketByItselfInOrder) {
    EXPECT_THAT(packetsOf(copyOf({{0x90, 60, 100}, {0xF8}, {0x80, 60, 0}})),
                ElementsAre(MIDIBytes{0x90, 60, 100}, MIDIBytes{0xF8}, MIDIBytes{0x80, 60, 0}));
}

TEST(PacketBytes, KeepsAPacketWithoutBytes) {
    EXPECT_THAT(packetsOf(copyOf({{}, {0xF8}, {}})), ElementsAre(MIDIBytes{}, MIDIBytes{0xF8}, MIDIBytes{}));
    EXPECT_THAT(packetsOf(copyOf({})), IsEmpty());
}

TEST(PacketBytes, KeepsItsBytesWhenItIsMoved) {
    PacketBytes note = copyOf({{0x90, 60, 100}});
    const PacketBytes moved = std::move(note);
    EXPECT_THAT(packetsOf(moved), ElementsAre(MIDIBytes{0x90, 60, 100}));

    const std::vector<std::uint8_t> exclusive(1000, 0x11);
    PacketBytes first = copyOf({exclusive, {0x90, 60, 100}});
    const PacketBytes second = std::move(first);
    EXPECT_THAT(packetsOf(second),
                ElementsAre(MIDIBytes(exclusive.begin(), exclusive.end()), MIDIBytes{0x90, 60, 100}));
}

}  // namespace
}  // namespace corvel::tests
