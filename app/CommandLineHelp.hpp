#pragma once

#include "app/CommandLineOption.hpp"

#include <string>
#include <vector>

namespace corvel {

/// What `--help` prints, made of the options' table: lines of at most 80 characters.
[[nodiscard]] std::string commandLineHelp();

/// An option with its values: "--connect SOURCE DESTINATION".
[[nodiscard]] std::string optionUsage(const CommandLineOption& option);

/// How the program is started for each command, the window first: the option of the command, then its details in
/// brackets.
[[nodiscard]] std::vector<std::vector<std::string>> commandLineUsages();

/// What there is to say of an option, in whole sentences.
[[nodiscard]] std::string optionDescription(const CommandLineOption& option);

}  // namespace corvel
