// The router's reports about its traffic: a line for every sent message, and few lines about messages that could not be
// sent. A receiver that accepts nothing must not cost memory, nor delay the answers to commands or other notes.

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/support/SequencerFlood.hpp"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <iomanip>
#include <memory>
#include <sstream>
#include <thread>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

const Bytes kMark{0xFB};
/// Time limit after a flood until everything is as before: far above the second that it may take on an otherwise idle
/// machine.
constexpr std::chrono::seconds kAsBefore{4};
constexpr const char* kNotSent = "MIDI message could not be sent";

std::string hexadecimal(const Bytes& bytes) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        text << (index == 0 ? "" : " ") << std::setw(2) << static_cast<int>(bytes[index]);
    }
    return text.str();
}

/// While it exists, the program's first thread, which writes its lines, gets hardly any processor time, as on a busy
/// machine. The routing thread runs as usual.
class BusyMachine {
public:
    /// `process` is also the ID of its first thread.
    explicit BusyMachine(pid_t process) : thread_(process) {
        setPolicy(SCHED_IDLE);
        for (unsigned count = std::thread::hardware_concurrency(); count > 0; --count) {
            others_.emplace_back([this] {
                while (!isToEnd_) {
                }
            });
        }
    }
    BusyMachine(const BusyMachine&) = delete;
    BusyMachine& operator=(const BusyMachine&) = delete;
    ~BusyMachine() {
        isToEnd_ = true;
        for (std::thread& other : others_) {
            other.join();
        }
        setPolicy(SCHED_OTHER);
    }

private:
    void setPolicy(int policy) const {
        const sched_param parameters{};
        EXPECT_EQ(::sched_setscheduler(thread_, policy, &parameters), 0);
    }

    pid_t thread_;
    std::atomic<bool> isToEnd_{false};
    std::vector<std::thread> others_;
};

class ReportFlood : public SequencerProgramFixture {
protected:
    ReportFlood()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kMaxPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    /// Plays the next notes, but never more ahead of the receiver than the sequencer keeps.
    void playNext(unsigned count) {
        ASSERT_NO_FATAL_FAILURE(playInBatches(keyboard_, keys_, synth_, played_, count, count, [](unsigned) {}));
        played_ += count;
    }

    /// Plays all notes and the mark, while another thread reads the lines.
    void playAll() {
        ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
        while (played_ < kCount) {
            ASSERT_NO_FATAL_FAILURE(playNext(500));
            static_cast<void>(corvel_->standardOutput());
        }
        keyboard_.play(keys_, kMark);
        ASSERT_TRUE(synth_.readUntilCount(kCount + 1));
    }

    void expectLines() {
        EXPECT_TRUE(corvel_->waitForOutput("\tFB\n", kDeadline));
        std::istringstream lines(corvel_->standardOutput());
        unsigned count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            if (count < kCount) {
                ASSERT_EQ(line.substr(line.find('\t') + 1), "Stage Keyboard Out\tStage Synth In\tNote\t" +
                                                                hexadecimal(SequencerPeer::numberedNote(count)))
                    << "line " << count;
            }
        }
        EXPECT_EQ(count, kCount + 1);
    }

    static constexpr unsigned kCount = 20'000;

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
    unsigned played_ = 0;
};

TEST_F(ReportFlood, OfTwentyThousandNotesIsWrittenLineByLineInOrder) {
    ASSERT_NO_FATAL_FAILURE(start({"--monitor"}));
    ASSERT_NO_FATAL_FAILURE(playAll());
    ASSERT_NO_FATAL_FAILURE(expectLines());
    terminate();
}

TEST_F(ReportFlood, OfTwentyThousandNotesIsWrittenOnceTheMachineHasTimeForIt) {
    ASSERT_NO_FATAL_FAILURE(start({"--monitor"}));
    {
        const BusyMachine busy(corvel_->pid());
        ASSERT_NO_FATAL_FAILURE(playAll());
    }
    ASSERT_NO_FATAL_FAILURE(expectLines());
    terminate();
}

/// The same with a second receiver, which never reads.
class ReportFloodOfFailures : public ReportFlood {
protected:
    ReportFloodOfFailures() : deaf_("Deaf Synth") {
        deaf_.addPort("In", SequencerPeer::kDestination);
        connect("Stage Keyboard", "Deaf Synth");
    }

    /// Plays until the condition holds, and meanwhile checks the program's memory and standard error.
    template <typename Condition>
    void floodUntil(Condition isDone) {
        while (!isDone()) {
            ASSERT_NO_FATAL_FAILURE(playNext(250));
            static_cast<void>(corvel_->standardError());
            maxMemoryKiB_ = std::max(maxMemoryKiB_, corvel_->memoryKiB("VmRSS"));
        }
    }

    void expectPromptAnswer(TimedCommand& alone, TimedCommand& sets) {
        RecordProperty("alone_ms", std::to_string(alone.duration().count()));
        RecordProperty("answered_ms", std::to_string(sets.duration().count()));
        ASSERT_TRUE(sets.hasEnded()) << "no answer during the flood";
        EXPECT_EQ(sets.process().wait(milliseconds(0)), 0) << sets.process().standardError();
        EXPECT_NE(sets.process().standardOutput().find("Stage"), std::string::npos) << sets.process().standardOutput();
        EXPECT_LT(sets.duration().count(), promptLimit(alone).count());
    }

    SequencerPeer deaf_;
    long maxMemoryKiB_ = 0;
};

