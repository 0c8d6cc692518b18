#pragma once

#include "core/support/Clock.hpp"

#include <string>
#include <string_view>

namespace corvel {

/// The text as one line that a terminal shows and a script can split at tabs. Control characters, line separators,
/// invisible characters (`text::isInvisible`) and backslashes become `\t`, `\n`, `\\`, `\u` with four hexadecimal
/// digits or `\U` with eight; invalid UTF-8 is replaced. Needed because device names may contain anything.
[[nodiscard]] std::string escapedLine(std::string_view text);

/// As above for a device's name. A name without visible characters becomes "(no name)".
[[nodiscard]] std::string escapedName(std::string_view name);

/// The text for the window: control and invisible characters become codes, tabs and line breaks stay.
[[nodiscard]] std::string shownText(std::string_view text);

/// As above for a device's name. A name without visible characters becomes "(no name)".
[[nodiscard]] std::string shownName(std::string_view name);

/// The local time of day, "HH:mm:ss.SSS".
[[nodiscard]] std::string timeOfDay(Instant instant);

}  // namespace corvel
