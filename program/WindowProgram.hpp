#pragma once

namespace corvel {

/// Replaces this process by the program with the window, `corvel-window`, with the same arguments and environment. It
/// is a separate program so that routing without a window loads no window toolkit. It is searched for in this program's
/// folder, for builds, and then in the folder where it is installed.
///
/// Returns only if it cannot be started: writes the reason to standard error and returns the exit status.
[[nodiscard]] int becomeWindowProgram(char** arguments);

}  // namespace corvel
