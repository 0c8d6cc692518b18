#include "tests/support/ConnectionsFile.hpp"

#include <bit>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace corvel::tests {

std::int32_t endpointID(std::string_view direction, std::string_view identity, int port, std::string_view portName) {
    std::ostringstream text;
    text << direction << '\n' << identity << '\n' << port << '\n' << portName;
    std::uint32_t hash = 2166136261U;
    for (const char character : text.str()) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    }
    return hash == 0 ? 1 : std::bit_cast<std::int32_t>(hash);
}

std::string ConnectionsFile::identifier(std::size_t index) {
    std::ostringstream text;
    text << "00000000-0000-4000-8000-0000000000" << (index < 10 ? "0" : "") << index;
    return text.str();
}

std::string ConnectionsFile::json() const {
    std::ostringstream text;
    text << R"({"selectedSetID": "AAAAAAAA-0000-4000-8000-000000000000", "routeSets": [)"
         << R"({"id": "AAAAAAAA-0000-4000-8000-000000000000", "name": "Stage", "routes": [)";
    for (std::size_t index = 0; index < connections_.size(); ++index) {
        const Connection& connection = connections_[index];
        text << (index == 0 ? "" : ", ") << R"({"id": ")" << identifier(index) << R"(", "sourceID": )"
             << connection.sourceID << R"(, "destinationID": )" << connection.destinationID << R"(, "isEnabled": )"
             << (connection.isEnabled ? "true" : "false") << R"(, "channelMode": )";
        if (connection.forcedChannel) {
            text << R"({"force": {"_0": )" << *connection.forcedChannel << "}}";
        } else {
            text << R"({"asIs": {}})";
        }
        text << '}';
    }
    text << "]}]}";
    return text.str();
}

void ConnectionsFile::write(const std::filesystem::path& path) const {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << json();
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace corvel::tests
