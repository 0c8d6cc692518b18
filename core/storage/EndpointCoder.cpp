#include "core/storage/EndpointCoder.hpp"

#include "core/storage/JSON.hpp"

#include <cstdint>

namespace corvel::EndpointCoder {

namespace {

using json::Value;

MIDIEndpointModel read(const Value& object) {
    MIDIEndpointModel endpoint;
    endpoint.id = json::integer<std::int32_t>(json::required(object, "id"));
    endpoint.endpointRef = json::integer<std::uint32_t>(json::required(object, "endpointRef"));
    endpoint.displayName = json::string(json::required(object, "displayName"));
    if (const Value* const manufacturer = json::optional(object, "manufacturer")) {
        endpoint.manufacturer = json::string(*manufacturer);
    }
    const Value& direction = json::required(object, "direction");
    const auto known = endpointDirectionFromRawValue(json::string(direction));
    if (!known) {
        json::fail(direction, "unknown direction");
    }
    endpoint.direction = *known;
    endpoint.isOnline = json::boolean(json::required(object, "isOnline"));
    return endpoint;
}

}  // namespace

std::string encode(const MIDIEndpointModel& endpoint) {
    Value object{{"direction", rawValue(endpoint.direction)},
                 {"displayName", endpoint.displayName},
                 {"endpointRef", endpoint.endpointRef},
                 {"id", endpoint.id},
                 {"isOnline", endpoint.isOnline}};
    if (endpoint.manufacturer) {
        object["manufacturer"] = *endpoint.manufacturer;
    }
    return json::text(object);
}

MIDIEndpointModel decode(std::string_view text) {
    return json::decode(text, read);
}

}  // namespace corvel::EndpointCoder
