#include "app/DocumentCommands.hpp"
#include "app/EndpointListing.hpp"
#include "app/HeadlessReporter.hpp"
#include "app/InMemorySettings.hpp"
#include "program/Console.hpp"
#include "program/LineOutput.hpp"
#include "program/OpenStore.hpp"
#include "program/QtSettings.hpp"
#include "program/Router.hpp"
#include "program/RunningInstance.hpp"
#include "program/SingleInstance.hpp"
#include "program/Start.hpp"
#include "program/TerminationSignals.hpp"
#include "program/WindowProgram.hpp"

#include <QCoreApplication>
#include <unistd.h>

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
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    SingleInstance instance(QtSettings().file());
    if (const std::optional<int> status = becomeRoutingInstance(instance, start)) {
        return *status;
    }
    const Router router(start.commandLine.midi);
    if (!router.printProblem()) {
        return EXIT_FAILURE;
    }
    const auto store = openStore(start.commandLine.document, router.isDemo());
    const auto model = router.makeModel(store, std::make_shared<InMemorySettings>());
    LineOutput errors(STDERR_FILENO);
    LineOutput output(STDOUT_FILENO);
    HeadlessReporter::LineSink activity;
    if (headless.writesActivity) {
        activity = [&output](std::string line) { output.write(std::move(line)); };
    }
    const HeadlessReporter reporter(
        model, router.clock(), [&errors](std::string line) { errors.write(std::move(line)); }, std::move(activity));
    model->startIfNeeded();
    const RunningInstance self(model, std::filesystem::absolute(store->fileURL()), router.isDemo(), {});
    instance.serve([&self](const InstanceRequest& request) { return self.answer(request); });
    runMainLoop(router, termination, &QCoreApplication::exec, [&] { return output.isIdle() && errors.isIdle(); });
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

/// The running instance does it. Where there is none, this process is the instance meanwhile, so that nobody else reads
/// or writes the document; it routes nothing, so the engine is not started. The user's sets are there whatever MIDI the
/// machine has, so the demo does not stand in: only a new connection needs endpoints.
int perform(const Start& start, const CommandLine::DocumentCommand& command) {
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    SingleInstance instance(QtSettings().file());
    if (const std::optional<int> status = askRunningInstance(instance, start)) {
        return *status;
    }
    const bool isConnect = std::holds_alternative<CommandLine::Connect>(command);
    const Router router(start.commandLine.midi == MIDIHostChoice::demo ? MIDIHostChoice::demo : MIDIHostChoice::alsa);
    if (isConnect && !router.printProblem()) {
        return EXIT_FAILURE;
    }
    const auto model =
        router.makeModel(openStore(start.commandLine.document, router.isDemo()), std::make_shared<InMemorySettings>());
    if (isConnect || std::holds_alternative<CommandLine::Disconnect>(command)) {
        model->applyEndpointSnapshot();
    }
    return printResult(DocumentCommands::perform(*model, command));
}

}  // namespace
}  // namespace corvel

int main(int argc, char** argv) {
    using namespace corvel;
    return runProgram(argc, argv, [argv](const Start& start) {
        return std::visit(
            [&](const auto& command) {
                if constexpr (requires { perform(start, command); }) {
                    return perform(start, command);
                } else {
                    return becomeWindowProgram(argv);
                }
            },
            start.commandLine.command);
    });
}