TEST_F(ReportFloodOfFailures, IsMergedAndHoldsOffNeitherCommandsNorTheOtherReceiver) {
    constexpr std::chrono::seconds kFlood{5};
    constexpr long kMaxMemoryKiB = 150 * 1024;

    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
    // The receiver is full when the router reports it.
    const auto giveUp = steady_clock::now() + 3 * kDeadline;
    ASSERT_NO_FATAL_FAILURE(floodUntil(
        [&] { return corvel_->standardError().find(kNotSent) != std::string::npos || steady_clock::now() > giveUp; }));
    ASSERT_FALSE(errorLines(kNotSent).empty());

    const auto begin = steady_clock::now();
    TimedCommand alone(command({"--help"}));
    ASSERT_NO_FATAL_FAILURE(floodUntil([&] { return alone.hasEnded() || alone.duration() > kDeadline; }));
    TimedCommand sets(command({"--sets"}));
    ASSERT_NO_FATAL_FAILURE(floodUntil(
        [&] { return (sets.hasEnded() || sets.duration() > kDeadline) && steady_clock::now() - begin > kFlood; }));
    ASSERT_NO_FATAL_FAILURE(expectPromptAnswer(alone, sets));
    RecordProperty("notes", std::to_string(played_));
    RecordProperty("memory_KiB", std::to_string(maxMemoryKiB_));
    EXPECT_LT(maxMemoryKiB_, kMaxMemoryKiB);

    // The other receiver has received everything, and notes played after the flood arrive at once.
    ASSERT_TRUE(synth_.readUntilCount(played_)) << synth_.received().size() << " of " << played_;
    expectNumberedNotes(synth_, played_);
    const auto before = steady_clock::now();
    keyboard_.play(keys_, kMark);
    ASSERT_TRUE(synth_.readUntilCount(played_ + 1));
    EXPECT_EQ(synth_.received().back().bytes, kMark);
    EXPECT_LT(steady_clock::now() - before, kAsBefore);
    EXPECT_EQ(synth_.overruns(), 0U);

    // One line at once, then at most one a second, with some tolerance.
    const auto lines = errorLines(kNotSent);
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(steady_clock::now() - begin);
    EXPECT_LT(lines.size(), static_cast<std::size_t>(seconds.count()) + 4) << lines.front();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        // The number of failures, beside the status.
        const std::size_t status = line.find(')', line.find(kNotSent));
        return status != std::string::npos && line.find_first_of("0123456789", status) != std::string::npos;
    })) << lines.back();
    terminate();
}

TEST_F(ReportFloodOfFailures, FromManyProgramsCostsNoMemoryAndHoldsOffNoCommand) {
    constexpr std::chrono::seconds kFlood{4};
    constexpr long kMaxMemoryKiB = 150 * 1024;
    // Without this pace one read would last as long as the flood.
    synth_.setReadingPace(milliseconds(1));
    std::vector<std::unique_ptr<SequencerFlood>> floods;
    for (const std::string name : {"Flood 1", "Flood 2", "Flood 3", "Flood 4"}) {
        floods.push_back(std::make_unique<SequencerFlood>(name));
        connect(name, "Stage Synth");
        connect(name, "Deaf Synth");
    }
    ASSERT_NO_FATAL_FAILURE(start());
    for (const auto& flood : floods) {
        ASSERT_TRUE(waitUntilHeard(flood->peer(), flood->port()));
    }
    for (const auto& flood : floods) {
        flood->begin();
    }
    const auto begin = steady_clock::now();
    std::size_t arrived = 0;
    const auto takeNotes = [&] {
        synth_.readWaiting();
        arrived += synth_.received().size();
        synth_.forgetReceived();
        static_cast<void>(corvel_->standardError());
        maxMemoryKiB_ = std::max(maxMemoryKiB_, corvel_->memoryKiB("VmRSS"));
    };
    const auto takeNotesUntilEndOf = [&](TimedCommand& running) {
        while (!running.hasEnded() && running.duration() < kDeadline) {
            takeNotes();
        }
    };
    // The command comes while the flood is at its maximum.
    while (steady_clock::now() - begin < kFlood) {
        takeNotes();
    }
    TimedCommand alone(command({"--help"}));
    takeNotesUntilEndOf(alone);
    TimedCommand sets(command({"--sets"}));
    takeNotesUntilEndOf(sets);
    for (const auto& flood : floods) {
        flood->end();
    }
    RecordProperty("arrived", std::to_string(arrived));
    RecordProperty("memory_KiB", std::to_string(maxMemoryKiB_));
    EXPECT_LT(maxMemoryKiB_, kMaxMemoryKiB);
    EXPECT_GT(arrived, 0U);
    expectPromptAnswer(alone, sets);

    // A mark that is played after the flood arrives soon.
    const auto before = steady_clock::now();
    const auto isMark = [](const ReceivedEvent& event) { return event.bytes == kMark; };
    snd_seq_event_t mark{};
    mark.type = SND_SEQ_EVENT_CONTINUE;
    ASSERT_TRUE(synth_.readUntil([&] {
        // The sequencer refuses the mark until the router has read the rest of the flood.
        keyboard_.emit(keys_, mark);
        return std::any_of(synth_.received().begin(), synth_.received().end(), isMark);
    }));
    RecordProperty("as_before_ms", std::to_string((steady_clock::now() - before) / milliseconds(1)));
    EXPECT_LT(steady_clock::now() - before, kAsBefore);
    terminate();
}

}  // namespace

}  // namespace corvel::tests
