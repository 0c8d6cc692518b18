#pragma once

#include "app/DocumentCommands.hpp"

#include <string>

namespace corvel {

/// One line on standard error, whatever the text.
void complain(const std::string& message);

/// Writes to standard output. The exit status: a failure, of which is said so, if it could not be written.
[[nodiscard]] int print(const std::string& text);

/// Writes what a command came to: what was done to standard output, why it was not done to standard error. The exit
/// status.
[[nodiscard]] int report(const CommandResult& result);

/// Opens those of the descriptors 0 to 2 that the caller left closed on nothing. They would be taken by the next thing
/// that is opened, and lines meant for standard output would end up there.
void openStandardDescriptors();

}  // namespace corvel
