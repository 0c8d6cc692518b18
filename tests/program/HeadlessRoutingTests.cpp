// The program without a window, started on a connections file as a performer starts it, between other programs on the
// real sequencer: what they play has to arrive as the connections say, all of it, in order, and nowhere else.

#include "tests/support/ChildProcess.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/RawMIDIDevice.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/SequencerPeer.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

const Bytes kMark{0xFB};

/// Maximum distance of the players ahead of the receivers, in the sequencer's cells. The sequencer keeps 2,000 cells
/// for the router, which may read late on a busy machine. Beyond them the result depends on speed, which the benchmark
/// measures.
constexpr std::size_t kCellsAhead = 1'500;

/// A copy of the program, without its window, in this folder that all users can run. The checkout may be in a home
/// folder that is closed to others.
std::string readableProgram(const TemporaryFolder& folder) {
    std::filesystem::permissions(folder.path(), static_cast<std::filesystem::perms>(0755));
    std::filesystem::copy_file(CORVEL_PROGRAM, folder / "corvel");
    std::filesystem::copy_file(std::string(CORVEL_PROGRAM) + "-headless", folder / "corvel-headless");
    return folder / "corvel";
}

/// A keyboard with three connections ("As Is", on channel 10, paused) and a program that is not connected.
class HeadlessRouting : public testing::Test {
protected:
    HeadlessRouting()
        : keyboard_("Stage Keyboard"),
          synth_("Stage Synth"),
          drums_("Stage Drums"),
          silent_("Stage Silent"),
          bystander_("Bystander"),
          keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        for (SequencerPeer* peer : {&synth_, &drums_, &silent_, &bystander_}) {
            peer->addPort("In", SequencerPeer::kDestination);
        }
        for (const std::int32_t source : {endpointID("source", "Stage Keyboard", 0, "Out"),
                                          endpointID("source", "card:VirMIDI", 0, "VirMIDI 0-0")}) {
            file_.add({.sourceID = source, .destinationID = destinationID("Stage Synth")});
            file_.add({.sourceID = source, .destinationID = destinationID("Stage Drums"), .forcedChannel = 10});
            file_.add({.sourceID = source, .destinationID = destinationID("Stage Silent"), .isEnabled = false});
        }
    }

    static std::int32_t destinationID(const std::string& client) { return endpointID("destination", client, 0, "In"); }

    /// Starts the program on the connections and waits until it has connected the sources.
    void start(const std::vector<std::string>& launcher = {}, const std::vector<std::string>& options = {}) {
        const std::filesystem::path document = folder_ / "routes.json";
        file_.write(document);
        std::vector<std::string> arguments = launcher;
        arguments.insert(arguments.end(), {"env", "XDG_CONFIG_HOME=" + folder_.path().string()});
        arguments.insert(arguments.end(), {program_, "--headless", "--document", document.string()});
        arguments.insert(arguments.end(), options.begin(), options.end());
        corvel_.emplace(arguments);
        ASSERT_TRUE(corvel_->waitForError("Endpoint reload (initial load)", kDeadline)) << corvel_->standardError();
        ASSERT_EQ(keyboard_.subscribers(keys_).size(), 1U);
    }

    /// The program's threads with real-time priority (round robin), by name, with that priority.
    std::vector<std::pair<std::string, int>> realtimeThreads() const {
        std::vector<std::pair<std::string, int>> threads;
        const std::filesystem::path tasks = "/proc/" + std::to_string(corvel_->pid()) + "/task";
        for (const auto& task : std::filesystem::directory_iterator(tasks)) {
            const pid_t id = std::stoi(task.path().filename());
            sched_param parameters{};
            if (::sched_getscheduler(id) == SCHED_RR && ::sched_getparam(id, &parameters) == 0) {
                std::string name;
                std::getline(std::ifstream(task.path() / "comm"), name);
                threads.emplace_back(name, parameters.sched_priority);
            }
        }
        return threads;
    }

    /// Lets programs of other users use the sequencer, the test's folder and the program.
    void openToEverybody() {
        program_ = readableProgram(folder_);
        std::filesystem::permissions("/dev/snd/seq", static_cast<std::filesystem::perms>(0666));
    }

    /// Waits until both receivers have the mark, which is played after everything else.
    void playMark() {
        keyboard_.play(keys_, kMark);
        for (SequencerPeer* peer : {&synth_, &drums_}) {
            ASSERT_TRUE(
                peer->readUntil([&] { return !peer->received().empty() && peer->received().back().bytes == kMark; }));
        }
    }

    /// Plays a large SysEx message as a device does, in pieces of 256 bytes, 11 cells each.
    void playSysEx(const Bytes& message) {
        constexpr std::size_t kPiece = 256;
        constexpr std::size_t kBytesAhead = kCellsAhead / 11 * kPiece;
        const std::span<const std::uint8_t> all(message);
        for (std::size_t begin = 0; begin < all.size(); begin += kPiece) {
            ASSERT_GE(keyboard_.emit(keys_, rawEvent(all.subspan(begin, std::min(kPiece, all.size() - begin)))), 0);
            ASSERT_TRUE(synth_.readUntilBytes(begin < kBytesAhead ? 0 : begin - kBytesAhead));
        }
    }

    /// Plays numbered notes from 0 on.
    void playNotes(unsigned count) {
        constexpr unsigned kPortion = 100;
        for (unsigned number = 0; number < count; number += kPortion) {
            keyboard_.playNumberedNotes(keys_, number, kPortion);
            ASSERT_TRUE(synth_.readUntil([&] { return synth_.received().size() + kCellsAhead >= number + kPortion; }));
        }
    }

    void expectSilenceElsewhere() {
        silent_.readWaiting();
        bystander_.readWaiting();
        EXPECT_THAT(silent_.received(), IsEmpty());
        EXPECT_THAT(bystander_.received(), IsEmpty());
    }

    void terminate(int signal = SIGTERM) {
        corvel_->signal(signal);
        EXPECT_EQ(corvel_->wait(kDeadline), 0);
    }

    static Bytes sysEx(std::size_t size) {
        Bytes message(size, 0);
        for (std::size_t index = 0; index < size; ++index) {
            message[index] = static_cast<std::uint8_t>(index * 7 % 128);
        }
        message.front() = 0xF0;
        message.back() = 0xF7;
        return message;
    }

    static Bytes followedByMark(Bytes bytes) {
        bytes.insert(bytes.end(), kMark.begin(), kMark.end());
        return bytes;
    }

    TemporaryFolder folder_;
    std::string program_ = CORVEL_PROGRAM;
    const ScopedEnvironment runtime_{"XDG_RUNTIME_DIR", folder_.path().string()};
    ConnectionsFile file_;
    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerPeer drums_;
    SequencerPeer silent_;
    SequencerPeer bystander_;
    SequencerAddress keys_;
    std::optional<ChildProcess> corvel_;
};

