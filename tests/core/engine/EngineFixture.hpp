#pragma once

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RecordingDelegate.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

/// An engine over a fake service, with queues and a clock that tests drive by hand. The test's thread is the main
/// thread.
///
/// The service gives the client the reference 1, the input port 2 and the output port 3.
class EngineFixture : public ::testing::Test {
protected:
    using Reports = std::vector<std::string>;

    EngineFixture() {
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        engine->setDelegate(delegate);
    }

    /// Runs both queues until they are empty; no time passes.
    void settle() {
        while (queue->runAll() + mainQueue->runAll() > 0) {
        }
    }

    /// Starts the engine and forgets its reports and calls so far.
    void startEngine() {
        engine->start();
        settle();
        host->listings.clear();
        delegate->reports.clear();
    }

    void startWith(std::vector<MIDIRoute> routes) {
        engine->updateRoutes(std::move(routes));
        startEngine();
    }

    /// Delivers packets from the source with this reference and runs the engine's queue.
    void play(std::initializer_list<MIDIBytes> packets, MIDIObjectRef source = 11) {
        host->receive(packets, source);
        settle();
    }

    /// Advances the engine's queue by this time and returns the reports.
    Reports reportsDuring(std::chrono::milliseconds duration) {
        delegate->reports.clear();
        queue->advance(duration);
        settle();
        return delegate->takeReports();
    }

    /// A keyboard (source 11, ID 1011) and a synthesizer (destination 21, ID 1021).
    void addKeysAndSynth() {
        host->addSource(11, {.displayName = "Keys", .uniqueID = 1011});
        host->addDestination(21, {.displayName = "Synth", .uniqueID = 1021});
    }

    /// A connection between them.
    static MIDIRoute keysToSynth(ChannelMode mode = ChannelMode::asIs(), std::uint32_t id = 1) {
        return makeRoute({.id = makeID(id), .sourceID = 1011, .destinationID = 1021, .channelMode = mode});
    }

    std::shared_ptr<FakeMIDIHost> host = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>(ManualQueue::Current::onMakerThread);
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<CoreMIDIRouterEngine> engine;
};

}  // namespace corvel::tests
