#include "app/CommandLine.hpp"

#include "app/CommandLineOption.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace corvel::tests {
namespace {

CommandLineResult parse(const std::vector<std::string>& arguments) {
    return parseCommandLine(arguments, "1.2.3");
}

CommandLine parsed(const std::vector<std::string>& arguments) {
    const CommandLineResult result = parse(arguments);
    if (const auto* error = std::get_if<CommandLineError>(&result)) {
        ADD_FAILURE() << error->message;
    }
    return std::get<CommandLine>(result);
}

std::string textOf(const std::vector<std::string>& arguments) {
    return std::get<CommandLineText>(parse(arguments)).text;
}

std::string errorOf(const std::vector<std::string>& arguments) {
    return std::get<CommandLineError>(parse(arguments)).message;
}

TEST(CommandLine, WantsAWindowWithAutomaticMIDIWhenNothingIsSaid) {
    EXPECT_EQ(parsed({}), CommandLine{});
    EXPECT_EQ(CommandLine{}.command, CommandLine::Command(CommandLine::Window{}));
    EXPECT_TRUE(CommandLine{}.midi.isAutomatic());
}

TEST(CommandLine, ReadsHeadlessWithItsOptions) {
    const CommandLine commandLine =
        parsed({"--headless", "--monitor", "--midi", "demo", "--document", "sets/tour.json"});
    EXPECT_EQ(commandLine.command, CommandLine::Command(CommandLine::Headless{.writesActivity = true}));
    EXPECT_EQ(commandLine.midi, MIDIHostChoice{MIDIServiceKind::demo});
    EXPECT_EQ(commandLine.document, "sets/tour.json");
}

TEST(CommandLine, ReadsListWithItsOptions) {
    const CommandLine commandLine = parsed({"--midi=alsa", "--list", "--json"});
    EXPECT_EQ(commandLine.command, CommandLine::Command(CommandLine::List{.writesJSON = true}));
    EXPECT_EQ(commandLine.midi, MIDIHostChoice{MIDIServiceKind::alsa});
    EXPECT_EQ(commandLine.document, std::nullopt);
}

TEST(CommandLine, LeavesTheOptionsOfAModeOutWhereTheyAreNotGiven) {
    EXPECT_EQ(parsed({"--headless"}).command, CommandLine::Command(CommandLine::Headless{}));
    EXPECT_EQ(parsed({"--list"}).command, CommandLine::Command(CommandLine::List{}));
}

TEST(CommandLine, ReadsConnectWithItsOptions) {
    EXPECT_EQ(parsed({"--connect", "Demo Keyboard", "Demo Synth"}).command,
              CommandLine::Command(CommandLine::Connect{"Demo Keyboard", "Demo Synth", std::nullopt}));
    const CommandLine commandLine =
        parsed({"--document", "a.json", "--channel", "16", "--connect", "Keys", "Synth", "--midi", "demo"});
    EXPECT_EQ(commandLine.command, CommandLine::Command(CommandLine::Connect{"Keys", "Synth", 16}));
    EXPECT_EQ(commandLine.midi, MIDIHostChoice{MIDIServiceKind::demo});
    EXPECT_EQ(commandLine.document, "a.json");
}

TEST(CommandLine, ReadsDisconnectAndTheCommandsOnSets) {
    EXPECT_EQ(parsed({"--disconnect", "Keys", "1001", "--document", "a.json"}).command,
              CommandLine::Command(CommandLine::Disconnect{"Keys", "1001"}));
    EXPECT_EQ(parsed({"--set", "Live 2"}).command, CommandLine::Command(CommandLine::SelectSet{"Live 2"}));
    EXPECT_EQ(parsed({"--sets", "--document", "a.json"}).document, "a.json");
    EXPECT_EQ(parsed({"--sets"}).command, CommandLine::Command(CommandLine::ListSets{}));
    EXPECT_EQ(parsed({"--all-notes-off"}).command, CommandLine::Command(CommandLine::AllNotesOff{}));
}

TEST(CommandLine, ReadsTheWindowWithItsOptions) {
    const CommandLine commandLine = parsed({"--midi", "demo", "--document", "a.json"});
    EXPECT_EQ(commandLine.command, CommandLine::Command(CommandLine::Window{}));
    EXPECT_EQ(commandLine.midi, MIDIHostChoice{MIDIServiceKind::demo});
    EXPECT_EQ(commandLine.document, "a.json");
}

TEST(CommandLine, ReadsScreenshotWithItsOptions) {
    const CommandLine plain = parsed({"--screenshot", "a b.png"});
    EXPECT_EQ(plain.command, CommandLine::Command(
                                 CommandLine::Screenshot{.file = "a b.png", .width = 1180, .height = 760, .scale = 1}));
    EXPECT_EQ(parsed({"--screenshot", "a b.png", "--scale", "1"}).command, plain.command);
    EXPECT_EQ(
        parsed({"--appearance", "light", "--scale", "1.5", "--size", "1920x1080", "--screenshot=a.png"}).command,
        CommandLine::Command(CommandLine::Screenshot{
            .file = "a.png", .width = 1920, .height = 1080, .scale = 1.5, .appearance = AppAppearanceMode::light}));
    EXPECT_EQ(parsed({"--screenshot", "a.png", "--size", "980x640", "--size", "7680x4320", "--scale", "4",
                      "--appearance", "dark", "--midi", "demo"})
                  .command,
              CommandLine::Command(CommandLine::Screenshot{
                  .file = "a.png", .width = 7680, .height = 4320, .scale = 4, .appearance = AppAppearanceMode::dark}));
}

TEST(CommandLine, TakesNegativeIDsAndOddNamesForEndpoints) {
    for (const char* const odd : {"-2065501447", "-1", "--list", "-x", "--", "[a,b]", "{a}", "a=b", " ", "", "%%",
                                  "\"Keys\"", "two\nlines", "\xFF", "/x"}) {
        EXPECT_EQ(parsed({"--connect", odd, "1001"}).command,
                  CommandLine::Command(CommandLine::Connect{odd, "1001", std::nullopt}))
            << odd;
        EXPECT_EQ(parsed({"--disconnect", "Keys", odd}).command,
                  CommandLine::Command(CommandLine::Disconnect{"Keys", odd}))
            << odd;
        EXPECT_EQ(parsed({"--set", odd}).command, CommandLine::Command(CommandLine::SelectSet{odd})) << odd;
    }
    EXPECT_EQ(parsed({"--connect", "-1", "-2", "--channel", "1"}).command,
              CommandLine::Command(CommandLine::Connect{"-1", "-2", 1}));
}

TEST(CommandLine, KeepsBlanksAndOddBytesInTheNameOfAFile) {
    EXPECT_EQ(parsed({"--headless", "--document", " my set\xff.json"}).document, " my set\xff.json");
}

TEST(CommandLine, TakesTheLastOfRepeatedValues) {
    EXPECT_EQ(parsed({"--midi", "alsa", "--midi", "auto"}).midi, MIDIHostChoice());
}

TEST(CommandLine, ReadsSeveralMIDIServicesInAnyOrder) {
    const MIDIHostChoice both{MIDIServiceKind::alsa, MIDIServiceKind::jack};
    EXPECT_EQ(parsed({"--midi", "alsa,jack"}).midi, both);
    EXPECT_EQ(parsed({"--midi", "jack,alsa"}).midi, both);
    EXPECT_EQ(parsed({"--midi", "jack"}).midi, MIDIHostChoice{MIDIServiceKind::jack});
}

TEST(CommandLine, RefusesAMIDIServiceThatThereIsNotAndOneThatStandsAlone) {
    for (const char* const value :
         {"", "jack,", ",alsa", "alsa,,jack", "demo,alsa", "alsa,auto", "ALSA", "alsa, jack"}) {
        EXPECT_THAT(errorOf({"--midi", value}), testing::HasSubstr("is not one of auto, alsa, jack, alsa,jack, demo"))
            << value;
    }
}

TEST(CommandLine, TellsTheVersion) {
    EXPECT_EQ(textOf({"--version"}), "Corvel 1.2.3\n");
}

TEST(CommandLine, TellsEveryOptionInTheHelp) {
    for (const char* const option :
         {"--headless", "--monitor", "--list", "--json", "--connect", "--channel", "--disconnect", "--set ", "--sets",
          "--screenshot", "--size", "--scale", "--appearance", "--midi", "--document", "--version", "--help"}) {
        EXPECT_NE(textOf({"--help"}).find(option), std::string::npos) << option;
    }
    EXPECT_EQ(textOf({"-h"}), textOf({"--help"}));
}

TEST(CommandLine, KeepsTheLinesOfTheHelpWithinATerminal) {
    std::istringstream help(textOf({"--help"}));
    for (std::string line; std::getline(help, line);) {
        EXPECT_LE(line.size(), 80U) << line;
        EXPECT_FALSE(line.ends_with(' ')) << line;
    }
}

TEST(CommandLine, WritesTheHelpInColumns) {
    const std::string help = textOf({"--help"});
    for (const char* const lines :
         {"Usage:\n  corvel [--midi SERVICE] [--document FILE]\n  corvel --headless ",
          "\n  corvel --connect SOURCE DESTINATION [--channel N] [--midi SERVICE]\n         [--document FILE]\n",
          "\n  --channel N      Force the connection onto a channel from 1 to 16. A\n"
          "                   connection that exists already",
          "\n  --all-notes-off  Silence every output", "\n  --screenshot FILE\n                   Draw the window",
          " decimals allowed; 1 by default.\n                   Only with --screenshot.\n",
          "\n  -h, --help       Print a summary of the options.\n\nOnly one instance of Corvel runs at a time, with or "
          "without its window: a second\nstart brings"}) {
        EXPECT_THAT(help, testing::HasSubstr(lines));
    }
    EXPECT_TRUE(help.ends_with(" --midi alsa opens the window with your own sets.\n"));
}

TEST(CommandLine, AcceptsEveryOptionThatTheHelpKnows) {
    const auto sample = [](const OptionValue& value) {
        return value.name == "WxH" ? "1000x700" : value.choices.empty() ? "2" : std::string(value.choices.front());
    };
    for (const CommandLineOption& option : commandLineOptions()) {
        std::vector<std::string> arguments;
        if (const std::string_view command = onlyCommandOf(option); !command.empty()) {
            arguments.emplace_back(command);
            arguments.resize(command == "--connect" ? 3 : command == "--screenshot" ? 2 : 1, "a");
        }
        arguments.emplace_back(option.name);
        std::ranges::transform(option.values, std::back_inserter(arguments), sample);
        const CommandLineResult result = parse(arguments);
        EXPECT_FALSE(std::holds_alternative<CommandLineError>(result)) << option.name;
    }
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(errorOf({"--loud"}), "unexpected argument: --loud");
    EXPECT_EQ(errorOf({"--headless", "tour.json"}), "unexpected argument: tour.json");
    EXPECT_EQ(errorOf({"--headless", "a", "b"}), "unexpected arguments: a b");
}

TEST(CommandLine, RefusesAnUnknownService) {
    EXPECT_EQ(errorOf({"--headless", "--midi", "oss"}), "--midi: oss is not one of auto, alsa, jack, alsa,jack, demo");
}

TEST(CommandLine, RefusesMissingValues) {
    EXPECT_EQ(errorOf({"--headless", "--midi"}), "--midi needs a value");
    EXPECT_EQ(errorOf({"--headless", "--document"}), "--document needs a value");
    EXPECT_EQ(errorOf({"--connect", "a", "b", "--channel"}), "--channel needs a value");
    EXPECT_EQ(errorOf({"--headless", "--document", ""}), "--document: the name of a file is missing");
}

TEST(CommandLine, RefusesOptionsWithoutTheirMode) {
    EXPECT_EQ(errorOf({"--monitor"}), "--monitor requires --headless");
    EXPECT_EQ(errorOf({"--headless", "--json"}), "--json requires --list");
    EXPECT_EQ(errorOf({"--size", "1180x760"}), "--size requires --screenshot");
    EXPECT_EQ(errorOf({"--list", "--scale", "2"}), "--scale requires --screenshot");
    EXPECT_EQ(errorOf({"--appearance", "dark"}), "--appearance requires --screenshot");
}

TEST(CommandLine, RefusesAPictureThatCannotBeDrawn) {
    const auto errorWith = [](const char* option, const char* value) {
        return errorOf({"--screenshot", "a.png", option, value});
    };
    for (const char* const wrong : {"-1x-1", "979x640", "980x639", "7681x4320", "7680x4321"}) {
        EXPECT_EQ(errorWith("--size", wrong), std::string("--size: ") + wrong + " not in range 980x640 to 7680x4320");
    }
    for (const char* const wrong : {"big", "1180", "1180x", "x760", "1180X760", "1180x760x2", "1180 x 760", "",
                                    "99999999999x760", "1180.5x760"}) {
        EXPECT_EQ(errorWith("--size", wrong),
                  std::string("--size: ") + wrong + " is not WIDTHxHEIGHT, such as 1180x760");
    }
    for (const char* const wrong : {"0", "0.99", "4.01", "-2", "nan", "inf", "1,5", "2x", "", "1e999"}) {
        EXPECT_EQ(errorWith("--scale", wrong), std::string("--scale: Value ") + wrong + " not in range 1 to 4");
    }
    EXPECT_EQ(errorWith("--appearance", "blue"), "--appearance: blue is not one of light, dark");
    EXPECT_EQ(errorOf({"--screenshot", ""}), "--screenshot: the name of a file is missing");
    EXPECT_EQ(errorOf({"--screenshot", "a.png", "--midi", "alsa"}),
              "--screenshot shows the demo devices and cannot be used with --midi alsa");
    EXPECT_EQ(errorOf({"--screenshot", "a.png", "--document", "b.json"}), "--screenshot excludes --document");
}

TEST(CommandLine, RefusesAChannelWithoutAConnectionOrOutsideOneToSixteen) {
    EXPECT_EQ(errorOf({"--channel", "3"}), "--channel requires --connect");
    EXPECT_EQ(errorOf({"--disconnect", "a", "b", "--channel", "3"}), "--channel requires --connect");
    for (const char* const wrong : {"0", "17", "-1", "1.5", "ten", "99999999999"}) {
        EXPECT_EQ(errorOf({"--connect", "a", "b", "--channel", wrong}),
                  std::string("--channel: Value ") + wrong + " not in range 1 to 16");
    }
}

TEST(CommandLine, RefusesTooFewAndTooManyEndpoints) {
    EXPECT_EQ(errorOf({"--connect"}), "--connect needs a source and a destination");
    EXPECT_EQ(errorOf({"--connect", "a"}), "--connect needs a source and a destination");
    EXPECT_EQ(errorOf({"--disconnect", "a"}), "--disconnect needs a source and a destination");
    EXPECT_EQ(errorOf({"--connect", "a", "b", "c"}), "unexpected argument: c");
    EXPECT_EQ(errorOf({"--connect", "a", "b", "--connect", "c", "d"}), "--connect can be given only once");
    EXPECT_EQ(errorOf({"--set"}), "--set needs a value");
    EXPECT_EQ(errorOf({"--set", "a", "--set", "b"}), "--set can be given only once");
}

TEST(CommandLine, RefusesEachTwoCommandsAtOnce) {
    const std::vector<std::vector<std::string>> commands{
        {"--headless"}, {"--list"}, {"--connect", "a", "b"}, {"--disconnect", "a", "b"},
        {"--set", "a"}, {"--sets"}, {"--screenshot", "a"}};
    for (const std::vector<std::string>& first : commands) {
        for (const std::vector<std::string>& second : commands) {
            if (first != second) {
                std::vector<std::string> both = first;
                both.insert(both.end(), second.begin(), second.end());
                EXPECT_NE(errorOf(both).find(" excludes "), std::string::npos) << first[0] << ' ' << second[0];
            }
        }
    }
}

TEST(CommandLine, RefusesTwoModesAtOnce) {
    EXPECT_TRUE(std::holds_alternative<CommandLineError>(parse({"--headless", "--list"})));
    EXPECT_TRUE(std::holds_alternative<CommandLineError>(parse({"--list", "--document", "a.json"})));
}

}  // namespace
}  // namespace corvel::tests
