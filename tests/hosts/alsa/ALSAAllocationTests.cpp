// A note's whole way on the real sequencer. By itself, since it counts every allocation of its program.

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/support/Clock.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/alsa/ALSAMIDIHost.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/HeapCounter.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <string>

namespace corvel::tests {
namespace {

/// Tells other threads of the first reload's end and of the messages that were routed.
class AwaitedDelegate final : public MIDIRouterEngineDelegate {
public:
    std::promise<void> started;
    std::atomic<std::size_t> routed = 0;

    void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine&) override { started.set_value(); }
    void midiRouterEngineDidRoute(CoreMIDIRouterEngine&, const MIDIActivityEvent&) override {
        ++routed;
        routed.notify_one();
    }
    void midiRouterEngineDidFail(CoreMIDIRouterEngine&, const std::string& message) override {
        ADD_FAILURE() << message;
    }
    void midiRouterEngineDidLog(CoreMIDIRouterEngine&, const MIDIDiagnosticEvent&) override {}
};

TEST(ALSAAllocation, ANoteTakesNoneFromTheSequencerBackToItAndToItsReport) {
    SequencerPeer keyboard("Counting Keyboard");
    SequencerPeer synth("Counting Synth");
    const SequencerAddress keys = keyboard.addPort("Out", SequencerPeer::kSource);
    synth.addPort("In", SequencerPeer::kDestination);

    const auto mainQueue = EventLoop::withThread("test.main");
    const auto engineQueue = EventLoop::withThread("test.engine");
    const auto delegate = std::make_shared<AwaitedDelegate>();
    auto engine = CoreMIDIRouterEngine::create(hosts::makeALSAMIDIHost(engineQueue, mainQueue), engineQueue, mainQueue,
                                               makeSystemClock());
    engine->setDelegate(delegate);
    engine->updateRoutes({makeRoute({.id = makeID(1),
                                     .sourceID = endpointID("source", "Counting Keyboard", 0, "Out"),
                                     .destinationID = endpointID("destination", "Counting Synth", 0, "In"),
                                     .channelMode = ChannelMode::force(10)})});
    engine->start();
    ASSERT_EQ(delegate->started.get_future().wait_for(kDeadline), std::future_status::ready);

    const auto playOne = [&] {
        const std::size_t before = delegate->routed;
        keyboard.emit(keys, noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100));
        delegate->routed.wait(before);
    };
    playOne();
    playOne();
    const std::size_t before = heapAllocationCount();
    for (int number = 0; number < 50; ++number) {
        playOne();
    }
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(delegate->routed, 52U);

    engine.reset();
    engineQueue->sync([] {});
}

}  // namespace
}  // namespace corvel::tests
