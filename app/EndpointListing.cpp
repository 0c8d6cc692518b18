#include "app/EndpointListing.hpp"

#include "app/TextLine.hpp"
#include "core/storage/JSON.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace corvel::EndpointListing {

namespace {

/// ID, state, name, manufacturer.
using Row = std::array<std::string, 4>;

/// The width in terminal columns, counting one for each code point.
std::size_t width(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

void appendTable(std::string& text, std::string_view heading, const std::vector<MIDIEndpointModel>& endpoints) {
    text += heading;
    if (endpoints.empty()) {
        text += "\n  none\n";
        return;
    }
    std::vector<Row> rows{{"ID", "State", "Name", "Manufacturer"}};
    for (const MIDIEndpointModel& endpoint : endpoints) {
        rows.push_back({std::to_string(endpoint.id), endpoint.isOnline ? "online" : "offline",
                        escapedName(endpoint.displayName), escapedLine(endpoint.manufacturer.value_or(""))});
    }
    std::array<std::size_t, std::tuple_size_v<Row>> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths.at(column) = std::max(widths.at(column), width(row.at(column)));
        }
    }
    for (const Row& row : rows) {
        std::string line = "\n  ";
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string& cell = row.at(column);
            const std::string padding(widths.at(column) - width(cell), ' ');
            const bool isNumber = column == 0;
            line += (isNumber ? padding + cell : cell + padding) + "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line;
    }
    text += '\n';
}

json::Value array(const std::vector<MIDIEndpointModel>& endpoints) {
    auto array = json::Value::array();
    for (const MIDIEndpointModel& endpoint : endpoints) {
        array.push_back({{"displayName", endpoint.displayName}, {"id", endpoint.id}, {"isOnline", endpoint.isOnline}});
        array.back()["manufacturer"] = endpoint.manufacturer ? json::Value(*endpoint.manufacturer) : json::Value();
    }
    return array;
}

}  // namespace

std::string table(const MIDIEndpoints& endpoints) {
    std::string text;
    appendTable(text, "Sources", endpoints.sources);
    text += '\n';
    appendTable(text, "Destinations", endpoints.destinations);
    return text;
}

std::string json(const MIDIEndpoints& endpoints) {
    return corvel::json::text(
               {{"destinations", array(endpoints.destinations)}, {"sources", array(endpoints.sources)}}) +
           '\n';
}

}  // namespace corvel::EndpointListing
