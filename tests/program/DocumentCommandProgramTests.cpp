#include "tests/program/ProgramFixture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The result of a run of the program.
struct Answer {
    int status = 0;
    std::string output;
    std::string error;

    bool operator==(const Answer&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
        return stream << answer.status << " [" << answer.output << "] [" << answer.error << "]";
    }
};

/// A document with two sets called "Twin", the first current. It has two connections from missing devices called "Old"
/// to the demo synth.
constexpr const char* kTwins = R"({
  "selectedSetID": "00000000-0000-4000-8000-000000000001",
  "routeSets": [
    {"id": "00000000-0000-4000-8000-000000000001", "name": "Twin", "routes": [
      {"id": "00000000-0000-4000-8000-000000000011", "sourceID": -7, "sourceName": "Old", "destinationID": 2001,
       "channelMode": {"asIs": {}}, "isEnabled": true, "variants": []},
      {"id": "00000000-0000-4000-8000-000000000012", "sourceID": 8, "sourceName": "Old", "destinationID": 2001,
       "channelMode": {"asIs": {}}, "isEnabled": true, "variants": []}]},
    {"id": "00000000-0000-4000-8000-000000000002", "name": "Twin", "routes": []},
    {"id": "00000000-0000-4000-8000-000000000003", "name": "Solo", "routes": []}]
})";

/// The program's commands on a document, with the demo devices.
class DocumentCommandProgram : public ProgramFixture {
protected:
    /// Runs the program on the document "tour.json".
    [[nodiscard]] Answer run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--document", file});
        return runOnDemoDocument(std::move(arguments));
    }

    /// Runs the program on the demo's own document.
    [[nodiscard]] static Answer runOnDemoDocument(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--midi", "demo"});
        ChildProcess program = start(std::move(arguments));
        Answer answer;
        answer.status = program.wait(kDeadline).value_or(-1);
        answer.output = program.standardOutput();
        answer.error = program.standardError();
        return answer;
    }

    /// The first set's connections on disk, one on each line: "1001 to 2003: 0, 3 (3)" has an "As Is" assignment and
    /// the active one on channel 3.
    [[nodiscard]] std::vector<std::string> connections() const {
        std::vector<std::string> lines;
        const nlohmann::json written = document();
        for (const nlohmann::json& route : written.at("routeSets").at(0).at("routes")) {
            std::string line = route.at("sourceID").dump() + " to " + route.at("destinationID").dump() + ":";
            for (const nlohmann::json& variant : route.at("variants")) {
                line += " " + channel(variant.at("channelMode"));
            }
            lines.push_back(line + " (" + channel(route.at("channelMode")) + ")");
        }
        return lines;
    }

    [[nodiscard]] nlohmann::json document() const { return nlohmann::json::parse(readFile(file)); }

    const std::string file = (data / "tour.json").string();

private:
    [[nodiscard]] static std::string channel(const nlohmann::json& mode) {
        return mode.contains("force") ? mode.at("force").at("_0").dump() : "as is";
    }
};

TEST_F(DocumentCommandProgram, ConnectsByNameAndByIDOnce) {
    writeFile(file, R"({"selectedSetID":"00000000-0000-4000-8000-000000000001","routeSets":[
        {"id":"00000000-0000-4000-8000-000000000001","name":"Tour","routes":[]}]})");
    EXPECT_EQ(run({"--connect", "Demo Keyboard", "Demo Recorder"}),
              (Answer{0, "Set \"Tour\" saved (1 connections)\n", ""}));
    EXPECT_EQ(run({"--connect", "1002", "+2003"}), (Answer{0, "Set \"Tour\" saved (2 connections)\n", ""}));
    EXPECT_EQ(run({"--connect", "1001", "Demo Recorder"}), (Answer{1, "", "corvel: Connection already exists\n"}));
    EXPECT_THAT(connections(), ElementsAre("1001 to 2003: as is (as is)", "1002 to 2003: as is (as is)"));
    EXPECT_EQ(document().at("routeSets").at(0).at("routes").at(1).at("sourceName"), "Demo Pads");
    EXPECT_THAT(entries(data.path()), ElementsAre("tour.json"));
}

TEST_F(DocumentCommandProgram, ConnectsOnAChannelAndThenSelectsIt) {
    writeFile(file, kTwins);
    const std::vector<std::string> onChannelThree{"--connect", "Demo Keyboard", "Demo Drums", "--channel", "3"};
    EXPECT_EQ(run(onChannelThree), (Answer{0, "Added output channel Ch 3\n", ""}));
    EXPECT_EQ(connections().back(), "1001 to 2002: as is 3 (3)");
    EXPECT_EQ(run({"--connect", "Demo Keyboard", "Demo Drums", "--channel", "16"}),
              (Answer{0, "Added output channel Ch 16\n", ""}));
    EXPECT_EQ(connections().back(), "1001 to 2002: as is 3 16 (16)");
    EXPECT_EQ(run(onChannelThree), (Answer{0, "Selected output channel Ch 3\n", ""}));
    EXPECT_EQ(connections().back(), "1001 to 2002: as is 3 16 (3)");
    EXPECT_THAT(connections(), ::testing::SizeIs(3));
}

