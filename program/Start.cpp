#include "program/Start.hpp"

#include "program/Console.hpp"

#include <QByteArray>
#include <QCoreApplication>
#include <QTimer>
#include <QtGlobal>
#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

namespace corvel {

namespace {

constexpr int kUsageStatus = 2;

/// Time limit for the last reports and lines at the end.
constexpr std::chrono::milliseconds kEndLimit{500};

std::optional<SingleInstance::Outcome> takeOrAsk(SingleInstance& instance, const Start& start) {
    if (start.commandLine.midi.names(MIDIServiceKind::demo)) {
        return std::nullopt;
    }
    std::error_code error;
    SingleInstance::Outcome outcome = instance.takeOrAsk({.folder = std::filesystem::current_path(error),
                                                          .arguments = start.arguments,
                                                          .activationToken = start.activationToken});
    if (const auto* const unavailable = std::get_if<SingleInstance::Unavailable>(&outcome)) {
        printError("cannot tell whether Corvel is running already: " + unavailable->reason);
    }
    return outcome;
}

std::optional<CommandResult> settledResult(const std::optional<SingleInstance::Outcome>& outcome) {
    if (!outcome) {
        return std::nullopt;
    }
    if (const auto* const answered = std::get_if<SingleInstance::Answered>(&*outcome)) {
        return answered->result;
    }
    if (const auto* const silent = std::get_if<SingleInstance::NotAnswering>(&*outcome)) {
        return CommandResult{EXIT_FAILURE, silent->reason};
    }
    return std::nullopt;
}

/// Qt uses UTF-8 in any locale, but from Qt 6.8 on it warns on standard error if the locale's encoding is another one,
/// as in the environment of a service.
void useUTF8() {
    // NOLINTBEGIN(concurrency-mt-unsafe): there is no other thread yet
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(::nl_langinfo(CODESET)) != "UTF-8") {
        // If LC_ALL is set, LC_CTYPE has no effect.
        qputenv(qEnvironmentVariableIsSet("LC_ALL") ? "LC_ALL" : "LC_CTYPE", "C.UTF-8");
    }
    // NOLINTEND(concurrency-mt-unsafe)
}

/// Read early: the toolkit removes the token from the environment when it opens the display.
std::string activationToken() {
    for (const char* const name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        if (std::string token = qgetenv(name).toStdString(); !token.empty()) {
            return token;
        }
    }
    return {};
}

int runArguments(int argc, char** argv, const std::function<int(const Start&)>& perform) {
    std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    CommandLineResult parsed = parseCommandLine(arguments, CORVEL_VERSION);
    if (auto* const commandLine = std::get_if<CommandLine>(&parsed)) {
        QtArguments qtArguments(argv[0]);
        return perform({std::move(arguments), std::move(*commandLine), qtArguments, activationToken()});
    }
    if (const auto* const text = std::get_if<CommandLineText>(&parsed)) {
        return print(text->text);
    }
    printError(std::get<CommandLineError>(parsed).message);
    return kUsageStatus;
}

}  // namespace

int runProgram(int argc, char** argv, const std::function<int(const Start&)>& perform) {
    openStandardDescriptors();
    useUTF8();
    try {
        return runArguments(argc, argv, perform);
    } catch (const std::exception& error) {
        printError(error.what());
        return EXIT_FAILURE;
    }
}

std::optional<CommandResult> askRunningInstance(SingleInstance& instance, const Start& start) {
    return settledResult(takeOrAsk(instance, start));
}

std::optional<CommandResult> becomeRoutingInstance(SingleInstance& instance, const Start& start) {
    const std::optional<SingleInstance::Outcome> outcome = takeOrAsk(instance, start);
    if (outcome && std::holds_alternative<SingleInstance::Declined>(*outcome)) {
        return CommandResult{EXIT_FAILURE, "Corvel is running already"};
    }
    return settledResult(outcome);
}

void runMainLoop(const Router& router, const TerminationSignals& termination, int (*exec)(),
                 const std::function<bool()>& isWritten) {
    // By a timer, because a signal that has already come would quit the loop before it runs, and be lost.
    QTimer end;
    end.setSingleShot(true);
    QObject::connect(&end, &QTimer::timeout, qApp, &QCoreApplication::quit);
    const auto watch = termination.watch([&end] { end.start(0); });
    exec();
    router.finish(kEndLimit, isWritten);
}

}  // namespace corvel
