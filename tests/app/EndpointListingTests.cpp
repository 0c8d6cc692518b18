#include "app/EndpointListing.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace corvel::tests {
namespace {

MIDIEndpointModel makeSource(std::int32_t id, const std::string& name, const std::optional<std::string>& manufacturer,
                             bool isOnline) {
    return {id, 7, name, manufacturer, MIDIEndpointDirection::source, isOnline};
}

TEST(EndpointListing, ShowsColumnsAsWideAsTheyNeed) {
    MIDIEndpoints endpoints;
    endpoints.sources = {makeSource(-2065501447, "Größe", "Maker", true), makeSource(7, "Pads", std::nullopt, false)};
    EXPECT_EQ(EndpointListing::table(endpoints),
              "Sources\n"
              "           ID  State    Name   Manufacturer\n"
              "  -2065501447  online   Größe  Maker\n"
              "            7  offline  Pads\n"
              "\n"
              "Destinations\n"
              "  none\n");
}

TEST(EndpointListing, KeepsANameOnItsLine) {
    MIDIEndpoints endpoints;
    endpoints.sources = {makeSource(1, "Two\nlines", "\x1B[2J", true)};
    EXPECT_EQ(EndpointListing::table(endpoints),
              "Sources\n"
              "  ID  State   Name        Manufacturer\n"
              "   1  online  Two\\nlines  \\u001B[2J\n"
              "\n"
              "Destinations\n"
              "  none\n");
}

TEST(EndpointListing, ShowsNamesThatHideThemselves) {
    MIDIEndpoints endpoints;
    endpoints.sources = {makeSource(1, " ", "M\u200B", true), makeSource(2, "\u202Eabc", std::nullopt, true)};
    EXPECT_EQ(EndpointListing::table(endpoints),
              "Sources\n"
              "  ID  State   Name       Manufacturer\n"
              "   1  online  (no name)  M\\u200B\n"
              "   2  online  \\u202Eabc\n"
              "\n"
              "Destinations\n"
              "  none\n");
}

TEST(EndpointListing, WritesEveryEndpointAsJSON) {
    MIDIEndpoints endpoints;
    endpoints.sources = {makeSource(-5, "Say \"hi\"\n\xFF", "M/N", true), makeSource(6, "Pads", std::nullopt, false)};
    endpoints.destinations = {{8, 9, "Synth", "Maker", MIDIEndpointDirection::destination, true}};

    const nlohmann::json expected = {
        {"sources",
         {{{"id", -5}, {"displayName", "Say \"hi\"\n\uFFFD"}, {"manufacturer", "M/N"}, {"isOnline", true}},
          {{"id", 6}, {"displayName", "Pads"}, {"manufacturer", nullptr}, {"isOnline", false}}}},
        {"destinations", {{{"id", 8}, {"displayName", "Synth"}, {"manufacturer", "Maker"}, {"isOnline", true}}}}};
    EXPECT_EQ(nlohmann::json::parse(EndpointListing::json(endpoints)), expected);
}

TEST(EndpointListing, WritesEmptyArraysAsJSONWithoutEndpoints) {
    EXPECT_EQ(EndpointListing::json({}), "{\n  \"destinations\": [],\n  \"sources\": []\n}\n");
}

}  // namespace
}  // namespace corvel::tests
