#include "tests/program/ProgramFixture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// Two sets: "Tour" (current) with a connection between devices called "Piano" and "Organ", and "Encore".
constexpr const char* kSets = R"({
  "selectedSetID": "00000000-0000-4000-8000-000000000001",
  "routeSets": [
    {"id": "00000000-0000-4000-8000-000000000001", "name": "Tour", "routes": [
      {"id": "00000000-0000-4000-8000-000000000011", "sourceID": 7, "sourceName": "Piano", "destinationID": 8,
       "destinationName": "Organ", "channelMode": {"asIs": {}}, "isEnabled": true}]},
    {"id": "00000000-0000-4000-8000-000000000002", "name": "Encore", "routes": []}]
})";

constexpr const char* kProblem =
    "corvel: the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory)";

/// A user with sets on a machine without a sequencer.
class WithoutSequencerProgram : public ProgramFixture {
protected:
    void SetUp() override {
        if (hasSequencer()) {
            GTEST_SKIP() << "this machine has a sequencer";
        }
        std::filesystem::create_directories(data / "Corvel");
        writeFile(file, kSets);
    }

    static void expectSuccess(std::vector<std::string> arguments, const std::string& output) {
        ChildProcess program = start(std::move(arguments));
        EXPECT_EQ(program.wait(kDeadline), 0);
        EXPECT_EQ(program.standardOutput(), output);
        EXPECT_EQ(program.standardError(), "");
    }

    [[nodiscard]] nlohmann::json document() const { return nlohmann::json::parse(readFile(file)); }

    const std::filesystem::path file = data / "Corvel/routes.json";
    const ScopedEnvironment drawn{"QT_QPA_PLATFORM", "offscreen"};
};

TEST_F(WithoutSequencerProgram, CommandsReachTheUsersSets) {
    for (const std::string service : {"auto", "alsa"}) {
        writeFile(file, kSets);
        expectSuccess({"--sets", "--midi", service}, "* Tour (1 connection)\n  Encore (0 connections)\n");
        expectSuccess({"--disconnect", "Piano", "Organ", "--midi", service}, "Set \"Tour\" saved (0 connections)\n");
        expectSuccess({"--set", "Encore", "--midi", service}, "Loaded set \"Encore\"\n");
        EXPECT_EQ(document().at("selectedSetID"), "00000000-0000-4000-8000-000000000002");
        EXPECT_EQ(document().at("routeSets").at(0).at("routes").size(), 0U);
    }
    EXPECT_THAT(entries(data / "Corvel"), ElementsAre("routes.json"));
}

TEST_F(WithoutSequencerProgram, SaysThatItCannotConnect) {
    for (const std::string service : {"auto", "alsa"}) {
        ChildProcess program = start({"--connect", "7", "8", "--midi", service});
        EXPECT_EQ(program.wait(kDeadline), 1);
        EXPECT_EQ(program.standardOutput(), "");
        EXPECT_EQ(program.standardError(), std::string(kProblem) + "\n");
    }
    EXPECT_EQ(readFile(file), kSets);
}

TEST_F(WithoutSequencerProgram, TheWindowOpensOnTheUsersSetsWhereTheSequencerIsAskedFor) {
    ChildProcess window = start({"--midi", "alsa"});
    ASSERT_TRUE(window.waitForError(std::string(kProblem) + "\n", kDeadline));
    expectSuccess({"--sets"}, "* Tour (1 connection)\n  Encore (0 connections)\n");
    expectSuccess({"--set", "Encore"}, "Loaded set \"Encore\"\n");
    EXPECT_EQ(document().at("selectedSetID"), "00000000-0000-4000-8000-000000000002");
    window.signal(SIGTERM);
    EXPECT_EQ(window.wait(kDeadline), 0);
    EXPECT_THAT(window.standardError(), Not(HasSubstr("demo")));
    EXPECT_THAT(entries(data / "Corvel"), ElementsAre("routes.json"));
}

