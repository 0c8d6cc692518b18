#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::tests {

/// The unique ID of a port: 32-bit FNV-1a over direction, identity, port number and port name, with a line feed between
/// them. `direction` is "source" or "destination". The identity of programs and of kernel clients without a card is the
/// client name.
[[nodiscard]] std::int32_t endpointID(std::string_view direction, std::string_view identity, int port,
                                      std::string_view portName);

/// A connections file as a user writes it by hand, independent of the program under test.
class ConnectionsFile {
public:
    struct Connection {
        std::int32_t sourceID = 0;
        std::int32_t destinationID = 0;
        /// 1 to 16; no value for "As Is".
        std::optional<int> forcedChannel{};
        bool isEnabled = true;
    };

    void add(const Connection& connection) { connections_.push_back(connection); }

    /// The connection's identifier in the file.
    [[nodiscard]] static std::string identifier(std::size_t index);

    [[nodiscard]] std::string json() const;
    /// Throws `std::runtime_error` if it cannot be written.
    void write(const std::filesystem::path& path) const;

private:
    std::vector<Connection> connections_;
};

}  // namespace corvel::tests
