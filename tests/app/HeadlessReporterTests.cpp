#include "app/HeadlessReporter.hpp"

#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/ScopedEnvironment.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HeadlessReporterTest : public ::testing::Test {
protected:
    HeadlessReporterTest() {
        ::tzset();
        host->addSource(11, {.displayName = "Keys", .uniqueID = 1});
        host->addDestination(21, {.displayName = "Synth", .uniqueID = 2});
    }

    HeadlessReporter makeReporter(const std::vector<MIDIRoute>& routes) {
        return {routes, clock, [this](const std::string& line) { diagnostics.push_back(line); },
                [this](const std::string& line) { activity.push_back(line); }};
    }

    void route(HeadlessReporter& reporter, const UUID& routeID, const MIDIBytes& bytes) const {
        reporter.midiRouterEngineDidRoute(*engine, {makeID(900), routeID, ManualClock::kStart + 1234ms, bytes});
    }

    const ScopedEnvironment zone{"TZ", "UTC0"};
    const std::shared_ptr<FakeMIDIHost> host = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    const std::shared_ptr<CoreMIDIRouterEngine> engine =
        CoreMIDIRouterEngine::create(host, std::make_shared<ManualQueue>(), std::make_shared<ManualQueue>(), clock);
    std::vector<std::string> diagnostics;
    std::vector<std::string> activity;
};

TEST_F(HeadlessReporterTest, WritesADiagnosticWithItsTime) {
    HeadlessReporter reporter = makeReporter({});
    reporter.midiRouterEngineDidLog(*engine, {makeID(1), ManualClock::kStart + 3723004ms, "Ready"});
    EXPECT_THAT(diagnostics, ElementsAre("01:02:03.004 Ready\n"));
    EXPECT_THAT(activity, IsEmpty());
}

TEST_F(HeadlessReporterTest, IndentsFurtherLinesOfADiagnostic) {
    HeadlessReporter reporter = makeReporter({});
    reporter.midiRouterEngineDidLog(*engine, {makeID(1), ManualClock::kStart, "Tree:\n- a\tb\n  c"});
    EXPECT_THAT(diagnostics, ElementsAre("00:00:00.000 Tree:\n  - a\\tb\n    c\n"));
}

TEST_F(HeadlessReporterTest, WritesAFailureWithTheTimeAtWhichItArrives) {
    HeadlessReporter reporter = makeReporter({});
    clock->advance(5ms);
    reporter.midiRouterEngineDidFail(*engine, "MIDI message could not be sent (-19)");
    EXPECT_THAT(diagnostics, ElementsAre("00:00:00.005 MIDI message could not be sent (-19)\n"));
}

TEST_F(HeadlessReporterTest, WritesARoutedMessageWithTheNamesOfTheEndpointsThatAreThere) {
    HeadlessReporter reporter =
        makeReporter({makeRoute({.id = makeID(5), .sourceName = "Old keys", .destinationName = "Old synth"})});
    reporter.midiRouterEngineDidChangeEndpoints(*engine);
    route(reporter, makeID(5), {0x90, 0x3C, 0x0A});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tKeys\tSynth\tNote\t90 3C 0A\n"));
}

TEST_F(HeadlessReporterTest, WritesStoredLabelsForEndpointsThatAreAwayAndIDsWithoutLabels) {
    HeadlessReporter reporter =
        makeReporter({makeRoute({.id = makeID(5), .sourceID = 77, .destinationID = -78, .sourceName = "Old keys"})});
    reporter.midiRouterEngineDidChangeEndpoints(*engine);
    route(reporter, makeID(5), {0xF8});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tOld keys\tID -78\tClock\tF8\n"));
}

TEST_F(HeadlessReporterTest, FollowsEndpointsThatAreRenamed) {
    HeadlessReporter reporter = makeReporter({makeRoute({.id = makeID(5)})});
    reporter.midiRouterEngineDidChangeEndpoints(*engine);
    host->properties[11].displayName = "Piano";
    reporter.midiRouterEngineDidChangeEndpoints(*engine);
    route(reporter, makeID(5), {0xFE});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tPiano\tSynth\tActive Sense\tFE\n"));
}

TEST_F(HeadlessReporterTest, KeepsALineALineWhateverADeviceCallsItself) {
    host->properties[11].displayName = "Tab\there\nand \xFF there";
    HeadlessReporter reporter = makeReporter({makeRoute({.id = makeID(5)})});
    reporter.midiRouterEngineDidChangeEndpoints(*engine);
    route(reporter, makeID(5), {0xFE});
    EXPECT_THAT(activity, ElementsAre("00:00:01.234\tTab\\there\\nand \uFFFD there\tSynth\tActive Sense\tFE\n"));
}

TEST_F(HeadlessReporterTest, WritesAllBytesOfALongMessage) {
    HeadlessReporter reporter = makeReporter({makeRoute({.id = makeID(5)})});
    MIDIBytes bytes(60'000, 0x7F);
    bytes.front() = 0xF0;
    bytes.back() = 0xF7;
    route(reporter, makeID(5), bytes);
    ASSERT_EQ(activity.size(), 1U);
    const std::string& line = activity.front();
    const std::string start = "00:00:01.234\tID 1\tID 2\tSysEx\tF0 7F 7F";
    EXPECT_EQ(line.substr(0, start.size()), start);
    // Two digits and a blank for each byte, the last blank being the line feed.
    EXPECT_EQ(line.size() - line.find("F0"), 180'000U);
    EXPECT_TRUE(line.ends_with("7F F7\n"));
}

TEST_F(HeadlessReporterTest, AsksForNoEndpointsWhenItDoesNotWriteActivity) {
    HeadlessReporter reporter({makeRoute({.id = makeID(5)})}, clock, [](const std::string&) {}, {});
    host->recording = FakeMIDIHost::Recording::everything;
    host->calls.clear();
    reporter.midiRouterEngineDidChangeEndpoints(*engine);
    route(reporter, makeID(5), {0xFE});
    EXPECT_THAT(host->calls, IsEmpty());
}

}  // namespace
}  // namespace corvel::tests
