#pragma once

#include "app/CommandLine.hpp"
#include "app/DocumentCommands.hpp"
#include "program/QtArguments.hpp"
#include "program/Router.hpp"
#include "program/SingleInstance.hpp"
#include "program/TerminationSignals.hpp"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvel {

/// What the program was started with.
struct Start {
    /// As they were typed, the program's name left out.
    std::vector<std::string> arguments;
    CommandLine commandLine;
    QtArguments& qtArguments;
    /// What the desktop gave this start to bring a window to the front with, else empty.
    std::string activationToken;
};

/// Reads the arguments and has their command performed. What is asked of the command line itself, and mistakes in it,
/// are answered here. Gives the exit status; an exception becomes a line on standard error and a failure.
[[nodiscard]] int runProgram(int argc, char** argv, const std::function<int(const Start&)>& perform);

/// Makes this process the one instance. Where there is one already, it is asked to do what this start was asked to; the
/// result, if that settles the matter. On the demo devices, which nobody else hears, a start is by itself.
[[nodiscard]] std::optional<CommandResult> askRunningInstance(SingleInstance& instance, const Start& start);

/// The same for a start that is to route MIDI itself, which only one instance may do.
[[nodiscard]] std::optional<CommandResult> becomeRoutingInstance(SingleInstance& instance, const Start& start);

/// Runs Qt's event loop by `exec` until the program is to end. Then what the engine has reported so far is still handed
/// on, for half a second at most, and longer within that time while `isWritten` does not hold.
void runMainLoop(
    const Router& router, const TerminationSignals& termination, int (*exec)(),
    const std::function<bool()>& isWritten = [] { return true; });

}  // namespace corvel
