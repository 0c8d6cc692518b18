// How often the router goes to the kernel for what it routes, counted by the kernel itself: reads and writes of the
// thread that routes. Each costs a performer's note some microseconds; no noise of the machine touches the count.

#include "tests/program/SequencerProgramFixture.hpp"

#include <fstream>

namespace corvel::tests {

namespace {

/// Reads and writes of one thread so far.
struct Calls {
    long reads = -1;
    long writes = -1;
};

class SystemCalls : public SequencerProgramFixture {
protected:
    SystemCalls()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kLargestPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    /// The calls of the thread whose name ends so; a thread's name holds the last 15 bytes of its queue's label.
    [[nodiscard]] Calls engineCalls() const {
        const std::filesystem::path tasks = "/proc/" + std::to_string(corvel_->pid()) + "/task";
        for (const auto& thread : std::filesystem::directory_iterator(tasks)) {
            std::string name;
            std::getline(std::ifstream(thread.path() / "comm"), name);
            if (name.size() < 7 || name.compare(name.size() - 7, 7, ".engine") != 0) {
                continue;
            }
            Calls calls;
            std::ifstream counts(thread.path() / "io");
            std::string field;
            for (long value = 0; counts >> field >> value;) {
                calls.reads = field == "syscr:" ? value : calls.reads;
                calls.writes = field == "syscw:" ? value : calls.writes;
            }
            return calls;
        }
        return {};
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
};

TEST_F(SystemCalls, ForANoteThatComesAloneAreFew) {
    constexpr unsigned kCount = 500;
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    const Calls before = engineCalls();
    if (before.reads < 0) {
        GTEST_SKIP() << "this kernel does not count a thread's calls";
    }
    for (unsigned number = 0; number < kCount; ++number) {
        keyboard_.playNumberedNotes(keys_, number, 1);
        ASSERT_TRUE(synth_.readUntilCount(number + 1));
    }
    const Calls after = engineCalls();
    expectNumberedNotes(synth_, kCount);
    // Beside these two there is the wait, and one more at most: 4.1 in all.
    const double calls = static_cast<double>(after.reads - before.reads + after.writes - before.writes) / kCount;
    EXPECT_LE(calls, 3.1);
    EXPECT_GE(calls, 1.9) << "not the thread that routes";
    RecordProperty("reads_and_writes_a_note", std::to_string(calls));
    terminate();
}

TEST_F(SystemCalls, ForNotesThatAreReadTogetherAreFarFewerThanNotes) {
    constexpr unsigned kCount = 1'000;
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    const Calls before = engineCalls();
    if (before.reads < 0) {
        GTEST_SKIP() << "this kernel does not count a thread's calls";
    }
    ASSERT_NO_FATAL_FAILURE(halt());
    keyboard_.playNumberedNotes(keys_, 0, kCount);
    resume();
    ASSERT_TRUE(synth_.readUntilCount(kCount));
    expectNumberedNotes(synth_, kCount);
    const Calls after = engineCalls();
    EXPECT_LE(after.writes - before.writes, static_cast<long>(kCount / 10));
    EXPECT_LE(after.reads - before.reads, static_cast<long>(kCount / 10));
    RecordProperty("writes", std::to_string(after.writes - before.writes));
    RecordProperty("reads", std::to_string(after.reads - before.reads));
    terminate();
}

}  // namespace

}  // namespace corvel::tests
