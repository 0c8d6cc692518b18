#include "app/DocumentCommands.hpp"
#include "app/EndpointListing.hpp"
#include "app/HeadlessReporter.hpp"
#include "app/InMemorySettings.hpp"
#include "program/Console.hpp"
#include "program/Environment.hpp"
#include "program/InstanceServer.hpp"
#include "program/LineOutput.hpp"
#include "program/MainLoop.hpp"
#include "program/OpenStore.hpp"
#include "program/QtSettings.hpp"
#include "program/Router.hpp"
#include "program/RunningInstance.hpp"
#include "program/ServiceManager.hpp"
#include "program/SingleInstance.hpp"
#include "program/Start.hpp"
#include "program/TerminationSignals.hpp"

#include <QCoreApplication>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace corvel {
namespace {

int perform(const Start& start, const CommandLine::Headless& headless) {
    const TerminationSignals termination;
    const ServiceManager serviceManager;
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    SingleInstance instance(settingsFolder());
    if (const std::optional<CommandResult> settled = becomeRoutingInstance(instance, start)) {
        return printResult(*settled);
    }
    const Router router(start.commandLine.midi);
    if (!router.printProblem()) {
        return EXIT_FAILURE;
    }
    const auto store = openStore(start.commandLine.document, router.isDemo());
    const auto model = router.makeModel(store, std::make_shared<QtSettings>());
    LineOutput errors(STDERR_FILENO);
    LineOutput output(STDOUT_FILENO);
    HeadlessReporter::LineSink activity;
    if (headless.writesActivity) {
        activity = [&output](std::string line) { output.write(std::move(line)); };
    }
    const auto style = ServiceManager::isJournal(STDERR_FILENO) ? HeadlessReporter::Style::prioritized
                                                                : HeadlessReporter::Style::timed;
    const HeadlessReporter reporter(
        model, router.clock(), style, [&errors](std::string line) { errors.write(std::move(line)); },
        std::move(activity));
    model->startIfNeeded();
    const RunningInstance self(model, std::filesystem::absolute(store->fileURL()), router.isDemo(), {});
    const InstanceServer server(instance.listeningSocket(),
                                [&self](const InstanceRequest& request) { return self.answer(request); });
    if (router.engine().isStarted()) {
        serviceManager.tellReady("Routing MIDI");
    }
    runMainLoop(router, termination, &QCoreApplication::exec, [&] { return output.isIdle() && errors.isIdle(); });
    serviceManager.tellStopping();
    return EXIT_SUCCESS;
}

int perform(const Start& start, const CommandLine::List& list) {
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    const Router router(start.commandLine.midi);
    if (!router.printProblem()) {
        return EXIT_FAILURE;
    }
    const MIDIEndpoints endpoints = router.engine().endpoints();
    return print(list.writesJSON ? EndpointListing::json(endpoints) : EndpointListing::table(endpoints));
}

/// Waits until all messages that silence outputs are sent. Returns false if that takes too long.
bool waitForSilence(const Router& router) {
    const auto isSilent = std::make_shared<bool>(false);
    router.engine().silence({}, [isSilent] { *isSilent = true; });
    router.finish(std::chrono::seconds(2), [isSilent] { return *isSilent; });
    return *isSilent;
}

/// The running instance carries out the command. If there is none, this process is the instance meanwhile, so that no
/// other process reads or writes the document. It routes nothing: the engine is started only to silence outputs, and
/// then has no connections. The user's sets are available without MIDI, so the demo never replaces them.
int perform(const Start& start, const CommandLine::DocumentCommand& command) {
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    SingleInstance instance(settingsFolder());
    if (const std::optional<CommandResult> settled = askRunningInstance(instance, start)) {
        return printResult(*settled);
    }
    const bool isSilence = std::holds_alternative<CommandLine::AllNotesOff>(command);
    const bool needsMIDI = isSilence || std::holds_alternative<CommandLine::Connect>(command);
    const Router router(start.commandLine.midi.withoutStandIn());
    if (needsMIDI && !router.printProblem()) {
        return EXIT_FAILURE;
    }
    const auto model =
        router.makeModel(openStore(start.commandLine.document, router.isDemo()), std::make_shared<InMemorySettings>());
    if (isSilence) {
        router.engine().start();
    }
    if (needsMIDI || std::holds_alternative<CommandLine::Disconnect>(command)) {
        model->applyEndpointSnapshot();
    }
    const CommandResult result = DocumentCommands::perform(*model, command);
    if (isSilence && !waitForSilence(router)) {
        printError("the outputs could not be silenced within two seconds");
        return EXIT_FAILURE;
    }
    return printResult(result);
}

/// `corvel` gives every other command to the program with the window.
template <typename Command>
int perform(const Start& /*start*/, const Command& /*command*/) {
    printError("this program has no window; start corvel instead");
    return EXIT_FAILURE;
}

}  // namespace
}  // namespace corvel

int main(int argc, char** argv) {
    using namespace corvel;
    return runProgram(argc, argv, [](const Start& start) {
        return std::visit([&start](const auto& command) { return perform(start, command); }, start.commandLine.command);
    });
}
