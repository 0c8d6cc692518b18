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

/// What a later start of the program asks of the running one.
struct InstanceRequest {
    /// The later start's working folder, to which its relative file names refer.
    std::filesystem::path folder;
    /// Its arguments as they were typed, the program's name left out.
    std::vector<std::string> arguments;
    /// What the desktop gave it to bring a window to the front with, else empty.
    std::string activationToken = {};

    bool operator==(const InstanceRequest&) const = default;
};

/// The running program's answer: the result, or none if the request does not concern it.
using InstanceAnswer = std::optional<CommandResult>;

/// The messages between the two: a word that names the format, the number of bytes that follow (four bytes,
/// big-endian), and texts, each followed by a zero byte. Arguments and file names hold no zero byte; an answer's text
/// is cut there.
namespace InstanceMessage {

/// More bytes of the message are to come.
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

/// Decodes the bytes received so far. They are invalid as soon as they cannot become a message with at most `limit`
/// bytes of texts.
[[nodiscard]] Decoded<InstanceRequest> decodedRequest(std::string_view received, std::size_t limit);
[[nodiscard]] Decoded<InstanceAnswer> decodedAnswer(std::string_view received, std::size_t limit);

}  // namespace InstanceMessage

}  // namespace corvel
