#include "app/CommandLine.hpp"

#include <CLI/CLI.hpp>

#include <map>
#include <vector>

namespace corvel {

namespace {

constexpr const char* kHelp =
    R"(Corvel routes MIDI from any source to any destination.

Usage:
  corvel --headless [--monitor] [--midi SERVICE] [--document FILE]
  corvel --list [--json] [--midi SERVICE]

  --headless       Route the current connections without a window until SIGINT
                   or SIGTERM; diagnostics go to standard error
  --monitor        Write each routed message to standard output: time, source,
                   destination, kind and bytes in hexadecimal, with tabs between
  --list           List the MIDI sources and destinations
  --json           ... as JSON
  --midi SERVICE   alsa: the ALSA sequencer; demo: devices in memory that play by
                   themselves; auto (the default): ALSA where it can be opened,
                   the demo otherwise
  --document FILE  The connections file to use instead of the usual one
  --version        Print the version
  -h, --help       Print this help
)";

}  // namespace

CommandLineResult parseCommandLine(std::span<const std::string> arguments, const std::string& version) {
    CommandLine result;
    bool isHeadless = false;
    bool isList = false;
    std::string midi = "auto";
    std::string document;

    CLI::App app;
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "Corvel " + version);
    const std::map<std::string, MIDIHostChoice> choices{
        {"auto", MIDIHostChoice::automatic}, {"alsa", MIDIHostChoice::alsa}, {"demo", MIDIHostChoice::demo}};
    CLI::Option* headless = app.add_flag("--headless", isHeadless);
    CLI::Option* list = app.add_flag("--list", isList);
    app.add_flag("--monitor", result.writesActivity)->needs(headless);
    app.add_flag("--json", result.writesJSON)->needs(list);
    app.add_option("--midi", midi)->check(CLI::IsMember(&choices))->take_last();
    CLI::Option* documentOption = app.add_option("--document", document)->take_last();
    list->excludes(headless);
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
    if (documentOption->count() > 0) {
        if (document.empty()) {
            return CommandLineError{"--document: the name of a file is missing"};
        }
        result.document = document;
    }
    if (isHeadless) {
        result.mode = CommandLine::Mode::headless;
    } else if (isList) {
        result.mode = CommandLine::Mode::list;
    }
    result.midi = choices.at(midi);
    return result;
}

}  // namespace corvel
