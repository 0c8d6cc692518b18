#include "app/CommandLine.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

namespace corvel {

namespace {

constexpr const char* kHelp =
    R"(Corvel routes MIDI from any source to any destination.

Usage:
  corvel --headless [--monitor] [--midi SERVICE] [--document FILE]
  corvel --list [--json] [--midi SERVICE]
  corvel --connect SOURCE DESTINATION [--channel N] [--midi SERVICE]
         [--document FILE]
  corvel --disconnect SOURCE DESTINATION [--midi SERVICE] [--document FILE]
  corvel --set NAME [--midi SERVICE] [--document FILE]
  corvel --sets [--midi SERVICE] [--document FILE]

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
  --midi SERVICE   alsa: the ALSA sequencer; demo: devices in memory that play by
                   themselves; auto (the default): ALSA where it can be opened,
                   the demo otherwise
  --document FILE  The connections file to use instead of the usual one
  --version        Print the version
  -h, --help       Print this help

A Corvel that is running reads its connections when it starts: it does not see
what --connect, --disconnect and --set change, and its own next save replaces it.
)";

/// An option that takes a source and a destination, whatever they begin with: IDs may be negative.
CLI::Option* addEndpointsOption(CLI::App& app, const char* name) {
    constexpr int kEndpoints = 2;
    return app.add_option(name)->type_size(kEndpoints)->type_name("endpoints");
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
    return CommandLine::Window{};
}

}  // namespace

CommandLineResult parseCommandLine(std::span<const std::string> arguments, const std::string& version) {
    constexpr int kLastChannel = 16;
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
    const std::vector<CLI::Option*> commands{headless,
                                             list,
                                             connect,
                                             addEndpointsOption(app, "--disconnect"),
                                             app.add_option("--set")->type_size(1),
                                             app.add_flag("--sets")};
    for (auto first = commands.begin(); first != commands.end(); ++first) {
        std::for_each(first + 1, commands.end(), [first](CLI::Option* second) { second->excludes(*first); });
    }
    app.add_flag("--monitor")->needs(headless);
    app.add_flag("--json")->needs(list);
    app.add_option("--channel")->type_size(1)->check(CLI::Range(1, kLastChannel))->take_last()->needs(connect);
    app.add_option("--midi", midi)->check(CLI::IsMember(&choices))->take_last();
    CLI::Option* documentOption = app.add_option("--document", document)->take_last();
    list->excludes(documentOption);

    try {
        // The parser takes its arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return CommandLineText{kHelp};
    } catch (const CLI::CallForVersion& call) {
        return CommandLineText{std::string(call.what()) + '\n'};
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
    return result;
}

}  // namespace corvel
