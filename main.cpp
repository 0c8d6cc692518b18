#include "app/CommandLine.hpp"
#include "app/DocumentCommands.hpp"
#include "app/DocumentProblem.hpp"
#include "app/EndpointListing.hpp"
#include "app/HeadlessReporter.hpp"
#include "app/InMemorySettings.hpp"
#include "app/LineOutput.hpp"
#include "app/MIDIRouterViewModel.hpp"
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
    /// A model without a settings file. It must be gone before the router is.
    [[nodiscard]] std::shared_ptr<MIDIRouterViewModel> makeModel(std::shared_ptr<RouteStore> store) const {
        return MIDIRouterViewModel::create(engine_, std::move(store), std::make_shared<InMemorySettings>(), clock_,
                                           mainQueue_);
    }
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

/// The store of the connections file, of which it is said why it cannot be used as it is.
std::shared_ptr<RouteStore> openStore(const CommandLine& commandLine, bool isDemo) {
    const bool isDemoFile = isDemo && !commandLine.document;
    const std::filesystem::path file =
        commandLine.document.value_or(isDemo ? demoFile() : RouteStore::defaultFileURL());
    auto store = std::make_shared<RouteStore>(file);
    std::error_code error;
    const bool isMissing = std::filesystem::symlink_status(file, error).type() == std::filesystem::file_type::not_found;
    if (isDemoFile && isMissing) {
        try {
            store->saveDocument(hosts::makeDemoDocument());
        } catch (const RouteStoreError& failure) {
            complain(std::string(failure.what()) + "; an empty set is used");
        }
        return store;
    }
    // A first start has no document at the usual place, which is nothing to speak of.
    const auto problem = isMissing && !commandLine.document ? std::nullopt : documentProblem(file);
    if (problem) {
        complain(file.string() + ": " + *problem +
                 (store->load().empty() ? "; an empty set is used" : "; the older installation's sets are used"));
    }
    return store;
}

int perform(const CommandLine& commandLine, const CommandLine::Headless& headless) {
    const TerminationSignals signals;
    const Router router(commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const auto model = router.makeModel(openStore(commandLine, router.isDemo()));
    LineOutput errors(STDERR_FILENO, router.mainQueue());
    LineOutput output(STDOUT_FILENO, router.mainQueue());
    HeadlessReporter::LineSink activity;
    if (headless.writesActivity) {
        activity = [&output](std::string line) { output.write(std::move(line)); };
    }
    const auto reporter = std::make_shared<HeadlessReporter>(
        model, router.clock(), [&errors](std::string line) { errors.write(std::move(line)); }, std::move(activity));
    signals.watch(*router.mainQueue(), [loop = router.mainQueue().get()] { loop->stop(); });
    router.engine().setDelegate(reporter);
    model->startIfNeeded();
    router.mainQueue()->run();
    output.finish(kLastLinesLimit);
    errors.finish(kLastLinesLimit);
    return EXIT_SUCCESS;
}

int perform(const CommandLine& commandLine, const CommandLine::List& list) {
    const Router router(commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const MIDIEndpoints endpoints = router.engine().endpoints();
    return print(list.writesJSON ? EndpointListing::json(endpoints) : EndpointListing::table(endpoints));
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::Connect& connection) {
    model.applyEndpointSnapshot();
    return DocumentCommands::connect(model, connection.source, connection.destination, connection.channel);
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::Disconnect& connection) {
    model.applyEndpointSnapshot();
    return DocumentCommands::disconnect(model, connection.source, connection.destination);
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::SelectSet& selection) {
    return DocumentCommands::selectSet(model, selection.set);
}

CommandResult answer(const MIDIRouterViewModel& model, const CommandLine::ListSets& /*command*/) {
    return DocumentCommands::listSets(model);
}

/// The commands on the document: they route nothing, so the engine is not started.
template <typename DocumentCommand>
int perform(const CommandLine& commandLine, const DocumentCommand& command) {
    const Router router(commandLine.midi);
    if (!router.hasEngine()) {
        return EXIT_FAILURE;
    }
    const auto model = router.makeModel(openStore(commandLine, router.isDemo()));
    const CommandResult result = answer(*model, command);
    if (result.exitCode != EXIT_SUCCESS) {
        std::fprintf(stderr, "corvel: %s\n", result.text.c_str());
        return result.exitCode;
    }
    return print(result.text + '\n');
}

int perform(const CommandLine& /*commandLine*/, const CommandLine::Window& /*window*/) {
    complain("this build has no window: use --headless or --list (--help tells more)");
    return kUsageStatus;
}

int perform(const CommandLine& commandLine) {
    return std::visit([&commandLine](const auto& command) { return perform(commandLine, command); },
                      commandLine.command);
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
