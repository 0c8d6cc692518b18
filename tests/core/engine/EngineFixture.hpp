#pragma once

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RecordingDelegate.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

/// An engine over a fake service whose queues and clock stand still until the test moves them. The test's thread is the
/// main thread.
///
/// The service gives the client the reference 1, the input port 2 and the output port 3.
class EngineFixture : public ::testing::Test {
protected:
    using Calls = std::vector<std::string>;

    EngineFixture() {
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        engine->setDelegate(delegate);
    }

    /// Runs both queues until neither has anything left to do; no time passes.
    void settle() {
        while (queue->runAll() + mainQueue->runAll() > 0) {
        }
    }

    /// Starts the engine and forgets what it called and reported on the way.
    void startEngine() {
        engine->start();
        settle();
        host->calls.clear();
        delegate->reports.clear();
    }

    /// A keyboard (source 11, ID 1011) and a synthesizer (destination 21, ID 1021).
    void addKeysAndSynth() {
        host->addSource(11, {.displayName = "Keys", .uniqueID = 1011});
        host->addDestination(21, {.displayName = "Synth", .uniqueID = 1021});
    }

    /// The calls that begin with one of these words, in order.
    [[nodiscard]] Calls callsTo(const std::vector<std::string>& operations) const {
        Calls chosen;
        for (const std::string& call : host->calls) {
            for (const std::string& operation : operations) {
                if (call.starts_with(operation + "(")) {
                    chosen.push_back(call);
                }
            }
        }
        return chosen;
    }

    const std::shared_ptr<FakeMIDIHost> host = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>(ManualQueue::Current::onMakerThread);
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<CoreMIDIRouterEngine> engine;
};

}  // namespace corvel::tests
