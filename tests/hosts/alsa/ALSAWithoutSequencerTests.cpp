// The ALSA host on a machine that has no sequencer, as most build machines are.

#include "core/support/EventLoop.hpp"
#include "hosts/alsa/ALSAMIDIHost.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

namespace corvel::tests {

namespace {

class ALSAWithoutSequencer : public testing::Test {
protected:
    void SetUp() override {
        if (std::filesystem::exists("/dev/snd/seq")) {
            GTEST_SKIP() << "this machine has a sequencer";
        }
    }

    std::shared_ptr<EventLoop> queue_ = EventLoop::withThread("test.engine");
    std::shared_ptr<EventLoop> mainQueue_ = EventLoop::withThread("test.main");
    std::shared_ptr<MIDIHost> host_ = hosts::makeALSAMIDIHost(queue_, mainQueue_);
};

TEST_F(ALSAWithoutSequencer, SaysWhyItCannotBeOpened) {
    EXPECT_EQ(hosts::alsaSequencerProblem(),
              "the ALSA sequencer cannot be opened (/dev/snd/seq: No such file or directory)");
}

TEST_F(ALSAWithoutSequencer, ListsNoEndpointsAndNoDevices) {
    queue_->sync([&] {
        EXPECT_EQ(host_->sourceCount(), 0U);
        EXPECT_EQ(host_->destinationCount(), 0U);
        EXPECT_EQ(host_->deviceCount(), 0U);
        EXPECT_EQ(host_->externalDeviceCount(), 0U);
        EXPECT_EQ(host_->source(0), 0U);
        EXPECT_EQ(host_->destination(0), 0U);
    });
}

TEST_F(ALSAWithoutSequencer, MakesNoClient) {
    host_->setDiagnosticHandler([](const std::string&) {});
    MIDICreation creation;
    mainQueue_->sync([&] { creation = host_->createClient("Corvel", [](const MIDINotification&) {}); });
    EXPECT_LT(creation.status, 0);
    EXPECT_EQ(creation.ref, 0U);
}

TEST_F(ALSAWithoutSequencer, FailsToConnectAndToSend) {
    queue_->sync([&] {
        EXPECT_LT(host_->connectSource(1, 1, 1), 0);
        EXPECT_LT(host_->send(1, 1, MIDIPacket{}), 0);
    });
}

}  // namespace

}  // namespace corvel::tests
