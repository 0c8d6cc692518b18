// The program that users start. A command for the running instance is sent to it at once, so that it is carried out in
// time even on a busy machine. For everything else this process becomes another program: `corvel-headless`, or
// `corvel-window`.

#include "program/Console.hpp"
#include "program/Environment.hpp"
#include "program/OtherProgram.hpp"
#include "program/SingleInstance.hpp"
#include "program/Start.hpp"

#include <optional>
#include <variant>

namespace corvel {
namespace {

bool needsWindow(const CommandLine& commandLine) {
    return std::holds_alternative<CommandLine::Window>(commandLine.command) ||
           std::holds_alternative<CommandLine::Screenshot>(commandLine.command);
}

/// The running instance's answer to a command on the document; no value if there is no instance.
std::optional<CommandResult> answerOfInstance(const Start& start) {
    if (!std::holds_alternative<CommandLine::DocumentCommand>(start.commandLine.command)) {
        return std::nullopt;
    }
    SingleInstance instance(settingsFolder());
    return askQuietly(instance, start);
}

}  // namespace
}  // namespace corvel

int main(int argc, char** argv) {
    using namespace corvel;
    return runProgram(argc, argv, [argv](const Start& start) {
        if (const std::optional<CommandResult> result = answerOfInstance(start)) {
            return printResult(*result);
        }
        return needsWindow(start.commandLine) ? becomeProgram("corvel-window", "the window cannot be opened", argv)
                                              : becomeProgram("corvel-headless", "the program cannot be started", argv);
    });
}
