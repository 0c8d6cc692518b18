#pragma once

#include "app/DocumentCommands.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace corvel {

/// The request of a later start to the running instance.
struct InstanceRequest {
    /// The later start's working folder, for its relative file names.
    std::filesystem::path folder;
    /// Its arguments as typed, without the program's name.
    std::vector<std::string> arguments;
    /// The desktop's token for bringing a window to the front; empty if there is none.
    std::string activationToken = {};

    bool operator==(const InstanceRequest&) const = default;
};

/// The running instance's answer: the result; no value if the request does not concern it.
using InstanceAnswer = std::optional<CommandResult>;

/// The messages between the two processes: a word that names the format, the number of bytes that follow (four bytes,
/// big-endian), and texts, each followed by a zero byte. Arguments and file names contain no zero byte; the text of an
/// answer ends at one.
namespace InstanceMessage {

/// More bytes of the message are expected.
struct Incomplete {
    bool operator==(const Incomplete&) const = default;
};
/// Not a message, or longer than allowed.
struct Invalid {
    bool operator==(const Invalid&) const = default;
};
template <typename Content>
using Decoded = std::variant<Incomplete, Invalid, Content>;

[[nodiscard]] std::string encoded(const InstanceRequest& request);
[[nodiscard]] std::string encoded(const InstanceAnswer& answer);

/// Decodes the bytes received so far. Invalid as soon as they cannot become a message with at most `limit` bytes of
/// texts.
[[nodiscard]] Decoded<InstanceRequest> decodedRequest(std::string_view received, std::size_t limit);
[[nodiscard]] Decoded<InstanceAnswer> decodedAnswer(std::string_view received, std::size_t limit);

}  // namespace InstanceMessage

}  // namespace corvel
