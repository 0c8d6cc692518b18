#include "tests/program/ProgramFixture.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kFirstNote = "\tDemo Keyboard\tDemo Synth\tNote\t90 4C 5C\n";

/// A named pipe and its reading end.
class Fifo {
public:
    explicit Fifo(const std::filesystem::path& path) {
        if (::mkfifo(path.c_str(), 0600) != 0) {
            ADD_FAILURE() << "no pipe";
        }
        descriptor_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    Fifo(const Fifo&) = delete;
    Fifo& operator=(const Fifo&) = delete;
    ~Fifo() { close(); }

    [[nodiscard]] int descriptor() const { return descriptor_; }
    /// The number of bytes waiting to be read.
    [[nodiscard]] int size() const {
        int size = 0;
        ::ioctl(descriptor_, FIONREAD, &size);
        return size;
    }
    void close() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
            descriptor_ = -1;
        }
    }

private:
    int descriptor_ = -1;
};

class HeadlessProgram : public ProgramFixture {};

TEST_F(HeadlessProgram, RoutesTheDemoAndWritesWhatItRoutes) {
    ChildProcess program = start({"--headless", "--monitor", "--midi", "demo"});
    ASSERT_TRUE(program.waitForOutput(kFirstNote, kDeadline)) << program.standardError();
    EXPECT_TRUE(program.waitForOutput("\tDemo Pads\tDemo Drums\tNote\t99 24 70\n", kDeadline));
    EXPECT_TRUE(program.waitForOutput("\tDemo Sequencer\tDemo Recorder\tStart\tFA\n", kDeadline));
    EXPECT_TRUE(program.waitForOutput("\tDemo Keyboard\tDemo Synth\tNote Off\t80 4C 40\n", kDeadline));
    EXPECT_TRUE(program.waitForError("Endpoint reload (initial load): 3 sources, 3 destinations, 3 source connections",
                                     kDeadline));
}

TEST_F(HeadlessProgram, EndsWithSuccessOnEachSignalThatAsksForIt) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ChildProcess program = start({"--headless", "--monitor", "--midi", "demo"});
        ASSERT_TRUE(program.waitForOutput(kFirstNote, kDeadline));
        program.signal(signal);
        EXPECT_EQ(program.wait(kDeadline), 0) << signal;
    }
}

TEST_F(HeadlessProgram, WritesNoMessagesWithoutTheMonitor) {
    ChildProcess program = start({"--headless", "--midi", "demo"});
    ASSERT_TRUE(program.waitForError("Device tree: 6 devices", kDeadline));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(kDeadline), 0);
    EXPECT_EQ(program.standardOutput(), "");
}

TEST_F(HeadlessProgram, MakesThreeConnectionsAtTheFirstStartOfTheDemoOnly) {
    {
        ChildProcess program = start({"--headless", "--midi", "demo"});
        ASSERT_TRUE(program.waitForError("Device tree", kDeadline));
    }
    EXPECT_THAT(entries(data / "Corvel"), ElementsAre("demo-routes.json"));
    const std::string written = readFile(data / "Corvel/demo-routes.json");
    const nlohmann::json document = nlohmann::json::parse(written);
    ASSERT_EQ(document.at("routeSets").size(), 1U);
    const nlohmann::json& routes = document.at("routeSets").at(0).at("routes");
    ASSERT_EQ(routes.size(), 3U);
    EXPECT_EQ(routes.at(0).at("sourceName"), "Demo Keyboard");
    EXPECT_EQ(routes.at(1).at("destinationName"), "Demo Drums");
    EXPECT_EQ(routes.at(2).at("destinationID"), 2003);

    {
        ChildProcess program = start({"--headless", "--midi", "demo"});
        ASSERT_TRUE(program.waitForError("Device tree", kDeadline));
    }
    EXPECT_EQ(readFile(data / "Corvel/demo-routes.json"), written);
}

TEST_F(HeadlessProgram, RoutesTheDocumentThatItIsGivenByARelativeName) {
    ConnectionsFile file;
    file.add({.sourceID = 1001, .destinationID = 2003, .forcedChannel = 5});
    file.write(data / "tour.json");
    ChildProcess program({"env", "-C", data.path().string(), CORVEL_PROGRAM, "--headless", "--monitor", "--midi",
                          "demo", "--document", "tour.json"});
    EXPECT_TRUE(program.waitForOutput("\tDemo Keyboard\tDemo Recorder\tNote\t94 4C 5C\n", kDeadline))
        << program.standardError();
    EXPECT_THAT(entries(data.path()), ElementsAre("tour.json"));
}

TEST_F(HeadlessProgram, SavesTheConnectionsThatItFindsAgainUnderNewIDs) {
    writeFile(data / "tour.json", R"({"selectedSetID":"00000000-0000-4000-8000-000000000001","routeSets":[
        {"id":"00000000-0000-4000-8000-000000000001","name":"Tour","routes":[
        {"id":"00000000-0000-4000-8000-000000000011","sourceID":-5,"sourceName":"Demo Keyboard",
         "sourceManufacturer":"Corvel Demo","destinationID":2003,"channelMode":{"asIs":{}},"isEnabled":true}]}]})");
    ChildProcess program =
        start({"--headless", "--monitor", "--midi", "demo", "--document", (data / "tour.json").string()});
    EXPECT_TRUE(program.waitForOutput("\tDemo Keyboard\tDemo Recorder\tNote\t90 4C 5C\n", kDeadline));
    const nlohmann::json document = nlohmann::json::parse(readFile(data / "tour.json"));
    const nlohmann::json& route = document.at("routeSets").at(0).at("routes").at(0);
    EXPECT_EQ(route.at("sourceID"), 1001);
    EXPECT_EQ(route.at("destinationName"), "Demo Recorder");
}

