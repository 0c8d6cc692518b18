#include "program/RunningInstance.hpp"

#include <cstdlib>
#include <system_error>
#include <utility>
#include <variant>

namespace corvel {

namespace {

/// The absolute path without symbolic links, whether or not the file exists.
std::filesystem::path resolved(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::path result = std::filesystem::weakly_canonical(file, error);
    return error ? file.lexically_normal() : result;
}

}  // namespace

RunningInstance::RunningInstance(std::shared_ptr<MIDIRouterViewModel> model, std::filesystem::path document,
                                 bool isDemo, std::function<void(const std::string& activationToken)> bringForward)
    : model_(std::move(model)),
      document_(std::move(document)),
      isDemo_(isDemo),
      bringForward_(std::move(bringForward)) {}

InstanceAnswer RunningInstance::answer(const InstanceRequest& request) const {
    const CommandLineResult parsed = parseCommandLine(request.arguments, {});
    const auto* const commandLine = std::get_if<CommandLine>(&parsed);
    if (commandLine == nullptr) {
        return std::nullopt;
    }
    if (std::holds_alternative<CommandLine::Window>(commandLine->command)) {
        return answerWindow(*commandLine, request);
    }
    if (std::holds_alternative<CommandLine::Headless>(commandLine->command)) {
        return CommandResult{EXIT_FAILURE, "Corvel is running already; two would play every note twice"};
    }
    const auto* const command = std::get_if<CommandLine::DocumentCommand>(&commandLine->command);
    if (command == nullptr || !concerns(*commandLine, request.folder)) {
        return std::nullopt;
    }
    return DocumentCommands::perform(*model_, *command);
}

CommandResult RunningInstance::answerWindow(const CommandLine& commandLine, const InstanceRequest& request) const {
    if (!bringForward_) {
        return {EXIT_FAILURE, "Corvel is running already, without a window (--headless); end it to open the window"};
    }
    if (isDemo_ && commandLine.midi.namesSystem()) {
        return {EXIT_FAILURE, "Corvel is running already, on the demo devices; close its window first"};
    }
    if (!isOwnDocument(commandLine, request.folder)) {
        return {EXIT_FAILURE, "Corvel is running already, with the sets in " + document_.string() +
                                  "; close its window first to open " + commandLine.document->string()};
    }
    bringForward_(request.activationToken);
    return {EXIT_SUCCESS, "Corvel is running already; its window comes to the front"};
}

bool RunningInstance::concerns(const CommandLine& commandLine, const std::filesystem::path& folder) const {
    if (commandLine.midi.names(MIDIServiceKind::demo) || (commandLine.midi.namesSystem() && isDemo_)) {
        return false;
    }
    return isOwnDocument(commandLine, folder);
}

bool RunningInstance::isOwnDocument(const CommandLine& commandLine, const std::filesystem::path& folder) const {
    return !commandLine.document || resolved(folder / *commandLine.document) == resolved(document_);
}

}  // namespace corvel
