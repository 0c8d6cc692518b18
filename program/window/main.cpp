#include "app/InMemorySettings.hpp"
#include "program/Console.hpp"
#include "program/Environment.hpp"
#include "program/InstanceServer.hpp"
#include "program/MainLoop.hpp"
#include "program/OpenStore.hpp"
#include "program/QtSettings.hpp"
#include "program/Router.hpp"
#include "program/RunningInstance.hpp"
#include "program/SingleInstance.hpp"
#include "program/Start.hpp"
#include "program/TerminationSignals.hpp"
#include "program/window/DesktopSleepInhibitor.hpp"
#include "program/window/Display.hpp"
#include "program/window/ScratchStore.hpp"
#include "program/window/ShowWatch.hpp"
#include "ui/CorvelApp.hpp"
#include "ui/NoticeWindow.hpp"
#include "ui/QtText.hpp"
#include "ui/Screenshot.hpp"

#include <QApplication>
#include <QSize>
#include <QString>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <variant>

namespace corvel {
namespace {

/// Why the demo devices run, for the window; empty if the system's own MIDI is used.
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

/// Shows why the window does not open, if standard error is not a terminal.
void showProblem(const Settings& settings, const std::string& problem) {
    if (::isatty(STDERR_FILENO) != 0 || QGuiApplication::platformName() == QStringLiteral("offscreen")) {
        return;
    }
    const std::string stored = settings.string(MIDIRouterViewModel::kAppearanceModeKey).value_or("");
    const ui::Look look(appAppearanceModeFromRawValue(stored).value_or(AppAppearanceMode::dark));
    ui::NoticeWindow(look, QStringLiteral("Corvel cannot be opened"), ui::toQString(problem)).exec();
}

/// The message about a document that could not be read; empty if it could be read.
std::string documentNotice(const RouteStore& store) {
    if (!store.loadProblem()) {
        return {};
    }
    std::error_code error;
    const bool isThere = std::filesystem::exists(store.fileURL(), error) || error;
    return *store.loadProblem() + (isThere ? ". The first change replaces the file and keeps it as " +
                                                 store.fileURL().filename().string() + ".unreadable."
                                           : ".");
}

/// The time since the last routed message; no value if there was none.
std::optional<std::chrono::nanoseconds> silence(const MIDIRouterViewModel& model, const Clock& clock) {
    const MIDIRouterViewModel::ActivityEvents& events = model.activityEvents();
    return events.empty() ? std::nullopt : std::optional(clock.now() - events.back().timestamp);
}

int run(const Start& start, const std::shared_ptr<QtSettings>& settings, const TerminationSignals& termination) {
    SingleInstance instance(settingsFolder());
    if (const std::optional<CommandResult> settled = becomeRoutingInstance(instance, start)) {
        const int status = printResult(*settled);
        if (status != EXIT_SUCCESS) {
            showProblem(*settings, settled->text);
        }
        return status;
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
    if (const std::string notice = documentNotice(*store); !notice.empty()) {
        app.showNotice(QStringLiteral("Document Not Read"), ui::toQString(notice));
    }
    DesktopSleepInhibitor sleepInhibitor;
    const ShowWatch show(
        app.window(), [&] { return silence(*model, *router.clock()); }, sleepInhibitor);
    const RunningInstance self(model, std::filesystem::absolute(store->fileURL()), router.isDemo(),
                               [&app](const std::string& token) { app.activateApplicationWindow(token); });
    const InstanceServer server(instance.listeningSocket(),
                                [&self](const InstanceRequest& request) { return self.answer(request); });
    runMainLoop(router, termination, &QApplication::exec);
    return EXIT_SUCCESS;
}

int perform(const Start& start, const CommandLine::Window& /*window*/) {
    const TerminationSignals termination;
    const std::unique_ptr<QApplication> application = openDisplay(start);
    if (!application) {
        return EXIT_FAILURE;
    }
    const auto settings = std::make_shared<QtSettings>();
    try {
        return run(start, settings, termination);
    } catch (const std::exception& error) {
        printError(error.what());
        showProblem(*settings, error.what());
        return EXIT_FAILURE;
    }
}

int perform(const Start& start, const CommandLine::Screenshot& screenshot) {
    const std::unique_ptr<QApplication> application = openDrawing(start.qtArguments, screenshot.scale);
    const ScratchStore scratch;
    const Router router(MIDIHostChoice{MIDIServiceKind::demo});
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

/// `corvel` handles every other command.
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
