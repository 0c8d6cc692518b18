#include "hosts/HostSelection.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>

namespace corvel::hosts {
namespace {

TEST(HostSelectionStatus, MeansThatThereIsNoSequencerOnlyWhereItsDeviceIsMissing) {
    for (const int status : {-ENOENT, -ENODEV, -ENXIO}) {
        EXPECT_TRUE(meansNoSequencer(status)) << status;
    }
    for (const int status : {-ENOMEM, -EACCES, -EPERM, -EMFILE, -ENFILE, -EBUSY, -EAGAIN, -EINVAL, 0}) {
        EXPECT_FALSE(meansNoSequencer(status)) << status;
    }
}

class HostSelectionWithoutSequencer : public testing::Test {
protected:
    void SetUp() override {
        if (std::filesystem::exists("/dev/snd/seq")) {
            GTEST_SKIP() << "this machine has a sequencer";
        }
    }

    [[nodiscard]] HostSelection select(MIDIHostChoice choice) const { return selectHost(choice, queue_, mainQueue_); }

    const std::shared_ptr<EventLoop> queue_ = EventLoop::withThread("test.engine");
    const std::shared_ptr<EventLoop> mainQueue_ = EventLoop::withThread("test.main");
};

TEST_F(HostSelectionWithoutSequencer, TakesTheDemoAutomaticallyAndSaysWhy) {
    const HostSelection selection = select(MIDIHostChoice());
    EXPECT_NE(selection.host, nullptr);
    EXPECT_TRUE(selection.isDemo);
    EXPECT_TRUE(selection.hasService);
    EXPECT_EQ(selection.problem, "the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory)");
}

TEST_F(HostSelectionWithoutSequencer, GivesTheSequencersHostAllTheSameWhereItIsAskedFor) {
    const HostSelection selection = select({MIDIServiceKind::alsa});
    EXPECT_NE(selection.host, nullptr);
    EXPECT_FALSE(selection.isDemo);
    EXPECT_FALSE(selection.hasService);
    EXPECT_EQ(selection.problem, "the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory)");
}

TEST_F(HostSelectionWithoutSequencer, HasNoProblemWithTheDemoWhereItIsAskedFor) {
    const HostSelection selection = select({MIDIServiceKind::demo});
    EXPECT_NE(selection.host, nullptr);
    EXPECT_TRUE(selection.isDemo);
    EXPECT_TRUE(selection.hasService);
    EXPECT_EQ(selection.problem, "");
}

}  // namespace
}  // namespace corvel::hosts
