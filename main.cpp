#include "app/CommandLine.hpp"
#include "app/DocumentProblem.hpp"
#include "app/EndpointListing.hpp"
#include "app/HeadlessReporter.hpp"
#include "app/LineOutput.hpp"
#include "app/TerminationSignals.hpp"
#include "app/TextLine.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/storage/RouteStore.hpp"
#include "core/support/ApplicationIdentifier.hpp"
#include "core/support/Clock.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/HostSelection.hpp"
#include "hosts/demo/DemoDevices.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace corvel {
namespace {

constexpr int kUsageStatus = 2;

/// How long the last lines may take to reach a reader at the end.
constexpr std::chrono::milliseconds kLastLinesLimit{500};

/// One line on standard error, whatever the text.
void complain(const std::string& message) {
    std::fprintf(stderr, "corvel: %s\n", escapedLine(message).c_str());
}

int print(const std::string& text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!isWritten) {
        complain("standard output could not be written");
    }
    return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// Descriptors 0 to 2 that the caller left closed would be taken by the next thing that is opened, and lines meant for
/// standard output would end up there.
void openStandardDescriptors() {
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

/// The engine with all that it stands on.
class Router {
public:
    explicit Router(MIDIHostChoice choice) {
        selection_ = hosts::selectHost(choice, engineQueue_, mainQueue_);
        if (!selection_.message.empty()) {
            complain(selection_.message);
        }
        if (selection_.host) {
            engine_ = CoreMIDIRouterEngine::create(selection_.host, engineQueue_, mainQueue_, clock_);
        }
    }
    Router(const Router&) = delete;
    Router& operator=(const Router&) = delete;

    /// The engine goes first, and with it ports and client; then a task of its queue that may still hold it; then the
    /// service, and the queues last.
    ~Router() {
        engine_.reset();
        engineQueue_->sync([] {});
    }

    [[nodiscard]] bool hasEngine() const { return engine_ != nullptr; }
    [[nodiscard]] bool isDemo() const { return selection_.isDemo; }
    [[nodiscard]] CoreMIDIRouterEngine& engine() const { return *engine_; }
    [[nodiscard]] const std::shared_ptr<EventLoop>& mainQueue() const { return mainQueue_; }
    [[nodiscard]] const std::shared_ptr<const Clock>& clock() const { return clock_; }

private:
    std::shared_ptr<const Clock> clock_ = makeSystemClock();
    std::shared_ptr<EventLoop> mainQueue_ = EventLoop::onThisThread(std::string(kApplicationIdentifier) + ".main");
    std::shared_ptr<EventLoop> engineQueue_ = EventLoop::withThread(std::string(kApplicationIdentifier) + ".engine");
    hosts::HostSelection selection_;
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
};

/// The demo has a document of its own, so that it never touches the user's sets.
std::filesystem::path demoFile() {
    return RouteStore::defaultFileURL().replace_filename("demo-routes.json");
}

std::vector<MIDIRoute> loadRoutes(const CommandLine& commandLine, bool isDemo) {
    const bool isDemoFile = isDemo && !commandLine.document;
    const std::filesystem::path file =
        commandLine.document.value_or(isDemo ? demoFile() : RouteStore::defaultFileURL());
    const RouteStore store(file);
    std::error_code error;
    const bool isMissing = std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found;
    if (isDemoFile && isMissing) {
        const MIDIRouteSetDocument document = hosts::makeDemoDocument();
        try {
            store.saveDocument(document);
        } catch (const RouteStoreError& failure) {
            complain(failure.what());
        }
        return document.selectedRouteSet().routes;
    }
    // A first start has no document at the usual place, which is nothing to speak of.
    const auto problem = isMissing && !commandLine.document ? std::nullopt : documentProblem(file);
    std::vector<MIDIRoute> routes = store.load();
    if (problem) {
        complain(file.string() + ": " + *problem +
                 (routes.empty() ? "; an empty set is used" : "; the older installation's sets are used"));
    }
    return routes;
}

int routeHeadless(const CommandLine& commandLine) {
    const TerminationSignals signals;
    const Router router(commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const std::vector<MIDIRoute> routes = loadRoutes(commandLine, router.isDemo());
    LineOutput errors(STDERR_FILENO, router.mainQueue());
    LineOutput output(STDOUT_FILENO, router.mainQueue());
    HeadlessReporter::LineSink activity;
    if (commandLine.writesActivity) {
        activity = [&output](std::string line) { output.write(std::move(line)); };
    }
    const auto reporter = std::make_shared<HeadlessReporter>(
        routes, router.clock(), [&errors](std::string line) { errors.write(std::move(line)); }, std::move(activity));
    signals.watch(*router.mainQueue(), [loop = router.mainQueue().get()] { loop->stop(); });
    router.engine().setDelegate(reporter);
    router.engine().updateRoutes(routes);
    router.engine().start();
    router.mainQueue()->run();
    output.finish(kLastLinesLimit);
    errors.finish(kLastLinesLimit);
    return EXIT_SUCCESS;
}

int listEndpoints(const CommandLine& commandLine) {
    const Router router(commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const MIDIEndpoints endpoints = router.engine().endpoints();
    return print(commandLine.writesJSON ? EndpointListing::json(endpoints) : EndpointListing::table(endpoints));
}

int perform(const CommandLine& commandLine) {
    switch (commandLine.mode) {
        case CommandLine::Mode::headless:
            return routeHeadless(commandLine);
        case CommandLine::Mode::list:
            return listEndpoints(commandLine);
        case CommandLine::Mode::window:
            break;
    }
    complain("this build has no window: use --headless or --list (--help tells more)");
    return kUsageStatus;
}

int perform(const CommandLineText& request) {
    return print(request.text);
}

int perform(const CommandLineError& error) {
    complain(error.message);
    return kUsageStatus;
}

}  // namespace
}  // namespace corvel

int main(int argc, char** argv) {
    corvel::openStandardDescriptors();
    try {
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        return std::visit([](const auto& request) { return corvel::perform(request); },
                          corvel::parseCommandLine(arguments, CORVEL_VERSION));
    } catch (const std::exception& error) {
        corvel::complain(error.what());
        return EXIT_FAILURE;
    }
}
