#include "app/CommandLine.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
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
    EXPECT_EQ(CommandLine{}.midi, MIDIHostChoice::automatic);
}

TEST(CommandLine, ReadsHeadlessWithItsOptions) {
    const CommandLine commandLine =
        parsed({"--headless", "--monitor", "--midi", "demo", "--document", "sets/tour.json"});
    EXPECT_EQ(commandLine.command, CommandLine::Command(CommandLine::Headless{.writesActivity = true}));
    EXPECT_EQ(commandLine.midi, MIDIHostChoice::demo);
    EXPECT_EQ(commandLine.document, "sets/tour.json");
}

TEST(CommandLine, ReadsListWithItsOptions) {
    const CommandLine commandLine = parsed({"--midi=alsa", "--list", "--json"});
    EXPECT_EQ(commandLine.command, CommandLine::Command(CommandLine::List{.writesJSON = true}));
    EXPECT_EQ(commandLine.midi, MIDIHostChoice::alsa);
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
    EXPECT_EQ(commandLine.midi, MIDIHostChoice::demo);
    EXPECT_EQ(commandLine.document, "a.json");
}

TEST(CommandLine, ReadsDisconnectAndTheCommandsOnSets) {
    EXPECT_EQ(parsed({"--disconnect", "Keys", "1001", "--document", "a.json"}).command,
              CommandLine::Command(CommandLine::Disconnect{"Keys", "1001"}));
    EXPECT_EQ(parsed({"--set", "Live 2"}).command, CommandLine::Command(CommandLine::SelectSet{"Live 2"}));
    EXPECT_EQ(parsed({"--sets", "--document", "a.json"}).document, "a.json");
    EXPECT_EQ(parsed({"--sets"}).command, CommandLine::Command(CommandLine::ListSets{}));
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
    EXPECT_EQ(parsed({"--midi", "alsa", "--midi", "auto"}).midi, MIDIHostChoice::automatic);
}

TEST(CommandLine, TellsTheVersion) {
    EXPECT_EQ(textOf({"--version"}), "Corvel 1.2.3\n");
}

TEST(CommandLine, TellsEveryOptionInTheHelp) {
    for (const char* const option :
         {"--headless", "--monitor", "--list", "--json", "--connect", "--channel", "--disconnect", "--set ", "--sets",
          "--midi", "--document", "--version", "--help"}) {
        EXPECT_NE(textOf({"--help"}).find(option), std::string::npos) << option;
    }
    EXPECT_EQ(textOf({"-h"}), textOf({"--help"}));
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(errorOf({"--loud"}), "The following argument was not expected: --loud");
    EXPECT_EQ(errorOf({"--headless", "tour.json"}), "The following argument was not expected: tour.json");
}

TEST(CommandLine, RefusesAnUnknownService) {
    EXPECT_EQ(errorOf({"--headless", "--midi", "jack"}), "--midi: jack not in {alsa,auto,demo}");
}

TEST(CommandLine, RefusesMissingValues) {
    EXPECT_NE(errorOf({"--headless", "--midi"}).find("--midi"), std::string::npos);
    EXPECT_NE(errorOf({"--headless", "--document"}).find("--document"), std::string::npos);
    EXPECT_EQ(errorOf({"--headless", "--document", ""}), "--document: the name of a file is missing");
}

TEST(CommandLine, RefusesOptionsWithoutTheirMode) {
    EXPECT_EQ(errorOf({"--monitor"}), "--monitor requires --headless");
    EXPECT_EQ(errorOf({"--headless", "--json"}), "--json requires --list");
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
    EXPECT_EQ(errorOf({"--connect"}), "--connect: 2 required endpoints missing");
    EXPECT_EQ(errorOf({"--connect", "a"}), "--connect: 2 required endpoints missing");
    EXPECT_EQ(errorOf({"--disconnect", "a"}), "--disconnect: 2 required endpoints missing");
    EXPECT_EQ(errorOf({"--connect", "a", "b", "c"}), "The following argument was not expected: c");
    EXPECT_NE(errorOf({"--connect", "a", "b", "--connect", "c", "d"}).find("--connect"), std::string::npos);
    EXPECT_NE(errorOf({"--set"}).find("--set"), std::string::npos);
    EXPECT_NE(errorOf({"--set", "a", "--set", "b"}).find("--set"), std::string::npos);
}

TEST(CommandLine, RefusesEachTwoCommandsAtOnce) {
    const std::vector<std::vector<std::string>> commands{
        {"--headless"}, {"--list"}, {"--connect", "a", "b"}, {"--disconnect", "a", "b"}, {"--set", "a"}, {"--sets"}};
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
