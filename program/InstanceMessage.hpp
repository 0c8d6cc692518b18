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

/// What a later start of the program asks of the one that runs.
struct InstanceRequest {
    /// Where the later start is, from which the names of its files count.
    std::filesystem::path folder;
    /// Its arguments as they were typed, the program's name left out.
    std::vector<std::string> arguments;

    bool operator==(const InstanceRequest&) const = default;
};

/// What the running one answers: what the request came to, or nothing if it is none of its business.
using InstanceAnswer = std::optional<CommandResult>;

/// The form in which the two write to each other: a word that tells the form, the number of bytes that follow (four,
/// the highest first), and texts, each with a zero byte behind it. None of the texts holds a zero byte, as arguments
/// and file names cannot; an answer's text would end there.
namespace InstanceMessage {

/// The message is not all there yet.
struct Incomplete {
    bool operator==(const Incomplete&) const = default;
};
/// It is none, or longer than allowed.
struct Invalid {
    bool operator==(const Invalid&) const = default;
};
template <typename Content>
using Decoded = std::variant<Incomplete, Invalid, Content>;

[[nodiscard]] std::string encoded(const InstanceRequest& request);
[[nodiscard]] std::string encoded(const InstanceAnswer& answer);

/// What the bytes received so far come to. What cannot become a message with at most `limit` bytes of texts is invalid
/// as soon as that is certain.
[[nodiscard]] Decoded<InstanceRequest> decodedRequest(std::string_view received, std::size_t limit);
[[nodiscard]] Decoded<InstanceAnswer> decodedAnswer(std::string_view received, std::size_t limit);

}  // namespace InstanceMessage

}  // namespace corvel
