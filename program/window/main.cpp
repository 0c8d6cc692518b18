#include "app/InMemorySettings.hpp"
#include "program/Console.hpp"
#include "program/OpenStore.hpp"
#include "program/QtSettings.hpp"
#include "program/Router.hpp"
#include "program/RunningInstance.hpp"
#include "program/SingleInstance.hpp"
#include "program/Start.hpp"
#include "program/TerminationSignals.hpp"
#include "program/window/Display.hpp"
#include "program/window/ScratchStore.hpp"
#include "ui/CorvelApp.hpp"
#include "ui/QtText.hpp"
#include "ui/Screenshot.hpp"

#include <QApplication>
#include <QSize>
#include <QString>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace corvel {
namespace {

/// Why the demo devices run, for the window; empty on the system's own MIDI.
std::string demoReason(const Router& router) {
    if (!router.isDemo()) {
        return {};
    }
    if (router.problem().empty()) {
        return "Corvel was started with --midi demo";
    }
    return router.problem() +
           "; using the demo devices, which have sets of their own. Your sets: close this window "
           "and start corvel --midi alsa";
}

int perform(const Start& start, const CommandLine::Window& /*window*/) {
    const TerminationSignals termination;
    const std::unique_ptr<QApplication> application = openDisplay(start.qtArguments);
    if (!application) {
        return EXIT_FAILURE;
    }
    const auto settings = std::make_shared<QtSettings>();
    SingleInstance instance(settings->file());
    if (const std::optional<int> status = becomeRoutingInstance(instance, start)) {
        return *status;
    }
    const Router router(start.commandLine.midi);
    // Without a service the sets can still be edited; the status line shows the failure.
    const bool hasService = router.printProblem();
    if (hasService && !router.problem().empty() && !start.commandLine.document) {
        printError("the demo devices have sets of their own; corvel --midi alsa opens yours");
    }
    const auto store = openStore(start.commandLine.document, router.isDemo());
    const auto model = router.makeModel(store, settings);
    ui::CorvelApp app(model, settings, router.clock(), ui::toQString(demoReason(router)));
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
    const std::optional<QString> problem = ui::takeScreenshot(*model, router.clock(), ui::toQString(demoReason(router)),
                                                              {.file = screenshot.file,
                                                               .size = QSize(screenshot.width, screenshot.height),
                                                               .appearance = screenshot.appearance});
    if (problem) {
        printError(screenshot.file.string() + ": " + ui::toUTF8(*problem));
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

/// `corvel` itself does everything else.
template <typename Command>
int perform(const Start& /*start*/, const Command& /*command*/) {
    printError("this program opens the window or draws it; start corvel instead");
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
