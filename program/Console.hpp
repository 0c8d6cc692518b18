#pragma once

#include "app/DocumentCommands.hpp"

#include <string>

namespace corvel {

/// Writes the message to standard error, as one line after the program's name.
void printError(const std::string& message);

/// Writes to standard output. Returns the exit status: a failure if writing fails, which is reported on standard error.
[[nodiscard]] int print(const std::string& text);

/// Writes a command's result: to standard output if it was carried out, otherwise to standard error. Returns the exit
/// status.
[[nodiscard]] int printResult(const CommandResult& result);

/// Opens /dev/null for each of the descriptors 0 to 2 that the caller closed. Otherwise the next opened file would get
/// that number, and lines for standard output would be written to it.
void openStandardDescriptors();

}  // namespace corvel
