#include "core/storage/EndpointCoder.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace corvel::tests {
namespace {

constexpr const char* kKeysJSON = R"({
  "direction": "source",
  "displayName": "Keys",
  "endpointRef": 4294967295,
  "id": -42,
  "isOnline": false,
  "manufacturer": "Acme"
})";

MIDIEndpointModel keys() {
    return {-42, 4294967295, "Keys", "Acme", MIDIEndpointDirection::source, false};
}

std::string decodingError(const std::string& json) {
    try {
        static_cast<void>(EndpointCoder::decode(json));
    } catch (const DecodingError& error) {
        return error.what();
    }
    return "none";
}

TEST(EndpointCoder, WritesOneKeyForEachField) {
    EXPECT_EQ(EndpointCoder::encode(keys()), kKeysJSON);
}

TEST(EndpointCoder, ReadsEachFieldFromItsKey) {
    EXPECT_EQ(EndpointCoder::decode(kKeysJSON), keys());
}

TEST(EndpointCoder, LeavesAnAbsentManufacturerOut) {
    const MIDIEndpointModel drums{7, 12, "Drums", std::nullopt, MIDIEndpointDirection::destination, true};
    const std::string json = EndpointCoder::encode(drums);
    EXPECT_EQ(json, R"({
  "direction": "destination",
  "displayName": "Drums",
  "endpointRef": 12,
  "id": 7,
  "isOnline": true
})");
    EXPECT_EQ(EndpointCoder::decode(json), drums);
}

TEST(EndpointCoder, RefusesAnUnknownDirection) {
    EXPECT_EQ(decodingError(R"({"direction":"Source","displayName":"Keys","endpointRef":1,"id":2,"isOnline":true})"),
              "direction: unknown direction");
}

TEST(EndpointCoder, RefusesAMissingID) {
    EXPECT_EQ(decodingError(R"({"direction":"source","displayName":"Keys","endpointRef":1,"isOnline":true})"),
              "top level: the required key \"id\" is missing");
}

TEST(EndpointCoder, RefusesANegativeReference) {
    EXPECT_EQ(decodingError(R"({"direction":"source","displayName":"Keys","endpointRef":-1,"id":2,"isOnline":true})"),
              "endpointRef: expected an integer from 0 to 4294967295");
}

}  // namespace
}  // namespace corvel::tests
