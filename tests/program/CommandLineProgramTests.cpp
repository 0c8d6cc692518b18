#include "tests/program/ProgramFixture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::IsEmpty;
using ::testing::StartsWith;

using CommandLineProgram = ProgramFixture;

TEST_F(CommandLineProgram, AnswersBadOptionsWithOneLineAndStatusTwo) {
    const std::vector<std::vector<std::string>> mistakes{{"--loud"},
                                                         {"--headless", "--midi", "jck"},
                                                         {"--headless", "--midi"},
                                                         {"--monitor"},
                                                         {"--list", "--headless"},
                                                         {"two\nlines"},
                                                         {"--connect", "Demo Keyboard"},
                                                         {"--connect", "1", "2", "--channel", "17"},
                                                         {"--set", "Live", "--channel", "1"},
                                                         {"--set", "Live", "--sets"},
                                                         {"--size", "1180x760"},
                                                         {"--screenshot", "a.png", "--scale", "5"}};
    for (const std::vector<std::string>& arguments : mistakes) {
        ChildProcess program = start(arguments);
        EXPECT_EQ(program.wait(kDeadline), 2);
        const std::string line = program.standardError();
        EXPECT_THAT(line, StartsWith("corvel: "));
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
        EXPECT_EQ(program.standardOutput(), "");
    }
    EXPECT_THAT(entries(data.path()), IsEmpty());
}

TEST_F(CommandLineProgram, TellsItsVersionAndHelp) {
    ChildProcess version = start({"--version"});
    EXPECT_EQ(version.wait(kDeadline), 0);
    EXPECT_EQ(version.standardOutput(), "Corvel " CORVEL_VERSION "\n");

    ChildProcess help = start({"--help"});
    EXPECT_EQ(help.wait(kDeadline), 0);
    EXPECT_THAT(help.standardOutput(), StartsWith("Corvel routes MIDI"));
    EXPECT_EQ(help.standardError(), "");
}

TEST_F(CommandLineProgram, SaysNothingOfALocaleThatIsNotUTF8) {
    const ScopedEnvironment language("LANG", std::nullopt);
    for (const std::optional<std::string>& value : {std::optional<std::string>("C"), std::optional<std::string>()}) {
        const ScopedEnvironment locale("LC_ALL", value);
        ChildProcess program = start({"--list", "--midi", "demo"});
        EXPECT_EQ(program.wait(kDeadline), 0);
        EXPECT_EQ(program.standardError(), "");
    }
}

TEST_F(CommandLineProgram, ListsTheEndpointsAsJSON) {
    ChildProcess program = start({"--list", "--json", "--midi", "demo"});
    EXPECT_EQ(program.wait(kDeadline), 0);
    EXPECT_EQ(program.standardError(), "");
    const nlohmann::json list = nlohmann::json::parse(program.standardOutput());
    const nlohmann::json keyboard = {
        {"id", 1001}, {"displayName", "Demo Keyboard"}, {"manufacturer", "Corvel Demo"}, {"isOnline", true}};
    const nlohmann::json recorder = {
        {"id", 2003}, {"displayName", "Demo Recorder"}, {"manufacturer", "Corvel Demo"}, {"isOnline", true}};
    EXPECT_EQ(list.size(), 2U);
    ASSERT_EQ(list.at("sources").size(), 3U);
    EXPECT_EQ(list.at("sources").at(0), keyboard);
    ASSERT_EQ(list.at("destinations").size(), 3U);
    EXPECT_EQ(list.at("destinations").at(2), recorder);
    EXPECT_THAT(entries(data.path()), IsEmpty());
}

TEST_F(CommandLineProgram, ListsTheEndpointsForPeople) {
    ChildProcess program = start({"--list", "--midi", "demo"});
    EXPECT_EQ(program.wait(kDeadline), 0);
    EXPECT_EQ(program.standardOutput(),
              "Sources\n"
              "    ID  State   Name            Manufacturer\n"
              "  1001  online  Demo Keyboard   Corvel Demo\n"
              "  1002  online  Demo Pads       Corvel Demo\n"
              "  1003  online  Demo Sequencer  Corvel Demo\n"
              "\n"
              "Destinations\n"
              "    ID  State   Name           Manufacturer\n"
              "  2001  online  Demo Synth     Corvel Demo\n"
              "  2002  online  Demo Drums     Corvel Demo\n"
              "  2003  online  Demo Recorder  Corvel Demo\n");
}

TEST_F(CommandLineProgram, FailsWhenItsAnswerCannotBeWritten) {
    ChildProcess program({"sh", "-c", "exec \"$0\" --list --midi demo >/dev/full", CORVEL_PROGRAM});
    EXPECT_EQ(program.wait(kDeadline), 1);
    EXPECT_EQ(program.standardError(), "corvel: standard output could not be written\n");
}

}  // namespace
}  // namespace corvel::tests
