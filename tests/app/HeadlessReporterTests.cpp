#include "app/HeadlessReporter.hpp"

#include "app/InMemorySettings.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class HeadlessReporterTest : public ::testing::Test {
protected:
    HeadlessReporterTest() {
        ::tzset();
        host->addSource(11, {.displayName = "Keys", .uniqueID = 1});
        host->addDestination(21, {.displayName = "Synth", .uniqueID = 2});
    }

    /// A reporter on a model that starts with these connections.
    void makeReporter(std::vector<MIDIRoute> routes = {},
                      HeadlessReporter::Style style = HeadlessReporter::Style::timed) {
        store->saveDocument(MIDIRouteSetDocument::singleSet(std::move(routes), "Default"));
        model = MIDIRouterViewModel::create(engine, store, std::make_shared<InMemorySettings>(), clock, mainQueue);
        reporter = std::make_unique<HeadlessReporter>(
            model, clock, style, [this](const std::string& line) { diagnostics.push_back(line); },
            [this](const std::string& line) { activity.push_back(line); });
    }

    void changeEndpoints() { model->midiRouterEngineDidChangeEndpoints(*engine); }

    void log(const std::string& message, Instant instant = ManualClock::kStart) {
        model->midiRouterEngineDidLog(*engine, {makeID(1), instant, message});
    }

    /// Makes every save fail: a folder has the document's path.
    void breakStore() {
        std::filesystem::remove(store->fileURL());
        std::filesystem::create_directories(store->fileURL() / "in the way");
    }

    void mendStore() { std::filesystem::remove_all(store->fileURL()); }

    void route(const UUID& routeID, const MIDIBytes& bytes) {
        model->midiRouterEngineDidRoute(*engine, {makeID(900), routeID, ManualClock::kStart + 1234ms, bytes});
    }

    const ScopedEnvironment zone{"TZ", "UTC0"};
    const std::shared_ptr<FakeMIDIHost> host = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    const std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>(ManualQueue::Current::onMakerThread);
    const TemporaryFolder folder;
    const std::shared_ptr<RouteStore> store = std::make_shared<RouteStore>(folder / "routes.json");
    const std::shared_ptr<CoreMIDIRouterEngine> engine =
        CoreMIDIRouterEngine::create(host, std::make_shared<ManualQueue>(), mainQueue, clock);
    std::shared_ptr<MIDIRouterViewModel> model;
    std::unique_ptr<HeadlessReporter> reporter;
    std::vector<std::string> diagnostics;
    std::vector<std::string> activity;
};

TEST_F(HeadlessReporterTest, WritesADiagnosticWithItsTime) {
    makeReporter();
    log("Ready", ManualClock::kStart + 3723004ms);
    EXPECT_THAT(diagnostics, ElementsAre("01:02:03.004 Ready\n"));
    EXPECT_THAT(activity, IsEmpty());
}

TEST_F(HeadlessReporterTest, IndentsFurtherLinesOfADiagnostic) {
    makeReporter();
    log("Tree:\n- a\tb\n  c");
    EXPECT_THAT(diagnostics, ElementsAre("00:00:00.000 Tree:\n  - a\\tb\n    c\n"));
}

TEST_F(HeadlessReporterTest, WritesAFailureWithTheTimeAtWhichItArrives) {
    makeReporter();
    clock->advance(5ms);
    model->midiRouterEngineDidFail(*engine, "MIDI message could not be sent (-19)");
    EXPECT_THAT(diagnostics, ElementsAre("00:00:00.005 MIDI message could not be sent (-19)\n"));
}

TEST_F(HeadlessReporterTest, WritesPrioritiesInsteadOfTimesForAJournal) {
    makeReporter({}, HeadlessReporter::Style::prioritized);
    log("Tree:\n- a\n  b");
    model->midiRouterEngineDidFail(*engine, "MIDI message could not be sent (-19)");
    EXPECT_THAT(diagnostics,
                ElementsAre("<6>Tree:\n<6>  - a\n<6>    b\n", "<4>MIDI message could not be sent (-19)\n"));
}

TEST_F(HeadlessReporterTest, WritesARoutedMessageWithTheNamesOfTheEndpointsThatAreThere) {
    makeReporter({makeRoute({.id = makeID(5), .sourceName = "Old keys", .destinationName = "Old synth"})});
    changeEndpoints();
    route(makeID(5), {0x90, 0x3C, 0x0A});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tKeys\tSynth\tNote\t90 3C 0A\n"));
}

TEST_F(HeadlessReporterTest, WritesStoredLabelsForEndpointsThatAreAwayAndIDsWithoutLabels) {
    makeReporter({makeRoute({.id = makeID(5), .sourceID = 77, .destinationID = -78, .sourceName = "Old keys"})});
    changeEndpoints();
    route(makeID(5), {0xF8});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tOld keys\tID -78\tClock\tF8\n"));
}

