#include "core/messages/MIDIBytes.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace corvel {
namespace {

/// The bytes 0, 1, 2, …
std::vector<std::uint8_t> counted(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<std::uint8_t>(index);
    }
    return bytes;
}

bool isInside(const MIDIBytes& bytes) {
    const auto* const object = reinterpret_cast<const std::uint8_t*>(&bytes);
    return bytes.data() >= object && bytes.data() < object + sizeof bytes;
}

TEST(MIDIBytes, IsEmptyAtFirst) {
    const MIDIBytes bytes;
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(bytes.size(), 0U);
    EXPECT_EQ(bytes.begin(), bytes.end());
    EXPECT_EQ(bytes, MIDIBytes({}));
}

TEST(MIDIBytes, HoldsACopyOfAnyNumberOfBytes) {
    for (const std::size_t size : {0U, 1U, 3U, 15U, 16U, 17U, 1024U, 60'000U}) {
        std::vector<std::uint8_t> original = counted(size);
        const MIDIBytes bytes(original);
        const MIDIBytes sameBytes(original.begin(), original.end());
        original.assign(size, 0xEE);
        EXPECT_EQ(std::vector(bytes.begin(), bytes.end()), counted(size));
        EXPECT_EQ(bytes, sameBytes);
        EXPECT_EQ(bytes.size(), size);
        EXPECT_EQ(bytes.empty(), size == 0);
    }
}

TEST(MIDIBytes, GivesItsBytesByPlace) {
    for (const std::size_t size : {16U, 17U}) {
        const MIDIBytes bytes(counted(size));
        EXPECT_EQ(bytes.front(), 0);
        EXPECT_EQ(bytes[7], 7);
        EXPECT_EQ(bytes.back(), size - 1);
    }
}

TEST(MIDIBytes, IsBuiltOfAListOrOfOneByteRepeated) {
    EXPECT_EQ(MIDIBytes({0x90, 60, 100}), MIDIBytes(std::array<std::uint8_t, 3>{0x90, 60, 100}));
    EXPECT_EQ(MIDIBytes(3, 0x55), MIDIBytes({0x55, 0x55, 0x55}));
    EXPECT_EQ(MIDIBytes(20, 0x55).size(), 20U);
    EXPECT_EQ(MIDIBytes(20, 0x55).back(), 0x55);
}

TEST(MIDIBytes, EqualsTheSameBytesOnly) {
    EXPECT_EQ(MIDIBytes({0x90, 60}), MIDIBytes({0x90, 60}));
    EXPECT_NE(MIDIBytes({0x90, 60}), MIDIBytes({0x90, 61}));
    EXPECT_NE(MIDIBytes({0x90, 60}), MIDIBytes({0x90, 60, 0}));
    EXPECT_EQ(MIDIBytes(counted(17)), MIDIBytes(counted(17)));
    EXPECT_NE(MIDIBytes(counted(17)), MIDIBytes(counted(18)));
    EXPECT_NE(MIDIBytes(17, 1), MIDIBytes(17, 2));
}

TEST(MIDIBytes, KeepsSixteenBytesInItselfAndSharesSeventeen) {
    const MIDIBytes sixteen(counted(16));
    const MIDIBytes copyOfSixteen = sixteen;
    EXPECT_TRUE(isInside(sixteen));
    EXPECT_TRUE(isInside(copyOfSixteen));
    const MIDIBytes seventeen(counted(17));
    const MIDIBytes copyOfSeventeen = seventeen;
    EXPECT_FALSE(isInside(seventeen));
    EXPECT_EQ(copyOfSeventeen.data(), seventeen.data());
    EXPECT_EQ(copyOfSeventeen, seventeen);
}

TEST(MIDIBytes, WritesToItsOwnBytesOnly) {
    for (const std::size_t size : {3U, 16U, 17U, 1024U}) {
        const MIDIBytes original(counted(size));
        MIDIBytes written = original;
        const MIDIBytes third = written;
        written.writable()[2] = 0x7F;
        EXPECT_EQ(written.writable().size(), size);
        EXPECT_EQ(written[2], 0x7F);
        EXPECT_EQ(written[1], 1);
        EXPECT_EQ(written.back(), size == 3 ? 0x7F : static_cast<std::uint8_t>(size - 1));
        EXPECT_EQ(original, MIDIBytes(counted(size)));
        EXPECT_EQ(third, original);
    }
}

TEST(MIDIBytes, CopiesForWritingOnlyWhileOthersShareTheBytes) {
    MIDIBytes bytes(counted(17));
    const std::uint8_t* const place = bytes.data();
    bytes.writable()[0] = 1;
    EXPECT_EQ(bytes.data(), place);
    {
        const MIDIBytes other = bytes;
        bytes.writable()[0] = 2;
        EXPECT_NE(bytes.data(), place);
        EXPECT_EQ(other[0], 1);
    }
    const std::uint8_t* const ownPlace = bytes.data();
    bytes.writable()[0] = 3;
    EXPECT_EQ(bytes.data(), ownPlace);
}

TEST(MIDIBytes, LeavesNothingBehindWhenItIsMoved) {
    for (const std::size_t size : {3U, 16U, 17U}) {
        MIDIBytes original(counted(size));
        MIDIBytes moved = std::move(original);
        // NOLINTNEXTLINE(bugprone-use-after-move): the state after a move is documented
        EXPECT_TRUE(original.empty());
        EXPECT_EQ(original, MIDIBytes());
        EXPECT_EQ(moved, MIDIBytes(counted(size)));
        MIDIBytes assigned(20, 0x55);
        assigned = std::move(moved);
        // NOLINTNEXTLINE(bugprone-use-after-move)
        EXPECT_TRUE(moved.empty());
        EXPECT_EQ(assigned, MIDIBytes(counted(size)));
        moved = MIDIBytes{0xF8};
        EXPECT_EQ(moved, MIDIBytes{0xF8});
    }
}

TEST(MIDIBytes, TakesOverWhateverItHeldBefore) {
    const MIDIBytes values[] = {MIDIBytes(), MIDIBytes(counted(3)), MIDIBytes(counted(16)), MIDIBytes(counted(17)),
                                MIDIBytes(counted(1024))};
    for (const MIDIBytes& before : values) {
        for (const MIDIBytes& after : values) {
            MIDIBytes bytes = before;
            bytes = after;
            EXPECT_EQ(bytes, after);
            EXPECT_EQ(bytes.size(), after.size());
            const MIDIBytes& itself = bytes;
            bytes = itself;
            EXPECT_EQ(bytes, after);
        }
    }
}

}  // namespace
}  // namespace corvel
