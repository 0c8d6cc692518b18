#pragma once

#include <string>

namespace corvel {

/// Replaces this process by another program of Corvel, with the same arguments and environment. They are separate so
/// that a command for the running instance loads no toolkit, and routing without a window no window toolkit. The
/// program is searched for in this program's folder, for builds, and then in the folder where it is installed.
///
/// Returns only if it cannot be started: writes `failure` and the reason to standard error and returns the exit status.
[[nodiscard]] int becomeProgram(const std::string& name, const std::string& failure, char** arguments);

}  // namespace corvel