TEST_F(DocumentCommandProgram, AnswersAnUnknownEndpointWithTheCandidates) {
    writeFile(file, kTwins);
    EXPECT_EQ(run({"--connect", "Organ", "Demo Synth"}),
              (Answer{1, "",
                      "corvel: There is no input \"Organ\"; the inputs are:\n"
                      "  Demo Keyboard  (ID 1001)\n"
                      "  Demo Pads  (ID 1002)\n"
                      "  Demo Sequencer  (ID 1003)\n"}));
    EXPECT_EQ(run({"--connect", "Demo Pads", "two\nlines", "--channel", "1"}),
              (Answer{1, "",
                      "corvel: There is no output \"two\\nlines\"; the outputs are:\n"
                      "  Demo Drums  (ID 2002)\n"
                      "  Demo Recorder  (ID 2003)\n"
                      "  Demo Synth  (ID 2001)\n"}));
    EXPECT_EQ(run({"--connect", "-2065501447", "2001"}),
              (Answer{1, "", "corvel: Input endpoint is no longer available\n"}));
    EXPECT_EQ(run({"--connect", "1001", "-2065501447"}),
              (Answer{1, "", "corvel: Output endpoint is no longer available\n"}));
}

TEST_F(DocumentCommandProgram, DisconnectsAndAsksWhichOfSeveral) {
    writeFile(file, kTwins);
    EXPECT_EQ(run({"--disconnect", "Old", "Demo Synth"}),
              (Answer{1, "",
                      "corvel: Several connections go from \"Old\" to \"Demo Synth\"; give the IDs of one:\n"
                      "  Old to Demo Synth  (ID -7 to 2001)\n"
                      "  Old to Demo Synth  (ID 8 to 2001)\n"}));
    EXPECT_EQ(run({"--disconnect", "-7", "2001"}), (Answer{0, "Set \"Twin\" saved (1 connections)\n", ""}));
    EXPECT_THAT(connections(), ElementsAre("8 to 2001: as is (as is)"));
    EXPECT_EQ(run({"--disconnect", "-7", "Demo Synth"}),
              (Answer{1, "",
                      "corvel: There is no connection from \"-7\" to \"Demo Synth\"; the connections of \"Twin\" are:\n"
                      "  Old to Demo Synth  (ID 8 to 2001)\n"}));
    EXPECT_EQ(run({"--disconnect", "Old", "2001"}), (Answer{0, "Set \"Twin\" saved (0 connections)\n", ""}));
    EXPECT_THAT(connections(), IsEmpty());
}

TEST_F(DocumentCommandProgram, ListsAndSelectsSets) {
    writeFile(file, kTwins);
    EXPECT_EQ(run({"--sets"}),
              (Answer{0, "* Twin (2 connections)\n  Twin (0 connections)\n  Solo (0 connections)\n", ""}));
    EXPECT_EQ(readFile(file), kTwins);
    EXPECT_EQ(run({"--set", "Solo"}), (Answer{0, "Loaded set \"Solo\"\n", ""}));
    EXPECT_EQ(document().at("selectedSetID"), "00000000-0000-4000-8000-000000000003");
    EXPECT_EQ(run({"--set", "Solo"}), (Answer{0, "Set \"Solo\" is the current one already\n", ""}));
    EXPECT_EQ(run({"--set", "Twin"}), (Answer{1, "",
                                              "corvel: Several sets are called \"Twin\"; give the ID of one:\n"
                                              "  Twin  (ID 00000000-0000-4000-8000-000000000001)\n"
                                              "  Twin  (ID 00000000-0000-4000-8000-000000000002)\n"}));
    EXPECT_EQ(run({"--set", "solo"}), (Answer{1, "",
                                              "corvel: There is no set \"solo\"; the sets are:\n"
                                              "  Twin  (ID 00000000-0000-4000-8000-000000000001)\n"
                                              "  Twin  (ID 00000000-0000-4000-8000-000000000002)\n"
                                              "  Solo  (ID 00000000-0000-4000-8000-000000000003)\n"}));
    EXPECT_EQ(run({"--set", "00000000-0000-4000-8000-000000000002"}), (Answer{0, "Loaded set \"Twin\"\n", ""}));
    EXPECT_EQ(run({"--sets"}),
              (Answer{0, "  Twin (2 connections)\n* Twin (0 connections)\n  Solo (0 connections)\n", ""}));
}

TEST_F(DocumentCommandProgram, WorksOnTheDemosOwnDocumentAndMakesItWhereThereIsNone) {
    EXPECT_EQ(runOnDemoDocument({"--sets"}), (Answer{0, "* Demo (3 connections)\n", ""}));
    EXPECT_THAT(entries(data / "Corvel"), ElementsAre("demo-routes.json"));
    EXPECT_EQ(runOnDemoDocument({"--connect", "Demo Keyboard", "Demo Recorder"}),
              (Answer{0, "Set \"Demo\" saved (4 connections)\n", ""}));
    EXPECT_EQ(runOnDemoDocument({"--sets"}).output, "* Demo (4 connections)\n");
}

TEST_F(DocumentCommandProgram, FailsWithoutChangingAnythingWhereTheDocumentCannotBeSaved) {
    writeFile(data / "in the way", "");
    ChildProcess program =
        start({"--connect", "1001", "2001", "--midi", "demo", "--document", (data / "in the way/tour.json").string()});
    EXPECT_EQ(program.wait(kDeadline), 1);
    EXPECT_EQ(program.standardOutput(), "");
    EXPECT_THAT(program.standardError(), ::testing::HasSubstr("\ncorvel: Could not save sets: "));
    EXPECT_EQ(readFile(data / "in the way"), "");
}

TEST_F(DocumentCommandProgram, LeavesItsWorkForTheNextStartToRoute) {
    writeFile(file, kTwins);
    ASSERT_EQ(run({"--connect", "Demo Keyboard", "Demo Recorder", "--channel", "5"}).status, 0);
    ChildProcess program = start({"--headless", "--monitor", "--midi", "demo", "--document", file});
    EXPECT_TRUE(program.waitForOutput("\tDemo Keyboard\tDemo Recorder\tNote\t94 4C 5C\n", kDeadline))
        << program.standardError();
}

}  // namespace
}  // namespace corvel::tests
