#include "app/CommandLine.hpp"

#include <CLI/CLI.hpp>

#include <map>
#include <vector>

namespace corvel {

CommandLineResult parseCommandLine(std::span<const std::string> arguments, const std::string& version) {
    CommandLine result;
    bool isHeadless = false;
    bool isList = false;
    std::string midi = "auto";
    std::string document;

    CLI::App app("Corvel routes MIDI from any source to any destination.", "corvel");
    app.set_version_flag("--version", "Corvel " + version, "Print the version and exit");
    app.set_help_flag("--help,-h", "Print this help and exit");
    const std::map<std::string, MIDIHostChoice> choices{
        {"auto", MIDIHostChoice::automatic}, {"alsa", MIDIHostChoice::alsa}, {"demo", MIDIHostChoice::demo}};
    CLI::Option* headless =
        app.add_flag("--headless", isHeadless, "Route the current connections without a window until SIGINT or SIGTERM");
    CLI::Option* list = app.add_flag("--list", isList, "List the MIDI endpoints and exit");
    app.add_flag("--monitor", result.writesActivity, "With --headless: write each routed message to standard output")
        ->needs(headless);
    app.add_flag("--json", result.writesJSON, "With --list: write JSON")->needs(list);
    app.add_option("--midi", midi, "The MIDI service: auto, alsa or demo")
        ->type_name("SERVICE")
        ->check(CLI::IsMember(&choices).description(""))
        ->take_last();
    CLI::Option* documentOption = app.add_option("--document", document, "The connections file to use instead of the usual one")
                                      ->type_name("FILE")
                                      ->take_last();
    list->excludes(headless);
    list->excludes(documentOption);

    try {
        // The parser takes its arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return CommandLineText{app.help()};
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
