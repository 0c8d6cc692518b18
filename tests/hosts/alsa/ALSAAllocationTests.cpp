// The complete path of a note on the real sequencer. In a program of its own, because it counts all allocations of its
// program.

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/support/Clock.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/alsa/ALSAMIDIHost.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/HeapCounter.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <semaphore>
#include <string>

namespace corvel::tests {
namespace {

/// Lets another thread wait for reloads and routed messages.
class AwaitedDelegate final : public MIDIRouterEngineDelegate {
public:
    std::counting_semaphore<> reloaded{0};
    std::counting_semaphore<> routed{0};

    void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine&) override { reloaded.release(); }
    void midiRouterEngineDidRoute(CoreMIDIRouterEngine&, const MIDIActivityEvent&) override { routed.release(); }
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
    ASSERT_TRUE(delegate->reloaded.try_acquire_for(kDeadline));

    const auto isRouted = [&] {
        keyboard.emit(keys, noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100));
        return delegate->routed.try_acquire_for(kDeadline);
    };
    ASSERT_TRUE(isRouted() && isRouted());
    const std::size_t before = heapAllocationCount();
    for (int number = 0; number < 50; ++number) {
        ASSERT_TRUE(isRouted());
    }
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_FALSE(delegate->routed.try_acquire()) << "more than was played";

    engine.reset();
    engineQueue->sync([] {});
}

}  // namespace
}  // namespace corvel::tests