TEST_F(HeadlessRouting, RoutesEveryKindOfMessageAsTheConnectionsSay) {
    start();
    keyboard_.play(keys_, {0x90, 60, 100, 0xB2, 7, 99, 0xF8, 0xC3, 5, 0xE4, 0, 0x50, 0xA5, 61, 3, 0xD6, 44});
    keyboard_.emit(keys_, controlEvent(SND_SEQ_EVENT_CONTROL14, 1, 7, 1000));
    keyboard_.emit(keys_, controlEvent(SND_SEQ_EVENT_NONREGPARAM, 2, 300, 1000));
    keyboard_.play(keys_, {0xF2, 1, 2, 0xF3, 4, 0xF1, 0x35, 0xF6, 0xF0, 0x7E, 1, 0xF7, 0xFA, 0xFC, 0x8F, 60, 64});
    playMark();
    EXPECT_EQ(
        synth_.receivedBytes(),
        (Bytes{0x90, 60, 100,  0xB2, 7,    99,   0xF8, 0xC3, 5,    0xE4, 0,    0x50, 0xA5, 61,   3,    0xD6, 44,  0xB1,
               7,    7,  0xB1, 39,   104,  0xB2, 99,   2,    0xB2, 98,   44,   0xB2, 6,    7,    0xB2, 38,   104, 0xF2,
               1,    2,  0xF3, 4,    0xF1, 0x35, 0xF6, 0xF0, 0x7E, 1,    0xF7, 0xFA, 0xFC, 0x8F, 60,   64,   0xFB}));
    EXPECT_EQ(
        drums_.receivedBytes(),
        (Bytes{0x99, 60, 100,  0xB9, 7,    99,   0xF8, 0xC9, 5,    0xE9, 0,    0x50, 0xA9, 61,   3,    0xD9, 44,  0xB9,
               7,    7,  0xB9, 39,   104,  0xB9, 99,   2,    0xB9, 98,   44,   0xB9, 6,    7,    0xB9, 38,   104, 0xF2,
               1,    2,  0xF3, 4,    0xF1, 0x35, 0xF6, 0xF0, 0x7E, 1,    0xF7, 0xFA, 0xFC, 0x89, 60,   64,   0xFB}));
    expectSilenceElsewhere();
    terminate();
}

