#include "tests/program/ProgramFixture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// Three sets: "Soft" (current) with nothing, "Loud" with the keyboard on the synth's channel 5, "Encore" with nothing.
constexpr const char* kTour = R"({
  "selectedSetID": "00000000-0000-4000-8000-000000000001",
  "routeSets": [
    {"id": "00000000-0000-4000-8000-000000000001", "name": "Soft", "routes": []},
    {"id": "00000000-0000-4000-8000-000000000002", "name": "Loud", "routes": [
      {"id": "00000000-0000-4000-8000-000000000011", "sourceID": 1001, "destinationID": 2001,
       "channelMode": {"force": {"_0": 5}}, "isEnabled": true}]},
    {"id": "00000000-0000-4000-8000-000000000003", "name": "Encore", "routes": []}]
})";

constexpr const char* kRefusal = "corvel: Corvel is running already; two would play every note twice\n";

/// Several starts of the program by one user.
class SingleInstanceProgram : public ProgramFixture {
protected:
    void SetUp() override {
        if (hasSequencer()) {
            GTEST_SKIP() << "this machine has a sequencer";
        }
        writeFile(file, kTour);
    }

    /// A router on the document "tour.json", once it routes.
    [[nodiscard]] std::unique_ptr<ChildProcess> startRouter() const {
        auto router = std::make_unique<ChildProcess>(
            std::vector<std::string>{CORVEL_PROGRAM, "--headless", "--monitor", "--document", file});
        EXPECT_TRUE(router->waitForError("Device tree: 6 devices", kDeadline)) << router->standardError();
        return router;
    }

    struct Answer {
        int status = 0;
        std::string output;
        std::string error;
    };

    [[nodiscard]] static Answer run(std::vector<std::string> arguments) {
        ChildProcess program = start(std::move(arguments));
        Answer answer;
        answer.status = program.wait(kDeadline).value_or(-1);
        answer.output = program.standardOutput();
        answer.error = program.standardError();
        return answer;
    }

    static void expectSuccess(const Answer& answer, const std::string& output) {
        EXPECT_EQ(answer.status, 0);
        EXPECT_EQ(answer.output, output);
        EXPECT_EQ(answer.error, "");
    }

    [[nodiscard]] nlohmann::json document() const { return nlohmann::json::parse(readFile(file)); }

    const std::string file = (data / "tour.json").string();
};

TEST_F(SingleInstanceProgram, RefusesASecondRouter) {
    const auto router = startRouter();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--headless"}, {"--headless", "--monitor", "--document", "other.json"}}) {
        const Answer second = run(arguments);
        EXPECT_EQ(second.status, 1);
        EXPECT_EQ(second.output, "");
        EXPECT_EQ(second.error, kRefusal);
    }
    router->signal(SIGTERM);
    EXPECT_EQ(router->wait(kDeadline), 0);
}

TEST_F(SingleInstanceProgram, SwitchesTheSetOfTheOneThatRoutes) {
    const auto router = startRouter();
    expectSuccess(run({"--sets"}), "* Soft (0 connections)\n  Loud (1 connection)\n  Encore (0 connections)\n");
    EXPECT_EQ(router->standardOutput(), "");
    expectSuccess(run({"--set", "Loud"}), "Loaded set \"Loud\"\n");
    EXPECT_TRUE(router->waitForOutput("\tDemo Keyboard\tDemo Synth\tNote\t94 ", kDeadline));
    EXPECT_EQ(document().at("selectedSetID"), "00000000-0000-4000-8000-000000000002");
}

TEST_F(SingleInstanceProgram, ConnectsAndDisconnectsInTheOneThatRoutes) {
    const auto router = startRouter();
    expectSuccess(run({"--connect", "Demo Pads", "2003", "--channel", "2"}), "Added output channel Ch 2\n");
    EXPECT_TRUE(router->waitForOutput("\tDemo Pads\tDemo Recorder\tNote\t91 ", kDeadline));
    expectSuccess(run({"--disconnect", "Demo Pads", "Demo Recorder"}), "Set \"Soft\" saved (0 connections)\n");
    expectSuccess(run({"--connect", "1001", "2002"}), "Set \"Soft\" saved (1 connections)\n");
    EXPECT_TRUE(router->waitForOutput("\tDemo Keyboard\tDemo Drums\tNote\t90 ", kDeadline));
    EXPECT_THAT(router->standardOutput().substr(router->standardOutput().find("Demo Drums")), Not(HasSubstr("Pads")));
    EXPECT_EQ(document().at("routeSets").at(0).at("routes").size(), 1U);
}

