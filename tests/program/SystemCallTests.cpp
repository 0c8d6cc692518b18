// The number of system calls of the routing thread, counted by the kernel itself. Each call delays a note by some
// microseconds. The count does not depend on the load of the machine.

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/support/SystemCallCounter.hpp"

#include <fstream>
#include <memory>

namespace corvel::tests {

namespace {

class SystemCalls : public SequencerProgramFixture {
protected:
    SystemCalls()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kMaxPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    /// Starts the program and counts once it is idle. Skips the test if the kernel cannot count.
    void startCounting() {
        ASSERT_NO_FATAL_FAILURE(start());
        ASSERT_NO_FATAL_FAILURE(plugAndSettle());
        counter_ = SystemCallCounter::of(engineThread());
        if (!counter_) {
            GTEST_SKIP() << "this kernel does not count a thread's system calls";
        }
        before_ = counter_->count();
    }

    [[nodiscard]] double callsForEachOf(unsigned notes) const {
        return static_cast<double>(counter_->count() - before_) / notes;
    }

    /// Plays single notes: each when the previous one has arrived and the pause is over.
    void playAlone(unsigned count, std::chrono::milliseconds pause) {
        for (unsigned number = 0; number < count; ++number) {
            const auto next = std::chrono::steady_clock::now() + pause;
            keyboard_.playNumberedNotes(keys_, number, 1);
            ASSERT_TRUE(synth_.readUntil(
                [&] { return synth_.received().size() > number && std::chrono::steady_clock::now() >= next; }));
        }
        expectNumberedNotes(synth_, count);
    }

    /// The thread whose name ends as its queue's label; a thread's name has at most 15 bytes.
    [[nodiscard]] pid_t engineThread() const {
        const std::string ending = ".engine";
        const std::filesystem::path tasks = "/proc/" + std::to_string(corvel_->pid()) + "/task";
        for (const auto& thread : std::filesystem::directory_iterator(tasks)) {
            std::string name;
            std::getline(std::ifstream(thread.path() / "comm"), name);
            if (name.size() > ending.size() && name.substr(name.size() - ending.size()) == ending) {
                return std::stoi(thread.path().filename());
            }
        }
        ADD_FAILURE() << "no thread that routes";
        return 0;
    }

    std::unique_ptr<SystemCallCounter> counter_;
    std::uint64_t before_ = 0;
    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
};

TEST_F(SystemCalls, ForANoteThatComesAloneAreFourWhenNotesAreClose) {
    ASSERT_NO_FATAL_FAILURE(startCounting());
    if (IsSkipped()) {
        return;
    }
    ASSERT_NO_FATAL_FAILURE(playAlone(300, std::chrono::milliseconds(1)));
    const double calls = callsForEachOf(300);
    RecordProperty("calls", std::to_string(calls));
    EXPECT_LE(calls, 4.1);
    EXPECT_GE(calls, 2.9) << "wait, read and write at least: not the thread that routes";
    terminate();
}

TEST_F(SystemCalls, ForANoteThatComesAloneAreFourWhenNotesAreFarApart) {
    ASSERT_NO_FATAL_FAILURE(startCounting());
    if (IsSkipped()) {
        return;
    }
    ASSERT_NO_FATAL_FAILURE(playAlone(40, std::chrono::milliseconds(100)));
    const double calls = callsForEachOf(40);
    RecordProperty("calls", std::to_string(calls));
    EXPECT_LE(calls, 4.1);
    EXPECT_GE(calls, 2.9) << "wait, read and write at least: not the thread that routes";
    terminate();
}

TEST_F(SystemCalls, ForNotesThatAreReadTogetherAreFarFewerThanNotes) {
    constexpr unsigned kCount = 1'000;
    ASSERT_NO_FATAL_FAILURE(startCounting());
    if (IsSkipped()) {
        return;
    }
    ASSERT_NO_FATAL_FAILURE(halt());
    keyboard_.playNumberedNotes(keys_, 0, kCount);
    resume();
    ASSERT_TRUE(synth_.readUntilCount(kCount));
    const double calls = callsForEachOf(kCount);
    RecordProperty("calls", std::to_string(calls));
    expectNumberedNotes(synth_, kCount);
    EXPECT_LE(calls, 0.1);
    terminate();
}

}  // namespace

}  // namespace corvel::tests