TEST_F(HeadlessRouting, PassesOnALargeSysExMessageThatComesInPieces) {
    start();
    const Bytes message = sysEx(60'000);
    playSysEx(message);
    playMark();
    EXPECT_EQ(synth_.receivedBytes(), followedByMark(message));
    EXPECT_EQ(drums_.receivedBytes(), followedByMark(message));
    expectSilenceElsewhere();
    terminate();
}

TEST_F(HeadlessRouting, PassesOnWhatIsWrittenToARawDevice) {
    start();
    const Bytes message = sysEx(60'000);
    Bytes written{0x93, 60, 100};
    written.insert(written.end(), message.begin(), message.end());
    written.insert(written.end(), {0xC3, 7, 0xF8});
    Bytes forced = written;
    forced.front() = 0x99;
    forced[forced.size() - 3] = 0xC9;
    RawMIDIDevice device(0, 0);
    constexpr std::size_t kPortion = 16'384;
    for (std::size_t begin = 0; begin < written.size(); begin += kPortion) {
        device.write(std::span<const std::uint8_t>(written).subspan(begin, std::min(kPortion, written.size() - begin)));
        ASSERT_TRUE(synth_.readUntilBytes(begin));
    }
    ASSERT_TRUE(synth_.readUntilBytes(written.size()));
    ASSERT_TRUE(drums_.readUntilBytes(written.size()));
    EXPECT_EQ(synth_.receivedBytes(), written);
    EXPECT_EQ(drums_.receivedBytes(), forced);
    expectSilenceElsewhere();
    terminate();
}

TEST_F(HeadlessRouting, LosesNothingOfABurstNextToASlowReceiver) {
    start();
    constexpr unsigned kCount = 10'000;
    drums_.setReadingPace(milliseconds(20));
    playNotes(kCount);
    ASSERT_TRUE(synth_.readUntilCount(kCount));
    ASSERT_TRUE(drums_.readUntilCount(kCount, milliseconds(60'000)));
    for (unsigned number = 0; number < kCount; ++number) {
        ASSERT_EQ(synth_.received()[number].bytes, SequencerPeer::numberedNote(number));
        ASSERT_EQ(drums_.received()[number].bytes, SequencerPeer::numberedNote(number, 10));
    }
    EXPECT_EQ(drums_.overruns(), 0U);
    terminate();
    EXPECT_THAT(corvel_->standardError(), Not(HasSubstr("overrun")));
}

TEST_F(HeadlessRouting, EndsWithSuccessInTheMiddleOfMusicAndSendsNoHalfOfIt) {
    start();
    constexpr unsigned kBefore = 2'000;
    playNotes(kBefore);
    corvel_->signal(SIGTERM);
    std::optional<int> status;
    for (unsigned number = kBefore; number < kBefore + kCellsAhead / 2 && !status; ++number) {
        // Once the router has ended, nothing receives it.
        const Bytes note = SequencerPeer::numberedNote(number);
        keyboard_.emit(keys_, noteEvent(SND_SEQ_EVENT_NOTEON, 0, note[1], note[2]));
        status = corvel_->wait(milliseconds(0));
    }
    EXPECT_EQ(status ? status : corvel_->wait(kDeadline), 0);
    synth_.readWaiting();
    EXPECT_GE(synth_.received().size(), kBefore - kCellsAhead);
    for (std::size_t number = 0; number < synth_.received().size(); ++number) {
        ASSERT_EQ(synth_.received()[number].bytes, SequencerPeer::numberedNote(static_cast<unsigned>(number)));
    }
    for (const SequencerPort& port : bystander_.ports()) {
        EXPECT_NE(port.clientName, "Corvel");
    }
}

TEST_F(HeadlessRouting, EndsWithSuccessOnAnInterrupt) {
    start();
    terminate(SIGINT);
}

TEST_F(HeadlessRouting, FindsAProgramAgainThatWasRestarted) {
    file_.add(
        {.sourceID = endpointID("source", "Stage Keyboard", 0, "Out"), .destinationID = destinationID("Guest Synth")});
    start();
    std::optional<SequencerPeer> guest;
    for (int visit = 0; visit < 3; ++visit) {
        guest.emplace("Guest Synth");
        guest->addPort("In", SequencerPeer::kDestination);
        ASSERT_TRUE(guest->readUntil([&] {
            keyboard_.play(keys_, {0x91, 1, 1});
            return !guest->received().empty();
        })) << "visit "
            << visit;
        EXPECT_EQ(guest->received().front().bytes, (Bytes{0x91, 1, 1}));
        guest.reset();
    }
    terminate();
}

TEST_F(HeadlessRouting, ServesDebiansOwnPrograms) {
    // One track, 96 ticks a beat: a note-on, after one tick its note-off, then a program change.
    const Bytes midiFile{'M', 'T', 'h', 'd', 0,    0,  0,   6, 0,    0,  0,  1, 0,    96, 'M', 'T',  'r',  'k', 0,
                         0,   0,   15,  0,   0x90, 60, 100, 1, 0x80, 60, 64, 0, 0xC0, 5,  0,   0xFF, 0x2F, 0};
    const std::filesystem::path path = folder_ / "song.mid";
    writeFile(path, {reinterpret_cast<const char*>(midiFile.data()), midiFile.size()});

    file_.add({.sourceID = endpointID("source", "Midi Through", 0, "Midi Through Port-0"),
               .destinationID = endpointID("destination", "aseqdump", 0, "aseqdump"),
               .forcedChannel = 10});
    ChildProcess dump({"stdbuf", "-oL", "aseqdump"});
    ASSERT_TRUE(bystander_.readUntil([&] { return dump.standardOutput().find("Ch  Data") != std::string::npos; }));
    start();
    ChildProcess player({"aplaymidi", "-p", "Midi Through", path.string()});
    EXPECT_EQ(player.wait(kDeadline), 0) << player.standardError();
    EXPECT_TRUE(bystander_.readUntil([&] { return dump.standardOutput().find("Program change") != std::string::npos; }))
        << dump.standardOutput();
    const std::string& lines = dump.standardOutput();
    const std::size_t on = lines.find("Note on                 9, note 60, velocity 100");
    const std::size_t off = lines.find("Note off                9, note 60");
    const std::size_t program = lines.find("Program change          9, program 5");
    EXPECT_NE(on, std::string::npos) << lines;
    EXPECT_NE(program, std::string::npos) << lines;
    EXPECT_LT(on, off);
    EXPECT_LT(off, program);
    terminate();
}

TEST_F(HeadlessRouting, MonitorWritesALineForEveryMessageSent) {
    start({}, {"--monitor"});
    keyboard_.play(keys_, {0x92, 60, 100});
    playMark();
    ASSERT_TRUE(bystander_.readUntil([&] {
        const std::string& text = corvel_->standardOutput();
        return std::count(text.begin(), text.end(), '\n') >= 4;
    }));
    std::istringstream lines(corvel_->standardOutput());
    for (const auto& [destination, status] :
         {std::pair<std::string, std::string>{"Stage Synth In", "92"}, {"Stage Drums In", "99"}}) {
        std::string line;
        ASSERT_TRUE(std::getline(lines, line));
        std::vector<std::string> fields;
        std::istringstream text(line);
        for (std::string field; std::getline(text, field, '\t');) {
            fields.push_back(field);
        }
        ASSERT_EQ(fields.size(), 5U) << line;
        EXPECT_EQ(fields[1], "Stage Keyboard Out");
        EXPECT_EQ(fields[2], destination);
        EXPECT_EQ(fields[3], "Note");
        std::string hex;
        for (const char character : fields[4]) {
            if (std::isxdigit(static_cast<unsigned char>(character)) != 0) {
                hex += static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
            }
        }
        EXPECT_EQ(hex, status + "3C64");
    }
    terminate();
}

TEST_F(HeadlessRouting, WithoutRealtimePrivilegeSaysSoOnceAfterTheStartAndRoutes) {
    openToEverybody();
    const ScopedEnvironment noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
    start({"setpriv", "--reuid=65534", "--clear-groups"});
    EXPECT_THAT(realtimeThreads(), IsEmpty());
    EXPECT_TRUE(
        corvel_->waitForError("Real-time priority was not granted (the kernel: Operation not permitted; "
                              "RealtimeKit: Failed to connect to socket /nowhere: ",
                              kDeadline))
        << corvel_->standardError();
    keyboard_.play(keys_, {0x90, 60, 100});
    playMark();
    terminate();
    EXPECT_EQ(synth_.receivedBytes(), (Bytes{0x90, 60, 100, 0xFB}));
    const std::string& text = corvel_->standardError();
    const std::size_t first = text.find("eal-time priority");
    ASSERT_NE(first, std::string::npos) << text;
    EXPECT_EQ(text.find("eal-time priority", first + 1), std::string::npos) << text;
    EXPECT_LT(text.find("Starting CoreMIDI client on main run loop"), first) << text;
}

TEST_F(HeadlessRouting, WithPrivilegeRoutesAtRealtimePriorityAndSaysWhoGrantedIt) {
    start();
    EXPECT_THAT(realtimeThreads(), ElementsAre(Pair("p.corvel.engine", 20)));
    terminate();
    EXPECT_THAT(corvel_->standardError(), HasSubstr("Routing at real-time priority 20, granted by the kernel\n"));
}

TEST_F(HeadlessRouting, TakesWhatRealtimePriorityTheUserIsGranted) {
    openToEverybody();
    start({"prlimit", "--rtprio=5", "setpriv", "--reuid=65534", "--clear-groups"});
    EXPECT_THAT(realtimeThreads(), ElementsAre(Pair("p.corvel.engine", 5)));
    terminate();
    EXPECT_THAT(corvel_->standardError(), HasSubstr("Routing at real-time priority 5, granted by the kernel\n"));
}

/// Programs that use every client number of the sequencer.
class FullSequencer : public testing::Test {
protected:
    FullSequencer() {
        for (snd_seq_t* client = nullptr; snd_seq_open(&client, "default", SND_SEQ_OPEN_DUPLEX, 0) == 0;) {
            clients_.push_back(client);
        }
    }
    ~FullSequencer() override {
        for (snd_seq_t* const client : clients_) {
            snd_seq_close(client);
        }
    }

    TemporaryFolder folder_;
    const ScopedEnvironment runtime_{"XDG_RUNTIME_DIR", folder_.path().string()};
    const std::string settings_ = "XDG_CONFIG_HOME=" + folder_.path().string();
    const std::string sets_ = "XDG_DATA_HOME=" + folder_.path().string();
    std::vector<snd_seq_t*> clients_;
};

TEST_F(FullSequencer, IsAFailureAndNoReasonForTheDemoDevices) {
    const std::string problem = "corvel: the ALSA sequencer cannot be opened (/dev/snd/seq: Cannot allocate memory)\n";
    ASSERT_FALSE(clients_.empty());
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--headless"},
                                                      {"--headless", "--midi", "alsa"},
                                                      {"--list"},
                                                      {"--connect", "1", "2"}}) {
        std::vector<std::string> command{"env", settings_, sets_, CORVEL_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ChildProcess program(command);
        EXPECT_EQ(program.wait(kDeadline), 1);
        EXPECT_EQ(program.standardOutput(), "");
        EXPECT_EQ(program.standardError(), problem);
    }
    ChildProcess window({"env", settings_, sets_, "QT_QPA_PLATFORM=offscreen", CORVEL_PROGRAM});
    EXPECT_TRUE(window.waitForError(problem, kDeadline));
    EXPECT_THAT(window.standardError(), Not(HasSubstr("demo devices")));
    ChildProcess sets({"env", settings_, sets_, CORVEL_PROGRAM, "--sets"});
    EXPECT_EQ(sets.wait(kDeadline), 0);
    EXPECT_EQ(sets.standardOutput(), "* Default (0 connections)\n");
}

TEST(ForbiddenSequencer, IsAFailureAndNoReasonForTheDemoDevices) {
    const TemporaryFolder folder;
    const std::string program = readableProgram(folder);
    const auto before = std::filesystem::status("/dev/snd/seq").permissions();
    std::filesystem::permissions("/dev/snd/seq", static_cast<std::filesystem::perms>(0600));
    ChildProcess router({"setpriv", "--reuid=65534", "--clear-groups", "env",
                         "XDG_CONFIG_HOME=" + folder.path().string(), program, "--headless"});
    EXPECT_EQ(router.wait(kDeadline), 1);
    EXPECT_THAT(router.standardError(),
                EndsWith("corvel: the ALSA sequencer cannot be opened (/dev/snd/seq: Permission denied)\n"));
    EXPECT_THAT(router.standardError(), Not(HasSubstr("demo devices")));
    std::filesystem::permissions("/dev/snd/seq", before);
}

TEST(ListingOnTheSequencer, ShowsTheIDsThatConnectionsAreStoredWith) {
    ChildProcess list({CORVEL_PROGRAM, "--list", "--json", "--midi", "alsa"});
    ASSERT_EQ(list.wait(kDeadline), 0) << list.standardError();
    EXPECT_THAT(list.standardOutput(), HasSubstr("2033977708"));
    EXPECT_THAT(list.standardOutput(), HasSubstr("-2065501447"));
    EXPECT_THAT(list.standardOutput(), HasSubstr("Midi Through Port-0"));
    EXPECT_THAT(list.standardOutput(), Not(HasSubstr("Announce")));
}

}  // namespace

}  // namespace corvel::tests
