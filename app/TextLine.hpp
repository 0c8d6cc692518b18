#pragma once

#include "core/support/Clock.hpp"

#include <string>
#include <string_view>

namespace corvel {

/// The text as one line that a terminal shows and a script takes apart at tabs: control characters, line separators and
/// backslashes become `\t`, `\n`, `\\` or `\u` and the code in four hexadecimal digits; what is not UTF-8 is replaced.
/// Names come from devices, which may call themselves anything.
[[nodiscard]] std::string escapedLine(std::string_view text);

/// The local time of day, "HH:mm:ss.SSS".
[[nodiscard]] std::string timeOfDay(Instant instant);

}  // namespace corvel
