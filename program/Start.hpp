#pragma once

#include "app/CommandLine.hpp"
#include "app/DocumentCommands.hpp"
#include "program/QtArguments.hpp"
#include "program/SingleInstance.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvel {

/// The arguments and environment that the program was started with.
struct Start {
    /// As typed, without the program's name.
    std::vector<std::string> arguments;
    CommandLine commandLine;
    QtArguments& qtArguments;
    /// The desktop's token for bringing a window to the front; empty if there is none.
    std::string activationToken;
};

/// Parses the arguments and calls `perform` for their command. Handles help, version and invalid arguments itself.
/// Returns the exit status. Reports an exception as a line on standard error and returns a failure.
[[nodiscard]] int runProgram(int argc, char** argv, const std::function<int(const Start&)>& perform);

/// Makes this process the instance. If there is already one, sends it the request of this start. Returns the result if
/// nothing remains to be done. With the demo devices it does nothing.
[[nodiscard]] std::optional<CommandResult> askRunningInstance(SingleInstance& instance, const Start& start);

/// As above, but says nothing if it cannot be known whether there is an instance.
[[nodiscard]] std::optional<CommandResult> askQuietly(SingleInstance& instance, const Start& start);

/// As `askRunningInstance`, for a start that routes MIDI itself, which only one instance may do.
[[nodiscard]] std::optional<CommandResult> becomeRoutingInstance(SingleInstance& instance, const Start& start);

}  // namespace corvel
