#include "tests/program/ProgramFixture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// The program with its window, which Qt draws in memory.
class WindowProgram : public ProgramFixture {
protected:
    /// The width and height in the header of a PNG file.
    [[nodiscard]] static std::pair<std::uint32_t, std::uint32_t> pictureSize(const std::filesystem::path& file) {
        const std::string head = readFile(file).substr(0, 24);
        EXPECT_EQ(head.substr(0, 8), "\x89PNG\r\n\x1A\n");
        const auto number = [&head](std::size_t position) {
            std::uint32_t value = 0;
            for (const char byte : head.substr(position, 4)) {
                value = value << 8U | static_cast<std::uint8_t>(byte);
            }
            return value;
        };
        return {number(16), number(20)};
    }

    /// Expects one line of complaint and status 1.
    static void expectFailure(ChildProcess& program, const std::string& complaint) {
        EXPECT_EQ(program.wait(kDeadline), 1);
        EXPECT_EQ(program.standardOutput(), "");
        EXPECT_EQ(program.standardError(), complaint);
    }
};

TEST_F(WindowProgram, SaysThatThereIsNoDisplay) {
    ChildProcess program = start({});
    expectFailure(program,
                  "corvel: there is no display to show the window on; use --headless to route without a window\n");
    EXPECT_THAT(entries(data.path()), IsEmpty());
}

TEST_F(WindowProgram, SaysThatTheDisplayCannotBeOpened) {
    const ScopedEnvironment nowhere("DISPLAY", ":54321");
    ChildProcess program = start({});
    expectFailure(program,
                  "corvel: the window cannot be shown: could not connect to display :54321; use --headless to route "
                  "without a window\n");
}

TEST_F(WindowProgram, OpensItsWindowAndSavesItsFrameAtTheEnd) {
    const ScopedEnvironment drawn("QT_QPA_PLATFORM", "offscreen");
    for (const int signal : {SIGTERM, SIGINT}) {
        ChildProcess program = start({"--midi", "demo", "--document", (data / "tour.json").string()});
        ASSERT_TRUE(program.waitForError("tour.json: No such file or directory; an empty set is used\n", kDeadline));
        program.signal(signal);
        EXPECT_EQ(program.wait(kDeadline), 0);
        EXPECT_EQ(program.standardOutput(), "");
        const std::filesystem::path settings = configuration / "Corvel";
        ASSERT_TRUE(std::filesystem::exists(settings));
        ASSERT_EQ(entries(settings).size(), 1U);
        EXPECT_THAT(readFile(settings / entries(settings).front()), HasSubstr("RouterWindow-1-AppWindow-1"));
        std::filesystem::remove_all(settings);
    }
}

TEST_F(WindowProgram, ComesForwardForASecondStartAndCarriesCommandsOut) {
    if (hasSequencer()) {
        GTEST_SKIP() << "this machine has a sequencer";
    }
    const ScopedEnvironment drawn("QT_QPA_PLATFORM", "offscreen");
    ChildProcess window = start({});
    const std::filesystem::path file = data / "Corvel/demo-routes.json";
    ASSERT_TRUE(waitUntil(window, [&file] { return std::filesystem::exists(file); }));
    ChildProcess second = start({});
    EXPECT_EQ(second.wait(kDeadline), 0);
    EXPECT_EQ(second.standardOutput(), "Corvel is running already; its window comes to the front\n");
    EXPECT_EQ(second.standardError(), "");
    ChildProcess router = start({"--headless"});
    EXPECT_EQ(router.wait(kDeadline), 1);
    ChildProcess command = start({"--connect", "Demo Keyboard", "Demo Recorder"});
    EXPECT_EQ(command.wait(kDeadline), 0);
    EXPECT_EQ(command.standardOutput(), "Set \"Demo\" saved (4 connections)\n");
    EXPECT_EQ(command.standardError(), "");
    EXPECT_EQ(nlohmann::json::parse(readFile(file)).at("routeSets").at(0).at("routes").size(), 4U);
    window.signal(SIGTERM);
    EXPECT_EQ(window.wait(kDeadline), 0);
}

TEST_F(WindowProgram, DrawsItselfWithoutADisplayAndTouchesNothing) {
    const std::filesystem::path file = data / "a b.png";
    for (const auto& [options, size] :
         {std::pair<std::vector<std::string>, std::pair<std::uint32_t, std::uint32_t>>{{}, {1180, 760}},
          {{"--size", "980x640", "--scale", "1.5", "--appearance", "light"}, {1470, 960}}}) {
        std::vector<std::string> arguments{"--screenshot", file.string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        ChildProcess program = start(arguments);
        EXPECT_EQ(program.wait(kDeadline), 0);
        EXPECT_EQ(program.standardOutput(), "");
        EXPECT_EQ(program.standardError(), "");
        EXPECT_EQ(pictureSize(file), size);
    }
    EXPECT_THAT(entries(data.path()), ElementsAre("a b.png"));
    EXPECT_THAT(entries(configuration.path()), IsEmpty());
}

TEST_F(WindowProgram, SaysThatAPictureCannotBeWritten) {
    const std::string file = (data / "none/a.png").string();
    ChildProcess program = start({"--screenshot", file});
    EXPECT_EQ(program.wait(kDeadline), 1);
    EXPECT_THAT(program.standardError(), StartsWith("corvel: " + file + ": "));
}

}  // namespace
}  // namespace corvel::tests
