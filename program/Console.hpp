#pragma once

#include "app/DocumentCommands.hpp"

#include <string>

namespace corvel {

/// Writes the message to standard error, as one line behind the program's name.
void printError(const std::string& message);

/// Writes to standard output. The exit status: where that fails, a failure, and standard error says so.
[[nodiscard]] int print(const std::string& text);

/// Writes a command's result: what was done to standard output, why it was not done to standard error. The exit status.
[[nodiscard]] int printResult(const CommandResult& result);

/// Opens /dev/null for each of the descriptors 0 to 2 that the caller left closed. The next file that is opened would
/// get its number, and lines meant for standard output would end up in it.
void openStandardDescriptors();

}  // namespace corvel
