#include "app/EndpointList.hpp"

#include <gtest/gtest.h>

namespace corvel::tests {
namespace {

MIDIEndpointModel endpoint(std::int32_t id, std::uint32_t ref, std::string name,
                           std::optional<std::string> manufacturer = std::nullopt) {
    return {.id = id, .endpointRef = ref, .displayName = std::move(name), .manufacturer = std::move(manufacturer)};
}

TEST(EndpointList, FindsTheFirstOfSeveralEndpointsWithOneID) {
    const EndpointList list({endpoint(7, 1, "C"), endpoint(-3, 2, "A"), endpoint(7, 3, "B"), endpoint(-3, 4, "D")});
    ASSERT_NE(list.find(7), nullptr);
    EXPECT_EQ(list.find(7)->endpointRef, 1U);
    ASSERT_NE(list.find(-3), nullptr);
    EXPECT_EQ(list.find(-3)->endpointRef, 2U);
    EXPECT_EQ(list.find(0), nullptr);
    EXPECT_EQ(list.find(8), nullptr);
    EXPECT_EQ(EndpointList().find(7), nullptr);
}

TEST(EndpointList, ResolvesOnlyLabelsThatOneEndpointBears) {
    const EndpointList list({endpoint(1, 1, "Keys", "Acme"), endpoint(2, 2, "Keys", "Bolt"), endpoint(3, 3, "Pads"),
                             endpoint(4, 4, "Synth", "Acme"), endpoint(5, 5, "Synth", "Acme"), endpoint(6, 6, "")});
    ASSERT_NE(list.resolve("Keys", "Bolt"), nullptr);
    EXPECT_EQ(list.resolve("Keys", "Bolt")->id, 2);
    // A missing stored manufacturer matches every endpoint, so there are two candidates.
    EXPECT_EQ(list.resolve("Keys", std::nullopt), nullptr);
    ASSERT_NE(list.resolve("Pads", std::nullopt), nullptr);
    EXPECT_EQ(list.resolve("Pads", std::nullopt)->id, 3);
    // A stored manufacturer, even an empty one, does not match an endpoint without a manufacturer.
    EXPECT_EQ(list.resolve("Pads", "Acme"), nullptr);
    EXPECT_EQ(list.resolve("Pads", ""), nullptr);
    EXPECT_EQ(list.resolve("Synth", "Acme"), nullptr);
    EXPECT_EQ(list.resolve("Organ", std::nullopt), nullptr);
    EXPECT_EQ(list.resolve(std::nullopt, "Acme"), nullptr);
    // A missing stored name differs from an empty one.
    EXPECT_EQ(list.resolve(std::nullopt, std::nullopt), nullptr);
}

}  // namespace
}  // namespace corvel::tests
