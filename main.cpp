#include "app/CommandLine.hpp"
#include "app/DocumentCommands.hpp"
#include "app/EndpointListing.hpp"
#include "app/HeadlessReporter.hpp"
#include "app/InMemorySettings.hpp"
#include "app/LineOutput.hpp"
#include "app/RunningInstance.hpp"
#include "app/TerminationSignals.hpp"
#include "program/Console.hpp"
#include "program/Display.hpp"
#include "program/OpenStore.hpp"
#include "program/QtArguments.hpp"
#include "program/Router.hpp"
#include "program/ScratchStore.hpp"
#include "ui/CorvelApp.hpp"
#include "ui/QtMainLoop.hpp"
#include "ui/QtSettings.hpp"
#include "ui/QtText.hpp"
#include "ui/Screenshot.hpp"
#include "ui/SingleInstance.hpp"

#include <QApplication>
#include <QCoreApplication>
#include <QSize>
#include <QString>
#include <QTimer>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace corvel {
namespace {

using ui::SingleInstance;

constexpr int kUsageStatus = 2;

/// How long the last lines may take to reach a reader at the end.
constexpr std::chrono::milliseconds kLastLinesLimit{500};

/// What the program was started with.
struct Start {
    std::vector<std::string> arguments;
    CommandLine commandLine;
    QtArguments& qtArguments;
};

/// Becomes the one instance or, where there is one, has it do what this start was asked to. On the demo devices, which
/// nobody else hears, a start is by itself.
std::optional<SingleInstance::Outcome> meetOthers(SingleInstance& instance, const Start& start) {
    if (start.commandLine.midi == MIDIHostChoice::demo) {
        return std::nullopt;
    }
    std::error_code error;
    SingleInstance::Outcome outcome =
        instance.takeOrAsk({.folder = std::filesystem::current_path(error), .arguments = start.arguments});
    if (const auto* const unavailable = std::get_if<SingleInstance::Unavailable>(&outcome)) {
        complain("cannot tell whether Corvel is running already: " + unavailable->reason);
    }
    return outcome;
}

/// The exit status, if another instance has settled the matter.
std::optional<int> settledStatus(const std::optional<SingleInstance::Outcome>& outcome) {
    if (!outcome) {
        return std::nullopt;
    }
    if (const auto* const answered = std::get_if<SingleInstance::Answered>(&*outcome)) {
        return report(answered->result);
    }
    if (const auto* const silent = std::get_if<SingleInstance::Silent>(&*outcome)) {
        complain(silent->reason);
        return EXIT_FAILURE;
    }
    return std::nullopt;
}

/// The same for a start that is to route MIDI: whatever the other instance made of it, it is there.
std::optional<int> settledStatusOfRouter(const std::optional<SingleInstance::Outcome>& outcome) {
    if (outcome && std::holds_alternative<SingleInstance::Declined>(*outcome)) {
        complain("Corvel is running already");
        return EXIT_FAILURE;
    }
    return settledStatus(outcome);
}

/// Runs Qt's event loop, and the main queue in it, until the program is to end.
void runMainLoop(const Router& router, const TerminationSignals& termination, int (*exec)()) {
    EventLoop& queue = *router.mainQueue();
    // By way of a timer: a signal that has come already would end the loop before it runs, and be lost.
    QTimer end;
    end.setSingleShot(true);
    QObject::connect(&end, &QTimer::timeout, qApp, &QCoreApplication::quit);
    termination.watch(queue, [&end] { end.start(0); });
    const ui::QtMainLoop loop(router.mainQueue());
    exec();
    // What was posted before the end is owed.
    queue.stop();
    queue.run();
}

int perform(const Start& start, const CommandLine::Headless& headless) {
    const TerminationSignals termination;
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    SingleInstance instance(ui::QtSettings().file());
    if (const std::optional<int> status = settledStatusOfRouter(meetOthers(instance, start))) {
        return *status;
    }
    const Router router(start.commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const auto store = openStore(start.commandLine.document, router.isDemo());
    const auto model = router.makeModel(store, std::make_shared<InMemorySettings>());
    LineOutput errors(STDERR_FILENO, router.mainQueue());
    LineOutput output(STDOUT_FILENO, router.mainQueue());
    HeadlessReporter::LineSink activity;
    if (headless.writesActivity) {
        activity = [&output](std::string line) { output.write(std::move(line)); };
    }
    const auto reporter = std::make_shared<HeadlessReporter>(
        model, router.clock(), [&errors](std::string line) { errors.write(std::move(line)); }, std::move(activity));
    model->startIfNeeded();
    const RunningInstance self(model, std::filesystem::absolute(store->fileURL()), router.isDemo(), {});
    instance.serve([&self](const InstanceRequest& request) { return self.answer(request); });
    runMainLoop(router, termination, &QCoreApplication::exec);
    output.finish(kLastLinesLimit);
    errors.finish(kLastLinesLimit);
    return EXIT_SUCCESS;
}

int perform(const Start& start, const CommandLine::List& list) {
    const Router router(start.commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const MIDIEndpoints endpoints = router.engine().endpoints();
    return print(list.writesJSON ? EndpointListing::json(endpoints) : EndpointListing::table(endpoints));
}

/// The running instance does it. Where there is none, this process is the instance meanwhile, so that nobody else reads
/// or writes the document; it routes nothing, so the engine is not started.
int perform(const Start& start, const CommandLine::DocumentCommand& command) {
    const QCoreApplication application(start.qtArguments.count(), start.qtArguments.values());
    SingleInstance instance(ui::QtSettings().file());
    if (const std::optional<int> status = settledStatus(meetOthers(instance, start))) {
        return *status;
    }
    const Router router(start.commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const auto model =
        router.makeModel(openStore(start.commandLine.document, router.isDemo()), std::make_shared<InMemorySettings>());
    if (std::holds_alternative<CommandLine::Connect>(command) ||
        std::holds_alternative<CommandLine::Disconnect>(command)) {
        model->applyEndpointSnapshot();
    }
    return report(DocumentCommands::perform(*model, command));
}

int perform(const Start& start, const CommandLine::Window& /*window*/) {
    const TerminationSignals termination;
    const std::unique_ptr<QApplication> application = openDisplay(start.qtArguments);
    if (!application) {
        return EXIT_FAILURE;
    }
    const auto settings = std::make_shared<ui::QtSettings>();
    SingleInstance instance(settings->file());
    if (const std::optional<int> status = settledStatusOfRouter(meetOthers(instance, start))) {
        return *status;
    }
    const Router router(start.commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const auto store = openStore(start.commandLine.document, router.isDemo());
    const auto model = router.makeModel(store, settings);
    ui::CorvelApp app(model, settings, router.clock(), ui::toQString(router.demoReason()));
    app.start();
    const RunningInstance self(model, std::filesystem::absolute(store->fileURL()), router.isDemo(),
                               [&app] { app.activateApplicationWindow(); });
    instance.serve([&self](const InstanceRequest& request) { return self.answer(request); });
    runMainLoop(router, termination, &QApplication::exec);
    return EXIT_SUCCESS;
}

int perform(const Start& start, const CommandLine::Screenshot& screenshot) {
    const std::unique_ptr<QApplication> application = openDrawing(start.qtArguments, screenshot.scale);
    const ScratchStore scratch;
    const Router router(MIDIHostChoice::demo);
    const auto model = router.makeModel(scratch.store(), std::make_shared<InMemorySettings>());
    const ui::QtMainLoop loop(router.mainQueue());
    const std::optional<QString> problem =
        ui::takeScreenshot(*model, router.clock(), ui::toQString(router.demoReason()),
                           {.file = screenshot.file,
                            .size = QSize(screenshot.width, screenshot.height),
                            .appearance = screenshot.appearance});
    if (problem) {
        complain(screenshot.file.string() + ": " + ui::toUTF8(*problem));
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int perform(const CommandLineText& request) {
    return print(request.text);
}

int perform(const CommandLineError& error) {
    complain(error.message);
    return kUsageStatus;
}

int run(int argc, char** argv) {
    std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    CommandLineResult parsed = parseCommandLine(arguments, CORVEL_VERSION);
    if (auto* const commandLine = std::get_if<CommandLine>(&parsed)) {
        QtArguments qtArguments(argv[0]);
        const Start start{std::move(arguments), std::move(*commandLine), qtArguments};
        return std::visit([&start](const auto& command) { return perform(start, command); }, start.commandLine.command);
    }
    if (const auto* const text = std::get_if<CommandLineText>(&parsed)) {
        return perform(*text);
    }
    return perform(std::get<CommandLineError>(parsed));
}

}  // namespace
}  // namespace corvel

int main(int argc, char** argv) {
    corvel::openStandardDescriptors();
    try {
        return corvel::run(argc, argv);
    } catch (const std::exception& error) {
        corvel::complain(error.what());
        return EXIT_FAILURE;
    }
}
