#pragma once

#include <string>
#include <string_view>

/// Rules for text that a user may see or type. Everything is UTF-8; all functions are pure and may run on any thread.
namespace corvel::text {

/// Full lower-case mapping of the root locale.
[[nodiscard]] std::string lowercased(std::string_view value);

/// Full upper-case mapping of the root locale.
[[nodiscard]] std::string uppercased(std::string_view value);

/// Whether the text is exactly one character as a user perceives it (one extended grapheme cluster).
[[nodiscard]] bool isSingleCharacter(std::string_view value);

/// The text with every sequence that is not UTF-8 replaced by U+FFFD; valid text comes back unchanged.
[[nodiscard]] std::string repairedUTF8(std::string_view value);

/// The text without the white space (Unicode's property of that name, line breaks included) at its two ends. Sequences
/// that are not UTF-8 become U+FFFD, so that a name that was typed can be stored.
[[nodiscard]] std::string trimmed(std::string_view value);

/// The text between double quotes, as a name stands in a message.
[[nodiscard]] std::string quoted(std::string_view value);

}  // namespace corvel::text