TEST_F(SingleInstanceProgram, AnswersWhatTheOneThatRoutesCannotDo) {
    const auto router = startRouter();
    const Answer answer = run({"--set", "Finale"});
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.output, "");
    EXPECT_EQ(answer.error,
              "corvel: There is no set \"Finale\"; the sets are:\n"
              "  Soft  (ID 00000000-0000-4000-8000-000000000001)\n"
              "  Loud  (ID 00000000-0000-4000-8000-000000000002)\n"
              "  Encore  (ID 00000000-0000-4000-8000-000000000003)\n");
}

TEST_F(SingleInstanceProgram, KnowsItsDocumentFromElsewhere) {
    const auto router = startRouter();
    ChildProcess program(
        {"env", "-C", data.path().string(), CORVEL_PROGRAM, "--set", "Loud", "--document", "tour.json"});
    EXPECT_EQ(program.wait(kDeadline), 0);
    EXPECT_EQ(program.standardError(), "") << "where no service was chosen, the other one has done it";
    EXPECT_TRUE(router->waitForOutput("\tDemo Keyboard\tDemo Synth\tNote\t94 ", kDeadline));
}

TEST_F(SingleInstanceProgram, WorksOnAnotherDocumentItself) {
    const auto router = startRouter();
    const std::string other = (data / "other.json").string();
    writeFile(other, kTour);
    expectSuccess(run({"--set", "Encore", "--document", other}), "Loaded set \"Encore\"\n");
    EXPECT_EQ(nlohmann::json::parse(readFile(other)).at("selectedSetID"), "00000000-0000-4000-8000-000000000003");
    EXPECT_EQ(document().at("selectedSetID"), "00000000-0000-4000-8000-000000000001");
}

TEST_F(SingleInstanceProgram, StaysByItselfOnTheDemoDevices) {
    const auto router = startRouter();
    ChildProcess demo = start({"--headless", "--monitor", "--midi", "demo"});
    EXPECT_TRUE(demo.waitForOutput("\tDemo Keyboard\tDemo Synth\tNote\t90 ", kDeadline)) << demo.standardError();
    expectSuccess(run({"--sets", "--midi", "demo"}), "* Demo (3 connections)\n");
    EXPECT_EQ(run({"--list"}).status, 0);
}

TEST_F(SingleInstanceProgram, KeepsUsersWithOtherSettingsApart) {
    const auto router = startRouter();
    ChildProcess other({"env", "XDG_CONFIG_HOME=" + data.path().string(), CORVEL_PROGRAM, "--headless"});
    EXPECT_TRUE(other.waitForError("Device tree: 6 devices", kDeadline));
}

TEST_F(SingleInstanceProgram, IsTheOneForAllNetworkNamespaces) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root makes network namespaces";
    }
    const auto router = startRouter();
    ChildProcess second({"unshare", "--net", CORVEL_PROGRAM, "--headless"});
    EXPECT_EQ(second.wait(kDeadline), 1);
    EXPECT_EQ(second.standardError(), kRefusal);
    ChildProcess command({"unshare", "--net", CORVEL_PROGRAM, "--set", "Loud"});
    EXPECT_EQ(command.wait(kDeadline), 0) << command.standardError();
    EXPECT_EQ(command.standardOutput(), "Loaded set \"Loud\"\n");
}

TEST_F(SingleInstanceProgram, SaysThatItCannotTellAndRoutesWithoutARuntimeFolder) {
    const ScopedEnvironment missing{"XDG_RUNTIME_DIR", "/nowhere"};
    const auto router = startRouter();
    const std::string complaint =
        "corvel: cannot tell whether Corvel is running already: /nowhere: No such file or directory\n";
    EXPECT_THAT(router->standardError(), HasSubstr(complaint));
    const Answer command = run({"--sets", "--document", file});
    EXPECT_EQ(command.status, 0);
    EXPECT_EQ(command.error, complaint);
}

