#include "ui/RouterWindow/EndpointDragPayload.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace corvel::ui {
namespace {

using namespace std::string_view_literals;

TEST(EndpointDragPayload, IsTheApplicationTheDirectionAndTheEndpointInDecimal) {
    using enum MIDIEndpointDirection;
    EXPECT_EQ(EndpointDragPayload::text(source, 1048576), "app.corvel.source:1048576");
    EXPECT_EQ(EndpointDragPayload::text(source, -5), "app.corvel.source:-5");
    EXPECT_EQ(EndpointDragPayload::text(source, 0), "app.corvel.source:0");
    EXPECT_EQ(EndpointDragPayload::text(source, std::numeric_limits<std::int32_t>::min()),
              "app.corvel.source:-2147483648");
}

TEST(EndpointDragPayload, GivesTheSourceThatItWasMadeOf) {
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:1048576"), 1048576);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:-5"), -5);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:2147483647"), 2147483647);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:-2147483648"), std::numeric_limits<std::int32_t>::min());
}

TEST(EndpointDragPayload, MayHaveAPlusSignAndLeadingZeros) {
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:+5"), 5);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:-0"), 0);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:0000000000000000007"), 7);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:+" + std::string(10'000, '0') + "2147483647"),
              2147483647);
}

TEST(EndpointDragPayload, IsNoOtherText) {
    for (const std::string_view text : {
             ""sv,
             "5"sv,
             ":5"sv,
             "app.corvel.source"sv,
             "com.example.source:5"sv,
             "app.corvel.destination:5"sv,
             "APP.CORVEL.SOURCE:5"sv,
             " app.corvel.source:5"sv,
             "xapp.corvel.source:5"sv,
             "app.corvel.source:"sv,
             "app.corvel.source:12a"sv,
             "app.corvel.source:a12"sv,
             "app.corvel.source: 5"sv,
             "app.corvel.source:5 "sv,
             "app.corvel.source:5\n"sv,
             "app.corvel.source:5\0"sv,
             "app.corvel.source:+"sv,
             "app.corvel.source:-"sv,
             "app.corvel.source:+-5"sv,
             "app.corvel.source:--5"sv,
             "app.corvel.source:++5"sv,
             "app.corvel.source:5.0"sv,
             "app.corvel.source:1,000"sv,
             "app.corvel.source:1e3"sv,
             "app.corvel.source:0x10"sv,
             "app.corvel.source:５"sv,
             "app.corvel.source:app.corvel.source:5"sv,
         }) {
        EXPECT_EQ(EndpointDragPayload::sourceID(text), std::nullopt) << text;
    }
}

TEST(EndpointDragPayload, IsNoNumberBeyond32Bits) {
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:2147483648"), std::nullopt);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:+2147483648"), std::nullopt);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:-2147483649"), std::nullopt);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:4294967301"), std::nullopt);
    EXPECT_EQ(EndpointDragPayload::sourceID("app.corvel.source:" + std::string(10'000, '9')), std::nullopt);
}

}  // namespace
}  // namespace corvel::ui
