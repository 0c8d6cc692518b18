#include "program/Start.hpp"

#include "program/Console.hpp"
#include "program/Environment.hpp"

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

std::optional<SingleInstance::Outcome> takeOrAsk(SingleInstance& instance, const Start& start) {
    if (start.commandLine.midi.names(MIDIServiceKind::demo)) {
        return std::nullopt;
    }
    std::error_code error;
    return instance.takeOrAsk({.folder = std::filesystem::current_path(error),
                               .arguments = start.arguments,
                               .activationToken = start.activationToken});
}

void reportIfUnavailable(const std::optional<SingleInstance::Outcome>& outcome) {
    const auto* const unavailable = outcome ? std::get_if<SingleInstance::Unavailable>(&*outcome) : nullptr;
    if (unavailable != nullptr) {
        printError("cannot tell whether Corvel is running already: " + unavailable->reason);
    }
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
        ::setenv(std::getenv("LC_ALL") != nullptr ? "LC_ALL" : "LC_CTYPE", "C.UTF-8", 1);
    }
    // NOLINTEND(concurrency-mt-unsafe)
}

/// Read early: the toolkit removes the token from the environment when it opens the display.
std::string activationToken() {
    for (const char* const name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        if (std::string token = environmentVariable(name); !token.empty()) {
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
    const std::optional<SingleInstance::Outcome> outcome = takeOrAsk(instance, start);
    reportIfUnavailable(outcome);
    return settledResult(outcome);
}

std::optional<CommandResult> askQuietly(SingleInstance& instance, const Start& start) {
    return settledResult(takeOrAsk(instance, start));
}

std::optional<CommandResult> becomeRoutingInstance(SingleInstance& instance, const Start& start) {
    const std::optional<SingleInstance::Outcome> outcome = takeOrAsk(instance, start);
    reportIfUnavailable(outcome);
    if (outcome && std::holds_alternative<SingleInstance::Declined>(*outcome)) {
        return CommandResult{EXIT_FAILURE, "Corvel is running already"};
    }
    return settledResult(outcome);
}

}  // namespace corvel
