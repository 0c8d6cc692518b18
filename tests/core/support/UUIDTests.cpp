#include "core/support/UUID.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

namespace corvel {
namespace {

using namespace std::string_view_literals;

constexpr UUID kSample{
    {0x4C, 0x1E, 0x2B, 0x7A, 0x0F, 0x43, 0x4D, 0x7B, 0x9E, 0x55, 0x6A, 0x0B, 0x1C, 0x2D, 0x3E, 0x4F}};

TEST(UUID, IsWrittenInUpperCase) {
    EXPECT_EQ(kSample.text(), "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F");
    EXPECT_EQ(UUID{}.text(), "00000000-0000-0000-0000-000000000000");
}

TEST(UUID, IsReadInEitherCase) {
    EXPECT_EQ(UUID::parse("4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"), kSample);
    EXPECT_EQ(UUID::parse("4c1e2b7a-0f43-4d7b-9e55-6a0b1c2d3e4f"), kSample);
    EXPECT_EQ(UUID::parse("4c1E2B7a-0F43-4d7B-9e55-6A0b1C2d3E4f"), kSample);
    EXPECT_EQ(UUID::parse("00000000-0000-0000-0000-000000000000"), UUID{});
}

TEST(UUID, IsReadWhateverItsVersion) {
    const auto id = UUID::parse("ffffffff-ffff-ffff-ffff-ffffffffffff");
    ASSERT_TRUE(id.has_value());
    EXPECT_EQ(id->text(), "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF");
}

TEST(UUID, IsReadFromNothingButTheCanonicalForm) {
    for (const std::string_view text : {""sv,
                                        "4C1E2B7A"sv,
                                        "4C1E2B7A0F434D7B9E556A0B1C2D3E4F"sv,
                                        "{4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F}"sv,
                                        "urn:uuid:4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"sv,
                                        " 4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F "sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F\n"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F\0"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F0"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4G"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4\0"sv,
                                        "4C1E2B7A_0F43_4D7B_9E55_6A0B1C2D3E4F"sv,
                                        "4C1E2B7A-0F43-4D7B9-E55-6A0B1C2D3E4F"sv,
                                        "4C1E2B7-A0F43-4D7B-9E55-6A0B1C2D3E4F"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E-F"sv,
                                        "4C1E2B7A-0F43-4D7B-9E5556A0B1C2D3E4F"sv,
                                        "------------------------------------"sv,
                                        " C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"sv,
                                        "+C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"sv,
                                        "0x1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3Eéé"sv,
                                        "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3Eé"sv}) {
        EXPECT_EQ(UUID::parse(text), std::nullopt) << text;
    }
}

TEST(UUID, IsReadFromItsOwnTextAloneAndNotFromWhatFollowsIt) {
    const std::string_view longer = "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F, and more";
    EXPECT_EQ(UUID::parse(longer.substr(0, 36)), kSample);
    EXPECT_EQ(UUID::parse(longer.substr(0, 35)), std::nullopt);
    EXPECT_EQ(UUID::parse(longer), std::nullopt);
}

TEST(UUID, MadeAtRandomIsOfVersionFour) {
    for (int round = 0; round < 1000; ++round) {
        const std::string text = UUID::random().text();
        ASSERT_EQ(text.size(), 36U);
        ASSERT_EQ(text[14], '4') << text;
        ASSERT_NE("89AB"sv.find(text[19]), std::string_view::npos) << text;
    }
}

TEST(UUID, MadeAtRandomNeverRepeats) {
    std::unordered_set<UUID> ids;
    for (int round = 0; round < 100'000; ++round) {
        ids.insert(UUID::random());
    }
    EXPECT_EQ(ids.size(), 100'000U);
}

TEST(UUID, MadeAtRandomFillsEveryOtherBit) {
    UUID everSet;
    UUID alwaysSet{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
    for (int round = 0; round < 1000; ++round) {
        const UUID id = UUID::random();
        for (std::size_t index = 0; index < id.bytes.size(); ++index) {
            everSet.bytes[index] = static_cast<std::uint8_t>(everSet.bytes[index] | id.bytes[index]);
            alwaysSet.bytes[index] = static_cast<std::uint8_t>(alwaysSet.bytes[index] & id.bytes[index]);
        }
    }
    EXPECT_EQ(everSet.text(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
    EXPECT_EQ(alwaysSet.text(), "00000000-0000-4000-8000-000000000000");
}

TEST(UUID, MadeAtRandomDiffersBetweenThreads) {
    std::vector<UUID> ids(4);
    {
        std::vector<std::jthread> threads;
        threads.reserve(ids.size());
        for (UUID& id : ids) {
            threads.emplace_back([&id] { id = UUID::random(); });
        }
    }
    EXPECT_EQ(std::unordered_set<UUID>(ids.begin(), ids.end()).size(), 4U);
}

TEST(UUID, RoundTripsThroughItsText) {
    for (int round = 0; round < 1000; ++round) {
        const UUID id = UUID::random();
        ASSERT_EQ(UUID::parse(id.text()), id);
    }
}

TEST(UUID, ComparesAndOrdersByItsBytes) {
    UUID greater = kSample;
    greater.bytes.back() = 0x50;
    EXPECT_NE(kSample, greater);
    EXPECT_LT(kSample, greater);
    greater.bytes.front() = 0x4B;
    EXPECT_GT(kSample, greater);
}

TEST(UUID, HashesByEveryByte) {
    const std::hash<UUID> hash;
    EXPECT_EQ(hash(kSample), hash(UUID(kSample)));
    for (std::size_t index = 0; index < kSample.bytes.size(); ++index) {
        UUID other = kSample;
        other.bytes.at(index) ^= 0x01U;
        EXPECT_NE(hash(other), hash(kSample)) << "byte " << index;
    }
}

}  // namespace
}  // namespace corvel
