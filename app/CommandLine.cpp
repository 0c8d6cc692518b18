#include "app/CommandLine.hpp"

#include "app/CommandLineHelp.hpp"
#include "app/CommandLineOption.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

namespace corvel {

namespace {

constexpr int kMinWidth = 980;
constexpr int kMinHeight = 640;
constexpr int kMaxWidth = 7680;
constexpr int kMaxHeight = 4320;
constexpr double kMaxScale = 4;

/// The number, if the whole text is one.
template <typename Number>
std::optional<Number> parsedNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// Width and height of "WxH".
std::optional<std::pair<int, int>> parsedSize(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<int> width = parsedNumber<int>(text.substr(0, cross));
    const std::optional<int> height = parsedNumber<int>(text.substr(cross + 1));
    return width && height ? std::optional(std::pair(*width, *height)) : std::nullopt;
}

/// Adds an option to the parser. Values may begin with any character, because IDs may be negative.
CLI::Option* addOption(CLI::App& app, const CommandLineOption& option) {
    const std::string name(option.name);
    if (option.values.empty()) {
        return app.add_flag(name);
    }
    CLI::Option* const added = app.add_option(name)->type_size(static_cast<int>(option.values.size()));
    if (option.values.size() == 2) {
        added->type_name("endpoints");
    }
    // A script may append an option to its own arguments, so the last one counts. A command must be unique.
    if (option.role == CommandLineOption::Role::detail) {
        added->take_last();
    }
    return added;
}

/// Adds all options to the parser, and which exclude or require each other.
void addOptions(CLI::App& app) {
    std::vector<CLI::Option*> commands;
    for (const CommandLineOption& option : commandLineOptions()) {
        if (option.role == CommandLineOption::Role::information) {
            continue;
        }
        CLI::Option* const added = addOption(app, option);
        if (option.role == CommandLineOption::Role::command) {
            std::ranges::for_each(commands, [added](CLI::Option* other) { added->excludes(other); });
            commands.push_back(added);
        }
    }
    for (const CommandLineOption& option : commandLineOptions()) {
        if (option.role != CommandLineOption::Role::detail) {
            continue;
        }
        CLI::Option* const detail = app.get_option(std::string(option.name));
        if (const std::string_view only = onlyCommandOf(option); !only.empty()) {
            detail->needs(app.get_option(std::string(only)));
            continue;
        }
        for (CLI::Option* const command : commands) {
            if (!isDetailOf(option, command->get_name())) {
                command->excludes(detail);
            }
        }
    }
}

/// The error in a window's size, "WxH"; empty if it is valid.
std::string sizeProblem(const std::string& text) {
    const std::optional<std::pair<int, int>> size = parsedSize(text);
    if (!size) {
        return text + " is not WIDTHxHEIGHT, such as 1180x760";
    }
    const auto [width, height] = *size;
    const bool fits = width >= kMinWidth && width <= kMaxWidth && height >= kMinHeight && height <= kMaxHeight;
    return fits ? "" : text + " not in range 980x640 to 7680x4320";
}

/// The error in a number of pixels per point; empty if it is valid.
std::string scaleProblem(const std::string& text) {
    const std::optional<double> scale = parsedNumber<double>(text);
    return scale && *scale >= 1 && *scale <= kMaxScale ? "" : "Value " + text + " not in range 1 to 4";
}

/// The services in a value of --midi, which are separated by commas; no value if it is invalid.
std::optional<MIDIHostChoice> parsedMIDI(const std::string& text) {
    if (text == "auto") {
        return MIDIHostChoice();
    }
    if (text == "demo") {
        return MIDIHostChoice{MIDIServiceKind::demo};
    }
    MIDIHostChoice choice;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const std::string_view name = std::string_view(text).substr(start, end - start);
        if (name != "alsa" && name != "jack") {
            return std::nullopt;
        }
        choice.add(name == "alsa" ? MIDIServiceKind::alsa : MIDIServiceKind::jack);
        start = end + 1;
    }
    return choice;
}

std::string midiProblem(const std::string& text) {
    return parsedMIDI(text) ? "" : text + " is not one of auto, alsa, jack, alsa,jack, demo";
}

/// The error in a channel number, counted from 1; empty if it is valid.
std::string channelProblem(const std::string& text) {
    constexpr int kLastChannel = 16;
    const std::optional<int> channel = parsedNumber<int>(text);
    return channel && *channel >= 1 && *channel <= kLastChannel ? "" : "Value " + text + " not in range 1 to 16";
}

/// Makes the parser accept only the option's choices.
void checkChoices(CLI::App& app, const CommandLineOption& option) {
    const auto problem = [choices = option.values.front().choices](const std::string& text) {
        std::string names;
        for (const std::string_view choice : choices) {
            names += names.empty() ? "" : ", ";
            names += choice;
        }
        return std::ranges::find(choices, text) != choices.end() ? "" : text + " is not one of " + names;
    };
    app.get_option(std::string(option.name))->check(CLI::Validator(problem, ""));
}

/// A text of our own, because the parser's text differs between its versions.
std::string unexpectedText(const std::vector<std::string>& unexpected) {
    std::string text = unexpected.size() == 1 ? "unexpected argument:" : "unexpected arguments:";
    for (const std::string& argument : unexpected) {
        text += ' ' + argument;
    }
    return text;
}

/// The error for an option with too few or too many values; also a text of our own.
std::string mismatchText(const CLI::ArgumentMismatch& error, std::span<const std::string> arguments) {
    const std::string message = error.what();
    const std::string name = message.substr(0, message.find(':'));
    if (std::ranges::count(arguments, name) > 1) {
        return name + " can be given only once";
    }
    const bool takesEndpoints = name == "--connect" || name == "--disconnect";
    return name + (takesEndpoints ? " needs a source and a destination" : " needs a value");
}

/// The last value that was given with the option; no value if it was not given.
std::optional<std::string> value(const CLI::App& app, const char* name) {
    const CLI::Option* const option = app.get_option(name);
    return option->count() > 0 ? std::optional(option->results().back()) : std::nullopt;
}

CommandLine::Screenshot screenshot(const CLI::App& app) {
    CommandLine::Screenshot result{.file = *value(app, "--screenshot")};
    if (const auto size = value(app, "--size")) {
        std::tie(result.width, result.height) = *parsedSize(*size);
    }
    if (const auto scale = value(app, "--scale")) {
        result.scale = *parsedNumber<double>(*scale);
    }
    if (const auto appearance = value(app, "--appearance")) {
        result.appearance = *appAppearanceModeFromRawValue(*appearance);
    }
    return result;
}

/// The command that the parser has collected. At most one command's option was given.
CommandLine::Command command(const CLI::App& app) {
    const auto values = [&app](const char* name) { return app.get_option(name)->results(); };
    const auto isGiven = [&app](const char* name) { return app.get_option(name)->count() > 0; };
    if (isGiven("--headless")) {
        return CommandLine::Headless{isGiven("--monitor")};
    }
    if (isGiven("--list")) {
        return CommandLine::List{isGiven("--json")};
    }
    if (isGiven("--screenshot")) {
        return screenshot(app);
    }
    if (isGiven("--connect")) {
        const std::optional<int> channel =
            isGiven("--channel") ? std::optional(app.get_option("--channel")->as<int>()) : std::nullopt;
        return CommandLine::Connect{values("--connect").front(), values("--connect").back(), channel};
    }
    if (isGiven("--disconnect")) {
        return CommandLine::Disconnect{values("--disconnect").front(), values("--disconnect").back()};
    }
    if (isGiven("--set")) {
        return CommandLine::SelectSet{values("--set").front()};
    }
    if (isGiven("--sets")) {
        return CommandLine::ListSets{};
    }
    if (isGiven("--all-notes-off")) {
        return CommandLine::AllNotesOff{};
    }
    return CommandLine::Window{};
}

}  // namespace

