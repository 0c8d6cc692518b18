#include "app/CommandLine.hpp"

#include "app/CommandLineHelp.hpp"
#include "app/CommandLineOption.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <map>
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

/// The number that is the whole text.
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

/// Tells the parser of an option. A value is taken as it is, whatever it begins with: IDs may be negative.
CLI::Option* addOption(CLI::App& app, const CommandLineOption& option) {
    const std::string name(option.name);
    if (option.values.empty()) {
        return app.add_flag(name);
    }
    CLI::Option* const added = app.add_option(name)->type_size(static_cast<int>(option.values.size()));
    if (option.values.size() == 2) {
        added->type_name("endpoints");
    }
    // A script may append an option to those that it was given. Which command is meant must be clear.
    if (option.role == CommandLineOption::Role::detail) {
        added->take_last();
    }
    return added;
}

/// Tells the parser of all options, and which exclude or need each other.
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

/// What is wrong with a window's size, "WxH"; nothing if it can be drawn.
std::string sizeProblem(const std::string& text) {
    const std::optional<std::pair<int, int>> size = parsedSize(text);
    if (!size) {
        return text + " is not WIDTHxHEIGHT, such as 1180x760";
    }
    const auto [width, height] = *size;
    const bool fits = width >= kMinWidth && width <= kMaxWidth && height >= kMinHeight && height <= kMaxHeight;
    return fits ? "" : text + " not in range 980x640 to 7680x4320";
}

/// What is wrong with a number of pixels to a point; nothing if it can be drawn.
std::string scaleProblem(const std::string& text) {
    const std::optional<double> scale = parsedNumber<double>(text);
    return scale && *scale >= 1 && *scale <= kMaxScale ? "" : "Value " + text + " not in range 1 to 4";
}

/// What is wrong with a channel as users count them; nothing if there is one of this number.
std::string channelProblem(const std::string& text) {
    constexpr int kLastChannel = 16;
    const std::optional<int> channel = parsedNumber<int>(text);
    return channel && *channel >= 1 && *channel <= kLastChannel ? "" : "Value " + text + " not in range 1 to 16";
}

/// Has the parser accept only the option's choices.
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

/// In words of this program, because the parser's differ between its versions.
std::string unexpectedText(const std::vector<std::string>& unexpected) {
    std::string text = unexpected.size() == 1 ? "unexpected argument:" : "unexpected arguments:";
    for (const std::string& argument : unexpected) {
        text += ' ' + argument;
    }
    return text;
}

/// What to say of an option with too few or too many values, also in words of this program.
std::string mismatchText(const CLI::ArgumentMismatch& error, std::span<const std::string> arguments) {
    const std::string message = error.what();
    const std::string name = message.substr(0, message.find(':'));
    if (std::ranges::count(arguments, name) > 1) {
        return name + " can be given only once";
    }
    const bool takesEndpoints = name == "--connect" || name == "--disconnect";
    return name + (takesEndpoints ? " needs a source and a destination" : " needs a value");
}

/// What was given with the option, the last time; nothing if it was not given.
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

/// What the parser collected, as a command. At most one of the commands' options is there.
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
    const std::map<std::string, MIDIHostChoice> choices{
        {"auto", MIDIHostChoice::automatic}, {"alsa", MIDIHostChoice::alsa}, {"demo", MIDIHostChoice::demo}};
    addOptions(app);
    app.get_option("--channel")->check(channelProblem);
    app.get_option("--size")->check(sizeProblem);
    app.get_option("--scale")->check(scaleProblem);
    for (const CommandLineOption& option : commandLineOptions()) {
        if (option.name == "--appearance" || option.name == "--midi") {
            checkChoices(app, option);
        }
    }

    try {
        // The parser takes its arguments from the back.
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
    CommandLine result{.command = command(app), .midi = MIDIHostChoice::automatic, .document = std::nullopt};
    if (const std::optional<std::string> midi = value(app, "--midi")) {
        result.midi = choices.at(*midi);
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
        if (result.midi == MIDIHostChoice::alsa) {
            return CommandLineError{"--screenshot shows the demo devices: --midi alsa has no place there"};
        }
    }
    return result;
}

}  // namespace corvel
