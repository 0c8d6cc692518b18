#pragma once

#include "core/support/Clock.hpp"

#include <string>
#include <string_view>

namespace corvel {

/// The text as one line that a terminal shows and a script can split at tabs. Control characters, line separators and
/// backslashes become `\t`, `\n`, `\\` or `\u` with four hexadecimal digits; invalid UTF-8 is replaced. Needed because
/// device names may contain anything.
[[nodiscard]] std::string escapedLine(std::string_view text);

/// The local time of day, "HH:mm:ss.SSS".
[[nodiscard]] std::string timeOfDay(Instant instant);

}  // namespace corvel