CommandLineResult parseCommandLine(std::span<const std::string> arguments, const std::string& version) {
    CLI::App app;
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "Corvel " + version);
    addOptions(app);
    app.get_option("--channel")->check(channelProblem);
    app.get_option("--size")->check(sizeProblem);
    app.get_option("--scale")->check(scaleProblem);
    app.get_option("--midi")->check(midiProblem);
    for (const CommandLineOption& option : commandLineOptions()) {
        if (option.name == "--appearance") {
            checkChoices(app, option);
        }
    }

    try {
        // The parser takes the arguments in reverse order.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return CommandLineText{commandLineHelp()};
    } catch (const CLI::CallForVersion& call) {
        return CommandLineText{std::string(call.what()) + '\n'};
    } catch (const CLI::ExtrasError&) {
        return CommandLineError{unexpectedText(app.remaining())};
    } catch (const CLI::ArgumentMismatch& error) {
        return CommandLineError{mismatchText(error, arguments)};
    } catch (const CLI::ParseError& error) {
        return CommandLineError{error.what()};
    }
    CommandLine result{.command = command(app), .midi = {}, .document = std::nullopt};
    if (const std::optional<std::string> midi = value(app, "--midi")) {
        result.midi = *parsedMIDI(*midi);
    }
    if (const std::optional<std::string> document = value(app, "--document")) {
        if (document->empty()) {
            return CommandLineError{"--document: the name of a file is missing"};
        }
        result.document = *document;
    }
    if (const auto* const picture = std::get_if<CommandLine::Screenshot>(&result.command)) {
        if (picture->file.empty()) {
            return CommandLineError{"--screenshot: the name of a file is missing"};
        }
        if (result.midi.namesSystem()) {
            return CommandLineError{"--screenshot shows the demo devices and cannot be used with --midi " +
                                    *value(app, "--midi")};
        }
    }
    return result;
}

}  // namespace corvel
