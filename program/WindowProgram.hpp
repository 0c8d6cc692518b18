#pragma once

namespace corvel {

/// Replaces this process by the program that has the window, `corvel-window`, with the same arguments and environment:
/// so that routing without a window loads no window toolkit. It is looked for beside this program, where a build leaves
/// it, and in the folder where it is installed.
///
/// Returns only where it cannot be started, with the exit status, after saying so on standard error.
[[nodiscard]] int becomeWindowProgram(char** arguments);

}  // namespace corvel