TEST_F(HeadlessReporterTest, FollowsEndpointsThatAreRenamed) {
    makeReporter({makeRoute({.id = makeID(5)})});
    changeEndpoints();
    host->properties[11].displayName = "Piano";
    changeEndpoints();
    route(makeID(5), {0xFE});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tPiano\tSynth\tActive Sense\tFE\n"));
}

TEST_F(HeadlessReporterTest, KeepsALineALineWhateverADeviceCallsItself) {
    host->properties[11].displayName = "Tab\there\nand \xFF there";
    makeReporter({makeRoute({.id = makeID(5)})});
    changeEndpoints();
    route(makeID(5), {0xFE});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tTab\\there\\nand \uFFFD there\tSynth\tActive Sense\tFE\n"));
}

TEST_F(HeadlessReporterTest, ShowsNamesThatHideThemselves) {
    host->properties[11].displayName = " ";
    host->properties[21].displayName = "Syn\u200Bth";
    makeReporter({makeRoute({.id = makeID(5)})});
    changeEndpoints();
    route(makeID(5), {0xFE});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\t(no name)\tSyn\\u200Bth\tActive Sense\tFE\n"));
}

TEST_F(HeadlessReporterTest, WritesAllBytesOfALongMessage) {
    makeReporter({makeRoute({.id = makeID(5)})});
    std::vector<std::uint8_t> bytes(60'000, 0x7F);
    bytes.front() = 0xF0;
    bytes.back() = 0xF7;
    route(makeID(5), MIDIBytes(bytes));
    ASSERT_EQ(activity.size(), 1U);
    const std::string& line = activity.front();
    const std::string start = "00:00:01.234\tID 1\tID 2\tSysEx\tF0 7F 7F";
    EXPECT_EQ(line.substr(0, start.size()), start);
    // Two digits and a blank for each byte; the line feed replaces the last blank.
    EXPECT_EQ(line.size() - line.find("F0"), 180'000U);
    EXPECT_TRUE(line.ends_with("7F F7\n"));
}

TEST_F(HeadlessReporterTest, WritesMoreMessagesThanTheModelKeeps) {
    makeReporter({makeRoute({.id = makeID(5)})});
    for (int count = 0; count < 20'000; ++count) {
        route(makeID(5), {0xF8});
    }
    EXPECT_THAT(activity, SizeIs(20'000));
    EXPECT_THAT(model->activityEvents(), SizeIs(200));
}

TEST_F(HeadlessReporterTest, WritesNoRoutedMessagesWithoutAPlaceForThem) {
    makeReporter({makeRoute({.id = makeID(5)})});
    reporter = std::make_unique<HeadlessReporter>(
        model, clock, HeadlessReporter::Style::timed, [this](const std::string& line) { diagnostics.push_back(line); },
        nullptr);
    route(makeID(5), {0xFE});
    EXPECT_THAT(activity, IsEmpty());
    EXPECT_THAT(diagnostics, IsEmpty());
}

TEST_F(HeadlessReporterTest, NamesAConnectionThatTheModelMakesLater) {
    makeReporter();
    changeEndpoints();
    route(makeID(9), {0xFE});
    model->connect(1, 2);
    route(model->routes().front().id, {0xFE});
    EXPECT_THAT(activity,
                ElementsAre("00:00:01.234\t\t\tActive Sense\tFE\n", "00:00:01.234\tKeys\tSynth\tActive Sense\tFE\n"));
}

TEST_F(HeadlessReporterTest, SaysOnceThatTheModelCouldNotSaveAndAgainWhenItFailsAnew) {
    makeReporter({makeRoute({.id = makeID(5)})});
    breakStore();
    const std::string line = "00:00:00.000 Could not save sets: " + store->fileURL().string() + ": Is a directory\n";
    // The labels of endpoints that are present are stored with the connection.
    changeEndpoints();
    EXPECT_EQ(model->statusMessage(), "1 inputs, 1 outputs");
    EXPECT_THAT(diagnostics, ElementsAre(line));
    changeEndpoints();
    EXPECT_THAT(diagnostics, ElementsAre(line));

    mendStore();
    host->properties[11].displayName = "Piano";
    changeEndpoints();
    EXPECT_THAT(diagnostics, ElementsAre(line));

    breakStore();
    host->properties[11].displayName = "Organ";
    changeEndpoints();
    EXPECT_THAT(diagnostics, ElementsAre(line, line));
}

TEST_F(HeadlessReporterTest, SaysThatTheModelCouldNotSaveAsItStarted) {
    makeReporter({makeRoute({.id = makeID(5)})});
    breakStore();
    model->startIfNeeded();
    ASSERT_EQ(diagnostics.size(), 1U);
    EXPECT_THAT(diagnostics.front(), StartsWith("00:00:00.000 Could not save sets: "));
}

TEST_F(HeadlessReporterTest, SaysThatACommandCouldNotSave) {
    makeReporter();
    changeEndpoints();
    breakStore();
    model->connect(1, 2);
    EXPECT_THAT(diagnostics, ElementsAre(StartsWith("00:00:00.000 Could not save sets: ")));
}

}  // namespace
}  // namespace corvel::tests
