#include "app/CommandLine.hpp"

#include <gtest/gtest.h>

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
    EXPECT_EQ(CommandLine{}.mode, CommandLine::Mode::window);
    EXPECT_EQ(CommandLine{}.midi, MIDIHostChoice::automatic);
}

TEST(CommandLine, ReadsHeadlessWithItsOptions) {
    const CommandLine commandLine =
        parsed({"--headless", "--monitor", "--midi", "demo", "--document", "sets/tour.json"});
    EXPECT_EQ(commandLine.mode, CommandLine::Mode::headless);
    EXPECT_TRUE(commandLine.writesActivity);
    EXPECT_EQ(commandLine.midi, MIDIHostChoice::demo);
    EXPECT_EQ(commandLine.document, "sets/tour.json");
}

TEST(CommandLine, ReadsListWithItsOptions) {
    const CommandLine commandLine = parsed({"--midi=alsa", "--list", "--json"});
    EXPECT_EQ(commandLine.mode, CommandLine::Mode::list);
    EXPECT_TRUE(commandLine.writesJSON);
    EXPECT_EQ(commandLine.midi, MIDIHostChoice::alsa);
    EXPECT_EQ(commandLine.document, std::nullopt);
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
         {"--headless", "--monitor", "--list", "--json", "--midi", "--document", "--version", "--help"}) {
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

TEST(CommandLine, RefusesTwoModesAtOnce) {
    EXPECT_TRUE(std::holds_alternative<CommandLineError>(parse({"--headless", "--list"})));
    EXPECT_TRUE(std::holds_alternative<CommandLineError>(parse({"--list", "--document", "a.json"})));
}

}  // namespace
}  // namespace corvel::tests