TEST_F(WithoutSequencerProgram, TheWindowOnTheDemoDevicesSaysHowToReachTheUsersSets) {
    ChildProcess window = start({});
    ASSERT_TRUE(window.waitForError(
        std::string(kProblem) +
            "; using the demo devices\ncorvel: the demo devices have sets of their own; corvel --midi alsa opens "
            "yours\n",
        kDeadline));
    ChildProcess second = start({"--midi", "alsa"});
    EXPECT_EQ(second.wait(kDeadline), 1);
    EXPECT_EQ(second.standardError(),
              "corvel: Corvel is running already, on the demo devices; close its window first\n");
    EXPECT_EQ(readFile(file), kSets);
}

class ProgramFiles : public ProgramFixture {};

TEST_F(ProgramFiles, LoadsNoWindowToolkitWithoutAWindow) {
    ChildProcess program = start({"--headless", "--midi", "demo"});
    ASSERT_TRUE(program.waitForError("Device tree", kDeadline));
    const std::string maps = readFile("/proc/" + std::to_string(program.pid()) + "/maps");
    EXPECT_THAT(maps, HasSubstr("libQt6Core"));
    EXPECT_THAT(maps, Not(HasSubstr("libQt6Gui")));
    EXPECT_THAT(maps, Not(HasSubstr("libQt6Widgets")));
}

TEST_F(ProgramFiles, SaysThatTheProgramWithTheWindowIsMissing) {
    const std::filesystem::path folder = std::filesystem::canonical(data.path());
    std::filesystem::create_directories(folder / "bin");
    std::filesystem::copy_file(CORVEL_PROGRAM, folder / "bin/corvel");
    ChildProcess program({(folder / "bin/corvel").string(), "--midi", "demo"});
    EXPECT_EQ(program.wait(kDeadline), 1);
    EXPECT_EQ(program.standardError(),
              "corvel: the window cannot be opened: " + (folder / "libexec/corvel/corvel-window").string() +
                  ": No such file or directory\n");
}

TEST_F(ProgramFiles, NeedsNoOtherProgramForACommandToTheRunningInstance) {
    const std::filesystem::path folder = std::filesystem::canonical(data.path());
    std::filesystem::create_directories(folder / "bin");
    std::filesystem::copy_file(CORVEL_PROGRAM, folder / "bin/corvel");
    {
        ChildProcess missing({(folder / "bin/corvel").string(), "--sets"});
        EXPECT_EQ(missing.wait(kDeadline), 1);
        EXPECT_EQ(missing.standardError(),
                  "corvel: the program cannot be started: " + (folder / "libexec/corvel/corvel-headless").string() +
                      ": No such file or directory\n");
    }
    // JACK's service waits for a server.
    ChildProcess router = start({"--headless", "--midi", "jack"});
    ASSERT_TRUE(router.waitForError("Device tree", kDeadline)) << router.standardError();
    ChildProcess command({(folder / "bin/corvel").string(), "--sets"});
    EXPECT_EQ(command.wait(kDeadline), 0);
    EXPECT_EQ(command.standardOutput(), "* Default (0 connections)\n");
}

TEST_F(ProgramFiles, FindsTheProgramWithTheWindowWhereItIsInstalled) {
    const std::filesystem::path installed = data / "libexec/corvel/corvel-window";
    std::filesystem::create_directories(installed.parent_path());
    std::filesystem::create_directories(data / "bin");
    std::filesystem::copy_file(CORVEL_PROGRAM, data / "bin/corvel");
    // A link is enough: the program prints its arguments.
    std::filesystem::create_symlink("/bin/echo", installed);
    ChildProcess program({(data / "bin/corvel").string(), "--midi", "demo"});
    EXPECT_EQ(program.wait(kDeadline), 0);
    EXPECT_EQ(program.standardOutput(), "--midi demo\n");
}

}  // namespace
}  // namespace corvel::tests
