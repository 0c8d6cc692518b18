#include "program/RunningInstance.hpp"

#include "tests/app/ModelFixture.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class RunningInstanceOnModel : public ModelFixture {
protected:
    RunningInstanceOnModel() { startModel(); }

    InstanceAnswer ask(std::vector<std::string> arguments) {
        return RunningInstance(model, store->fileURL(), false,
                               [this](const std::string& token) { bringForward(token); })
            .answer({store->fileURL().parent_path(), std::move(arguments)});
    }

    InstanceAnswer askWindowless(std::vector<std::string> arguments, bool isDemo = false) {
        return RunningInstance(model, store->fileURL(), isDemo, {}).answer({"/", std::move(arguments)});
    }

    void bringForward(const std::string& token) {
        ++timesInFront;
        lastToken = token;
    }

    int timesInFront = 0;
    std::string lastToken;
};

TEST_F(RunningInstanceOnModel, BringsItsWindowForwardForASecondStart) {
    EXPECT_EQ(ask({}), (CommandResult{0, "Corvel is running already; its window comes to the front"}));
    EXPECT_EQ(timesInFront, 1);
    EXPECT_EQ(ask({"--midi", "alsa", "--document", store->fileURL().string()}).value().exitCode, 0);
    EXPECT_EQ(timesInFront, 2);
}

TEST_F(RunningInstanceOnModel, BringsItsWindowForwardWithTheTokenOfTheSecondStart) {
    const RunningInstance instance(model, store->fileURL(), false,
                                   [this](const std::string& token) { bringForward(token); });
    EXPECT_EQ(instance.answer({"/", {}, "corvel_TIME42"}).value().exitCode, 0);
    EXPECT_EQ(lastToken, "corvel_TIME42");
}

TEST_F(RunningInstanceOnModel, OpensNoOtherDocument) {
    EXPECT_EQ(ask({"--document", "/other.json"}),
              (CommandResult{1, "Corvel is running already, with the sets in " + store->fileURL().string() +
                                    "; close its window first to open /other.json"}));
    EXPECT_EQ(timesInFront, 0);
}

TEST_F(RunningInstanceOnModel, HasNoWindowToBringForwardWhereItHasNone) {
    EXPECT_EQ(
        askWindowless({}),
        (CommandResult{1, "Corvel is running already, without a window (--headless); end it to open the window"}));
}

TEST_F(RunningInstanceOnModel, RefusesAStartForTheUsersSetsOnTheDemoDevices) {
    const RunningInstance demo(model, store->fileURL(), true,
                               [this](const std::string& token) { bringForward(token); });
    EXPECT_EQ(demo.answer({"/", {"--midi", "alsa"}}),
              (CommandResult{1, "Corvel is running already, on the demo devices; close its window first"}));
    EXPECT_EQ(timesInFront, 0);
    EXPECT_EQ(demo.answer({"/", {}}).value().exitCode, 0);
    EXPECT_EQ(timesInFront, 1);
}

TEST_F(RunningInstanceOnModel, RefusesASecondRouter) {
    const CommandResult refusal{1, "Corvel is running already; two would play every note twice"};
    EXPECT_EQ(ask({"--headless", "--monitor"}), refusal);
    EXPECT_EQ(askWindowless({"--headless", "--document", "/other.json"}), refusal);
    EXPECT_EQ(timesInFront, 0);
}

TEST_F(RunningInstanceOnModel, CarriesCommandsOutOnWhatIsRouted) {
    EXPECT_EQ(ask({"--connect", "Keys", "Synth", "--channel", "3"}), (CommandResult{0, "Added output channel Ch 3"}));
    ASSERT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(store->loadDocument().selectedRouteSet().routes, model->routes());
    EXPECT_EQ(ask({"--disconnect", "1011", "1021"}), (CommandResult{0, "Set \"Default\" saved (0 connections)"}));
    EXPECT_THAT(model->routes(), IsEmpty());
    EXPECT_EQ(ask({"--sets"}), (CommandResult{0, "* Default (0 connections)"}));
    EXPECT_EQ(ask({"--set", "Encore"}).value().exitCode, 1);
    EXPECT_EQ(timesInFront, 0);
}

TEST_F(RunningInstanceOnModel, DeclinesCommandsOnAnotherDocument) {
    EXPECT_EQ(ask({"--sets", "--document", "/other.json"}), std::nullopt);
    EXPECT_EQ(ask({"--connect", "Keys", "Synth", "--document", "other.json"}), std::nullopt);
    EXPECT_THAT(model->routes(), IsEmpty());
}

TEST_F(RunningInstanceOnModel, KnowsItsDocumentByAnyName) {
    const std::filesystem::path file = store->fileURL();
    ASSERT_EQ(ask({"--connect", "Keys", "Synth"}).value().exitCode, 0) << "now the file is there";
    const std::filesystem::path link = file.parent_path() / "link.json";
    std::filesystem::create_symlink(file, link);
    for (const std::string& name :
         {file.string(), file.filename().string(), "./nowhere/../" + file.filename().string(), link.string()}) {
        EXPECT_NE(ask({"--sets", "--document", name}), std::nullopt) << name;
    }
}

TEST_F(RunningInstanceOnModel, DeclinesCommandsForOtherDevices) {
    EXPECT_EQ(ask({"--sets", "--midi", "demo"}), std::nullopt);
    EXPECT_NE(ask({"--sets", "--midi", "alsa"}), std::nullopt);
    EXPECT_EQ(askWindowless({"--sets", "--midi", "alsa"}, true), std::nullopt);
    EXPECT_NE(askWindowless({"--sets"}, true), std::nullopt);
}

TEST_F(RunningInstanceOnModel, DeclinesWhatItDoesNotUnderstand) {
    EXPECT_EQ(ask({"--encore"}), std::nullopt);
    EXPECT_EQ(ask({"--help"}), std::nullopt);
    EXPECT_EQ(ask({"--list"}), std::nullopt);
    EXPECT_EQ(ask({"--screenshot", "a.png"}), std::nullopt);
    EXPECT_EQ(timesInFront, 0);
}

TEST_F(RunningInstanceOnModel, SaysThatAChangeWasNotSaved) {
    breakStore();
    const CommandResult result = ask({"--connect", "Keys", "Synth"}).value();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.text, ::testing::StartsWith("Could not save sets: "));
}

}  // namespace
}  // namespace corvel::tests
