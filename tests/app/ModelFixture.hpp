#pragma once

#include "app/InMemorySettings.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

/// A model with a real engine and a real store, over a fake service, a temporary folder, and queues and a clock that
/// tests drive by hand. The test's thread is the main thread.
///
/// The setup has keys (source 11, ID 1011), pads (source 12, ID 1012), a synth (destination 21, ID 1021) and drums
/// (destination 22, ID 1022), all made by "Acme".
class ModelFixture : public ::testing::Test {
protected:
    using Property = MIDIRouterViewModel::Property;

    ModelFixture() {
        host->addSource(11, {.displayName = "Keys", .manufacturer = "Acme", .uniqueID = 1011});
        host->addSource(12, {.displayName = "Pads", .manufacturer = "Acme", .uniqueID = 1012});
        host->addDestination(21, {.displayName = "Synth", .manufacturer = "Acme", .uniqueID = 1021});
        host->addDestination(22, {.displayName = "Drums", .manufacturer = "Acme", .uniqueID = 1022});
        makeModel();
    }

    /// Starts the program again on the same document and settings.
    void makeModel() {
        model.reset();
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        host->requested.clear();
        model = MIDIRouterViewModel::create(engine, store, settings, clock, mainQueue);
    }

    /// Starts the program on this document.
    void makeModel(const MIDIRouteSetDocument& document) {
        store->saveDocument(document);
        makeModel();
    }

    void startModel() {
        model->startIfNeeded();
        settle();
    }

    /// Runs both queues until they are empty; no time passes.
    void settle() {
        while (queue->runAll() + mainQueue->runAll() > 0) {
        }
    }

    /// Makes every save fail: a folder has the document's path.
    void breakStore() {
        std::filesystem::remove(store->fileURL());
        std::filesystem::create_directories(store->fileURL() / "in the way");
    }

    void unplugSource(MIDIObjectRef ref) { unplug(host->sources, ref); }
    void unplugDestination(MIDIObjectRef ref) { unplug(host->destinations, ref); }

    /// The model's values as a document.
    [[nodiscard]] MIDIRouteSetDocument document() const {
        return MIDIRouteSetDocument(model->selectedRouteSetID(), model->routeSets());
    }

    /// Reports a message of a connection as the engine does, at the present time.
    void report(const UUID& routeID, std::vector<std::uint8_t> bytes) {
        model->midiRouterEngineDidRoute(
            *engine, MIDIActivityEvent(UUID::random(), routeID, clock->now(), MIDIBytes(bytes.begin(), bytes.end())));
    }

    /// Plays a note on the keys and returns what the connections sent, as (destination, bytes).
    [[nodiscard]] std::vector<std::pair<MIDIObjectRef, std::vector<std::uint8_t>>> playKeys() {
        settle();
        host->sent.clear();
        host->receive({{0x90, 60, 100}}, 11);
        settle();
        std::vector<std::pair<MIDIObjectRef, std::vector<std::uint8_t>>> sent;
        for (const FakeSentPacket& packet : host->sent) {
            sent.emplace_back(packet.destination, std::vector<std::uint8_t>(packet.bytes.begin(), packet.bytes.end()));
        }
        return sent;
    }

    TemporaryFolder folder;
    const std::shared_ptr<FakeMIDIHost> host = std::make_shared<FakeMIDIHost>();
    const std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>(ManualQueue::Current::onMakerThread);
    const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    const std::shared_ptr<RouteStore> store = std::make_shared<RouteStore>(folder / "routes.json");
    const std::shared_ptr<InMemorySettings> settings = std::make_shared<InMemorySettings>();
    std::shared_ptr<CoreMIDIRouterEngine> engine;
    std::shared_ptr<MIDIRouterViewModel> model;

private:
    static void unplug(std::vector<MIDIObjectRef>& refs, MIDIObjectRef ref) { std::erase(refs, ref); }
};

}  // namespace corvel::tests
