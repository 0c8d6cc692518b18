#include "app/CommandLine.hpp"

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

constexpr const char* kHelp =
    R"(Corvel routes MIDI from any source to any destination.

Usage:
  corvel [--midi SERVICE] [--document FILE]
  corvel --headless [--monitor] [--midi SERVICE] [--document FILE]
  corvel --list [--json] [--midi SERVICE]
  corvel --connect SOURCE DESTINATION [--channel N] [--midi SERVICE]
         [--document FILE]
  corvel --disconnect SOURCE DESTINATION [--midi SERVICE] [--document FILE]
  corvel --set NAME [--midi SERVICE] [--document FILE]
  corvel --sets [--midi SERVICE] [--document FILE]
  corvel --all-notes-off [--midi SERVICE] [--document FILE]
  corvel --screenshot FILE [--size WxH] [--scale S] [--appearance light|dark]

Without a mode, Corvel opens its window.

  --headless       Route the current connections without a window until SIGINT
                   or SIGTERM; diagnostics go to standard error
  --monitor        Write each routed message to standard output: time, source,
                   destination, kind and bytes in hexadecimal, with tabs between
  --list           List the MIDI sources and destinations
  --json           ... as JSON
  --connect        Add a connection to the current set. SOURCE and DESTINATION
                   are names as --list shows them, or IDs: what reads as a
                   number is an ID
  --channel N      ... on this channel (1 to 16); a connection that is there
                   already gets, or changes to, that channel
  --disconnect     Delete a connection of the current set
  --set NAME       Make another connection set the current one, by name or ID
  --sets           List the connection sets, the current one marked with *
  --all-notes-off  Silence every output of the current set: sustain off, All
                   Notes Off and All Sound Off on all channels
  --screenshot FILE
                   Draw the window with the demo devices into a PNG file; needs
                   no display
  --size WxH       ... with a window of this size, 980x640 to 7680x4320 points;
                   1180x760 by default
  --scale S        ... with S pixels to a point, 1 to 4, decimals allowed
  --appearance A   ... light or dark; dark by default
  --midi SERVICE   alsa: the ALSA sequencer; demo: devices in memory that play by
                   themselves, with sets of their own; auto (the default): ALSA,
                   and the demo where there is no sequencer
  --document FILE  The connections file to use instead of the usual one
  --version        Print the version
  -h, --help       Print this help

One Corvel runs at a time, with or without its window: a second start brings the
window forward. --connect, --disconnect, --set, --sets and --all-notes-off are
carried out by the Corvel that runs, unless --document names another file than it
uses; where none runs, they work on your saved connections, and only --connect
and --all-notes-off need MIDI. With --midi demo, Corvel stays by itself and does
not count.

Where there is no sequencer, --midi alsa opens the window on your own sets.
)";

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

/// An option that takes a source and a destination, whatever they begin with: IDs may be negative.
CLI::Option* addEndpointsOption(CLI::App& app, const char* name) {
    constexpr int kEndpoints = 2;
    return app.add_option(name)->type_size(kEndpoints)->type_name("endpoints");
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

/// A check that a value is one of `choices`.
CLI::Validator oneOf(const std::vector<std::string>& choices) {
    const auto problem = [choices](const std::string& text) {
        std::string names;
        for (const std::string& choice : choices) {
            names += names.empty() ? choice : ", " + choice;
        }
        return std::ranges::find(choices, text) != choices.end() ? "" : text + " is not one of " + names;
    };
    return {problem, ""};
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

CommandLine::Screenshot screenshot(const CLI::App& app) {
    const auto value = [&app](const char* name) {
        const CLI::Option* const option = app.get_option(name);
        return option->count() > 0 ? std::optional(option->results().back()) : std::nullopt;
    };
    CommandLine::Screenshot result{.file = *value("--screenshot")};
    if (const auto size = value("--size")) {
        std::tie(result.width, result.height) = *parsedSize(*size);
    }
    if (const auto scale = value("--scale")) {
        result.scale = *parsedNumber<double>(*scale);
    }
    if (const auto appearance = value("--appearance")) {
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
    std::string midi = "auto";
    std::string document;

    CLI::App app;
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "Corvel " + version);
    const std::map<std::string, MIDIHostChoice> choices{
        {"auto", MIDIHostChoice::automatic}, {"alsa", MIDIHostChoice::alsa}, {"demo", MIDIHostChoice::demo}};
    CLI::Option* headless = app.add_flag("--headless");
    CLI::Option* list = app.add_flag("--list");
    CLI::Option* connect = addEndpointsOption(app, "--connect");
    CLI::Option* screenshot = app.add_option("--screenshot")->type_size(1);
    const std::vector<CLI::Option*> commands{headless,
                                             list,
                                             screenshot,
                                             connect,
                                             addEndpointsOption(app, "--disconnect"),
                                             app.add_option("--set")->type_size(1),
                                             app.add_flag("--sets"),
                                             app.add_flag("--all-notes-off")};
    for (auto first = commands.begin(); first != commands.end(); ++first) {
        std::for_each(first + 1, commands.end(), [first](CLI::Option* second) { second->excludes(*first); });
    }
    app.add_flag("--monitor")->needs(headless);
    app.add_flag("--json")->needs(list);
    app.add_option("--channel")->type_size(1)->check(channelProblem)->take_last()->needs(connect);
    app.add_option("--size")->type_size(1)->check(sizeProblem)->take_last()->needs(screenshot);
    app.add_option("--scale")->type_size(1)->check(scaleProblem)->take_last()->needs(screenshot);
    app.add_option("--appearance")->type_size(1)->check(oneOf({"light", "dark"}))->take_last()->needs(screenshot);
    app.add_option("--midi", midi)->check(oneOf({"auto", "alsa", "demo"}))->take_last();
    CLI::Option* documentOption = app.add_option("--document", document)->take_last();
    list->excludes(documentOption);
    screenshot->excludes(documentOption);

    try {
        // The parser takes its arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return CommandLineText{kHelp};
    } catch (const CLI::CallForVersion& call) {
        return CommandLineText{std::string(call.what()) + '\n'};
    } catch (const CLI::ExtrasError&) {
        return CommandLineError{unexpectedText(app.remaining())};
    } catch (const CLI::ArgumentMismatch& error) {
        return CommandLineError{mismatchText(error, arguments)};
    } catch (const CLI::ParseError& error) {
        return CommandLineError{error.what()};
    }
    CommandLine result{.command = command(app), .midi = choices.at(midi), .document = std::nullopt};
    if (documentOption->count() > 0) {
        if (document.empty()) {
            return CommandLineError{"--document: the name of a file is missing"};
        }
        result.document = document;
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
