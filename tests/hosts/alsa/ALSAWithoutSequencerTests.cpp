// The ALSA host on a machine without a sequencer, as most build machines are.

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

TEST_F(ALSAWithoutSequencer, ListsNoEndpointsAndNoDevices) {
    queue_->sync([&] {
        EXPECT_EQ(*host_->setup(MIDIListing::known), MIDISetup());
        EXPECT_EQ(*host_->setup(MIDIListing::afresh), MIDISetup());
    });
}

TEST_F(ALSAWithoutSequencer, MakesNoClient) {
    MIDICreation creation;
    mainQueue_->sync([&] { creation = host_->createClient("Corvel", [](const MIDINotification&) {}); });
    EXPECT_LT(creation.status, 0);
    EXPECT_EQ(creation.ref, 0U);
}

TEST_F(ALSAWithoutSequencer, FailsToConnectAndToSend) {
    queue_->sync([&] {
        EXPECT_LT(host_->connectSource(1, 1, 1), 0);
        MIDISend message{.destination = 1, .bytes = {}};
        host_->send(1, {&message, 1});
        EXPECT_LT(message.status, 0);
    });
}

}  // namespace

}  // namespace corvel::tests
