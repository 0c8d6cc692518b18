#pragma once

#include "app/CommandLineOption.hpp"

#include <string>
#include <vector>

namespace corvel {

/// The text of `--help`, made from the table of options, in lines of at most 80 characters.
[[nodiscard]] std::string commandLineHelp();

/// An option with its values: "--connect SOURCE DESTINATION".
[[nodiscard]] std::string optionUsage(const CommandLineOption& option);

/// How to start the program for each command, the window first: the command's option, then its details in brackets.
[[nodiscard]] std::vector<std::vector<std::string>> commandLineUsages();

/// The description of an option, in whole sentences.
[[nodiscard]] std::string optionDescription(const CommandLineOption& option);

}  // namespace corvel