TEST_F(SingleInstanceProgram, StartsAfterOneThatWasKilled) {
    for (const int signal : {SIGKILL, SIGABRT, SIGTERM}) {
        const auto router = startRouter();
        router->signal(signal);
        ASSERT_NE(router->wait(kDeadline), std::nullopt);
    }
    expectSuccess(run({"--set", "Loud", "--document", file}), "Loaded set \"Loud\"\n");
}

TEST_F(SingleInstanceProgram, SaysInTimeThatTheOneThatRunsDoesNotAnswerAndTouchesNothing) {
    const auto router = startRouter();
    router->signal(SIGSTOP);
    ChildProcess command = start({"--set", "Loud"});
    ChildProcess second = start({"--headless"});
    const std::string complaint =
        "corvel: Corvel is running already (process " + std::to_string(router->pid()) + "), but does not answer\n";
    for (ChildProcess* const program : {&command, &second}) {
        EXPECT_EQ(program->wait(kDeadline), 1);
        EXPECT_EQ(program->standardOutput(), "");
        EXPECT_EQ(program->standardError(), complaint);
    }
    EXPECT_EQ(readFile(file), kTour);
    router->signal(SIGCONT);
    expectSuccess(run({"--sets"}), "* Soft (0 connections)\n  Loud (1 connection)\n  Encore (0 connections)\n");
}

TEST_F(SingleInstanceProgram, OneOfManyStartsAtTheSameTimeRoutes) {
    std::vector<std::unique_ptr<ChildProcess>> programs;
    constexpr std::size_t kStarts = 8;
    programs.reserve(kStarts);
    while (programs.size() < kStarts) {
        programs.push_back(
            std::make_unique<ChildProcess>(std::vector<std::string>{CORVEL_PROGRAM, "--headless", "--document", file}));
    }
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (programs.size() > 1 && std::chrono::steady_clock::now() < deadline) {
        std::erase_if(programs, [](const std::unique_ptr<ChildProcess>& program) {
            const std::optional<int> status = program->wait(std::chrono::milliseconds(10));
            if (status) {
                EXPECT_EQ(*status, 1);
                EXPECT_EQ(program->standardError(), kRefusal);
            }
            return status.has_value();
        });
    }
    ASSERT_EQ(programs.size(), 1U);
    EXPECT_TRUE(programs.front()->waitForError("Device tree: 6 devices", kDeadline));
    programs.front()->signal(SIGTERM);
    EXPECT_EQ(programs.front()->wait(kDeadline), 0);
}

TEST_F(SingleInstanceProgram, CommandsAtTheSameTimeLoseNothing) {
    constexpr std::array kPairs{std::pair{"1001", "2001"}, std::pair{"1001", "2002"}, std::pair{"1001", "2003"},
                                std::pair{"1002", "2001"}, std::pair{"1002", "2002"}, std::pair{"1002", "2003"}};
    ConnectionsFile connections;
    for (const auto& [source, destination] : kPairs) {
        connections.add({.sourceID = std::stoi(source), .destinationID = std::stoi(destination)});
    }
    connections.add({.sourceID = 1003, .destinationID = 2003});
    connections.write(file);
    std::vector<std::unique_ptr<ChildProcess>> programs;
    programs.reserve(kPairs.size());
    for (const auto& [source, destination] : kPairs) {
        programs.push_back(std::make_unique<ChildProcess>(
            std::vector<std::string>{CORVEL_PROGRAM, "--disconnect", source, destination, "--document", file}));
    }
    for (const std::unique_ptr<ChildProcess>& program : programs) {
        EXPECT_EQ(program->wait(kDeadline), 0) << program->standardError();
    }
    EXPECT_EQ(document().at("routeSets").at(0).at("routes").size(), 1U);
}

TEST_F(SingleInstanceProgram, HasNoWindowToShowWhereTheOneThatRunsHasNone) {
    const auto router = startRouter();
    ChildProcess window({"env", "QT_QPA_PLATFORM=offscreen", CORVEL_PROGRAM});
    EXPECT_EQ(window.wait(kDeadline), 1);
    EXPECT_EQ(window.standardOutput(), "");
    EXPECT_EQ(window.standardError(),
              "corvel: Corvel is running already, without a window (--headless); end it to open the window\n");
}

}  // namespace
}  // namespace corvel::tests
