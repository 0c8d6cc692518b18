#include "core/storage/EndpointCoder.hpp"

#include "core/storage/JSONText.hpp"
#include "core/storage/JSONWriter.hpp"

#include <cstdint>

namespace corvel::EndpointCoder {

std::string encode(const MIDIEndpointModel& endpoint) {
    JSONWriter json;
    json.beginObject();
    json.key("direction");
    json.string(rawValue(endpoint.direction));
    json.key("displayName");
    json.string(endpoint.displayName);
    json.key("endpointRef");
    json.integer(endpoint.endpointRef);
    json.key("id");
    json.integer(endpoint.id);
    json.key("isOnline");
    json.boolean(endpoint.isOnline);
    if (endpoint.manufacturer) {
        json.key("manufacturer");
        json.string(*endpoint.manufacturer);
    }
    json.endObject();
    return json.take();
}

MIDIEndpointModel decode(std::string_view json) {
    const JSONText text(json);
    const JSONValue root = text.root();
    MIDIEndpointModel endpoint;
    endpoint.id = root.required("id").integer<std::int32_t>();
    endpoint.endpointRef = root.required("endpointRef").integer<std::uint32_t>();
    endpoint.displayName = root.required("displayName").string();
    if (const auto manufacturer = root.optional("manufacturer")) {
        endpoint.manufacturer = manufacturer->string();
    }
    const JSONValue direction = root.required("direction");
    const auto known = endpointDirectionFromRawValue(direction.string());
    if (!known) {
        direction.fail("unknown direction");
    }
    endpoint.direction = *known;
    endpoint.isOnline = root.required("isOnline").boolean();
    return endpoint;
}

}  // namespace corvel::EndpointCoder