TEST_F(HeadlessProgram, SaysThatItCouldNotSaveAndRoutesOn) {
    ConnectionsFile file;
    file.add({.sourceID = 1001, .destinationID = 2003});
    file.write(data / "tour.json");
    const std::string before = readFile(data / "tour.json");
    // The devices' labels are to be stored, but no file may be written.
    ChildProcess program({"sh", "-c",
                          R"(trap '' XFSZ; ulimit -f 0; exec "$0" --headless --monitor --midi demo --document "$1")",
                          CORVEL_PROGRAM, (data / "tour.json").string()});
    EXPECT_TRUE(program.waitForOutput("\tDemo Keyboard\tDemo Recorder\tNote\t90 4C 5C\n", kDeadline));
    EXPECT_TRUE(program.waitForError(" Could not save sets: " + (data / "tour.json").string() + ": File too large\n",
                                     kDeadline));
    EXPECT_EQ(readFile(data / "tour.json"), before);
    EXPECT_THAT(entries(data.path()), ElementsAre("tour.json"));
}

TEST_F(HeadlessProgram, SaysThatADocumentIsMissing) {
    const std::string file = (data / "none.json").string();
    ChildProcess program = start({"--headless", "--midi", "demo", "--document", file});
    EXPECT_TRUE(
        program.waitForError("corvel: " + file + ": No such file or directory; an empty set is used\n", kDeadline));
    EXPECT_TRUE(program.waitForError("Device tree", kDeadline));
    EXPECT_THAT(entries(data.path()), IsEmpty());
}

TEST_F(HeadlessProgram, SaysThatADocumentCannotBeReadAndLeavesIt) {
    writeFile(data / "bad.json", "{oops");
    const std::string file = (data / "bad.json").string();
    ChildProcess program = start({"--headless", "--midi", "demo", "--document", file});
    EXPECT_TRUE(
        program.waitForError("corvel: " + file + ": line 1: not valid JSON; an empty set is used\n", kDeadline));
    EXPECT_TRUE(program.waitForError("Device tree", kDeadline));
    EXPECT_EQ(readFile(data / "bad.json"), "{oops");
}

TEST_F(HeadlessProgram, RoutesOnWhenStandardOutputIsClosedFromTheStart) {
    ChildProcess program({"sh", "-c", "exec \"$0\" --headless --monitor --midi demo >&-", CORVEL_PROGRAM});
    ASSERT_TRUE(program.waitForError("Device tree", kDeadline));
    // The first messages follow within a tenth of a second; if a write were fatal, it would have ended the program by
    // then.
    EXPECT_EQ(program.wait(std::chrono::milliseconds(400)), std::nullopt);
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(kDeadline), 0);
}

TEST_F(HeadlessProgram, RoutesOnWhenTheReaderOfItsOutputGoes) {
    Fifo fifo(data / "out");
    ChildProcess program(
        {"sh", "-c", R"(exec "$0" --headless --monitor --midi demo >"$1")", CORVEL_PROGRAM, (data / "out").string()});
    ASSERT_TRUE(waitUntil(program, [&fifo] { return fifo.size() > 0; }));
    fifo.close();
    // A clock is written every 21 ms.
    EXPECT_EQ(program.wait(std::chrono::milliseconds(200)), std::nullopt);
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(kDeadline), 0);
}

TEST_F(HeadlessProgram, EndsOnASignalWhileTheReaderOfItsOutputStandsStill) {
    Fifo fifo(data / "out");
    ASSERT_EQ(::fcntl(fifo.descriptor(), F_SETPIPE_SZ, 4096), 4096);
    ChildProcess program(
        {"sh", "-c", R"(exec "$0" --headless --monitor --midi demo >"$1")", CORVEL_PROGRAM, (data / "out").string()});
    ASSERT_TRUE(waitUntil(program, [&fifo] { return fifo.size() > 0; }));
    // The pipe has one place, which the first line has taken. By the end of this time ten more lines are waiting.
    EXPECT_EQ(program.wait(std::chrono::milliseconds(200)), std::nullopt);
    EXPECT_LT(fifo.size(), 100);
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(kDeadline), 0);
}

TEST_F(HeadlessProgram, SaysThatTheDemoStandsInWhereThereIsNoSequencer) {
    if (hasSequencer()) {
        GTEST_SKIP() << "this machine has a sequencer";
    }
    ChildProcess program = start({"--headless"});
    EXPECT_TRUE(
        program.waitForError("corvel: the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory); "
                             "using the demo devices\n",
                             kDeadline));
    EXPECT_TRUE(program.waitForError(
        " the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory); using the demo devices\n",
        kDeadline));
    EXPECT_TRUE(program.waitForError("Device tree: 6 devices", kDeadline));
}

TEST_F(HeadlessProgram, FailsWhereASequencerIsAskedForAndThereIsNone) {
    if (hasSequencer()) {
        GTEST_SKIP() << "this machine has a sequencer";
    }
    ChildProcess program = start({"--headless", "--midi", "alsa"});
    EXPECT_EQ(program.wait(kDeadline), 1);
    EXPECT_EQ(program.standardError(),
              "corvel: the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory)\n");
}

}  // namespace
}  // namespace corvel::tests
