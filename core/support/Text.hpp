#pragma once

#include <string>
#include <string_view>

/// Rules for text that a user sees or types. All text is UTF-8. All functions are pure; any thread may call them.
namespace corvel::text {

/// Full lower-case mapping of the root locale.
[[nodiscard]] std::string lowercased(std::string_view value);

/// Full upper-case mapping of the root locale.
[[nodiscard]] std::string uppercased(std::string_view value);

/// Whether the text is exactly one character as a user perceives it (one extended grapheme cluster).
[[nodiscard]] bool isSingleCharacter(std::string_view value);

/// The text with invalid UTF-8 replaced by U+FFFD; valid text is unchanged.
[[nodiscard]] std::string repairedUTF8(std::string_view value);

/// Whether the code point is invisible, or only changes how its neighbours are shown: zero-width characters, controls
/// of the writing direction, fillers. Such characters can make one name look like another.
[[nodiscard]] bool isInvisible(char32_t codePoint);

/// Whether nothing of the text is visible: it is empty or only white space.
[[nodiscard]] bool isBlank(std::string_view value);

/// The text without leading and trailing white space (as Unicode defines it, with line breaks). Invalid UTF-8 becomes
/// U+FFFD, so that a typed name can be stored.
[[nodiscard]] std::string trimmed(std::string_view value);

/// The text in double quotes, for names in messages.
[[nodiscard]] std::string quoted(std::string_view value);

}  // namespace corvel::text
