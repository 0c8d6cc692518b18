#include "app/InMemorySettings.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"
#include "core/storage/RouteStore.hpp"
#include "core/support/Clock.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/alsa/ALSAMIDIHost.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/SequencerPeer.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvel::tests {
namespace {

/// A whole program without a window on the real sequencer, with a keyboard and two synthesizers around it.
class ALSARehearsal : public ::testing::Test {
protected:
    ALSARehearsal() : keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        drums_.addPort("In", SequencerPeer::kDestination);
        plugInSynth();
        start();
    }
    ALSARehearsal(const ALSARehearsal&) = delete;
    ALSARehearsal& operator=(const ALSARehearsal&) = delete;
    ~ALSARehearsal() override { stop(); }

    /// Runs work on the main thread, where the model lives, and waits for it.
    void onMain(std::function<void()> work) { mainQueue_->sync(std::move(work)); }

    void start() {
        onMain([this] {
            const auto engine = CoreMIDIRouterEngine::create(hosts::makeALSAMIDIHost(engineQueue_, mainQueue_),
                                                             engineQueue_, mainQueue_, makeSystemClock());
            model_ = MIDIRouterViewModel::create(engine, std::make_shared<RouteStore>(file_),
                                                 std::make_shared<InMemorySettings>(), makeSystemClock(), mainQueue_);
            model_->startIfNeeded();
        });
        // Waits for both "connected" and "listed", because the first snapshot may be older than the ports.
        ASSERT_TRUE(waitUntil([this] {
            return std::ranges::any_of(model_->diagnosticEvents(), [](const MIDIDiagnosticEvent& event) {
                return event.message.starts_with("Endpoint reload (initial load)");
            });
        }));
    }

    void stop() {
        onMain([this] { model_.reset(); });
        engineQueue_->sync([] {});
    }

    void plugInSynth() {
        synth_.emplace("Stage Synth");
        synth_->addPort("In", SequencerPeer::kDestination);
    }

    /// Waits until the condition holds; checks it on the main thread.
    [[nodiscard]] bool waitUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + kDeadline;
        bool holds = false;
        while (!holds && std::chrono::steady_clock::now() < deadline) {
            onMain([&] { holds = condition(); });
            if (!holds) {
                ::poll(nullptr, 0, 5);
            }
        }
        return holds;
    }

    [[nodiscard]] bool isListed(std::int32_t destinationID) const {
        return std::ranges::find(model_->destinations(), destinationID, &MIDIEndpointModel::id) !=
               model_->destinations().end();
    }

    /// Carries out a command and expects this status, and the same document on disk as in memory.
    void perform(const std::function<void(MIDIRouterViewModel&)>& command, const std::string& status) {
        onMain([&] {
            command(*model_);
            EXPECT_EQ(model_->statusMessage(), status);
            EXPECT_EQ(RouteStore(file_).loadDocument(),
                      MIDIRouteSetDocument(model_->selectedRouteSetID(), model_->routeSets()));
        });
    }

    /// Plays a note and expects exactly these bytes at the receiver, and nothing at the other one.
    void expectNoteAt(SequencerPeer& receiver, SequencerPeer& other, const Bytes& bytes) {
        receiver.forgetReceived();
        other.forgetReceived();
        keyboard_.play(keys_, {0x94, 60, 100});
        EXPECT_TRUE(receiver.readUntilBytes(bytes.size()));
        // A second note arrives after anything else that the first may have caused.
        keyboard_.play(keys_, {0x84, 60, 64});
        EXPECT_TRUE(receiver.readUntilBytes(2 * bytes.size()));
        const Bytes received = receiver.receivedBytes();
        EXPECT_EQ(Bytes(received.begin(), received.begin() + static_cast<std::ptrdiff_t>(bytes.size())), bytes);
        EXPECT_EQ(received.size(), 2 * bytes.size());
        other.readWaiting();
        EXPECT_TRUE(other.received().empty());
    }

    const std::int32_t keyboardID_ = endpointID("source", "Stage Keyboard", 0, "Out");
    const std::int32_t synthID_ = endpointID("destination", "Stage Synth", 0, "In");
    const std::int32_t drumsID_ = endpointID("destination", "Stage Drums", 0, "In");
    const KeyboardShortcutSpec shortcut_{"1", {KeyboardShortcutModifier::control}};

    const TemporaryFolder folder_;
    const std::filesystem::path file_ = folder_ / "routes.json";
    SequencerPeer keyboard_{"Stage Keyboard"};
    SequencerPeer drums_{"Stage Drums"};
    std::optional<SequencerPeer> synth_;
    SequencerAddress keys_;
    const std::shared_ptr<EventLoop> mainQueue_ = EventLoop::withThread("test main");
    const std::shared_ptr<EventLoop> engineQueue_ = EventLoop::withThread("test engine");
    std::shared_ptr<MIDIRouterViewModel> model_;
};

TEST_F(ALSARehearsal, PlaysFromTheFirstConnectionToTheRestart) {
    perform([&](auto& model) { model.connect(keyboardID_, synthID_); }, "Set \"Default\" saved (1 connections)");
    expectNoteAt(*synth_, drums_, {0x94, 60, 100});
    perform([&](auto& model) { model.connect(keyboardID_, synthID_); }, "Connection already exists");

    perform([&](auto& model) { model.addChannelAssignment(model.routes()[0].id, ChannelMode::force(3), shortcut_); },
            "Added output channel Ch 3 with ⌃1");
    expectNoteAt(*synth_, drums_, {0x92, 60, 100});
    perform([](auto& model) { model.setActiveVariant(model.routes()[0].variants[0].id, model.routes()[0].id); },
            "Selected output channel As Is");
    expectNoteAt(*synth_, drums_, {0x94, 60, 100});
    perform([&](auto& model) { EXPECT_TRUE(model.handleShortcut(shortcut_)); }, "Selected output channel Ch 3");
    expectNoteAt(*synth_, drums_, {0x92, 60, 100});

    perform([](auto& model) { model.createRouteSet("Live"); }, "Created set \"Live\"");
    perform([&](auto& model) { model.connect(keyboardID_, drumsID_); }, "Set \"Live\" saved (1 connections)");
    expectNoteAt(drums_, *synth_, {0x94, 60, 100});
    perform([](auto& model) { model.duplicateSelectedRouteSet(""); }, "Duplicated set \"Live Copy\"");
    expectNoteAt(drums_, *synth_, {0x94, 60, 100});
    perform([](auto& model) { model.renameSelectedRouteSet("Encore"); }, "Renamed set \"Encore\"");
    perform([](auto& model) { model.deleteSelectedRouteSet(); }, "Deleted set \"Encore\"");
    perform([](auto& model) { model.selectRouteSet(model.routeSets()[0].id); }, "Loaded set \"Default\"");
    expectNoteAt(*synth_, drums_, {0x92, 60, 100});

    // The synthesizer disappears while notes are being sent to it, and returns with another client number.
    keyboard_.playNumberedNotes(keys_, 0, 50);
    synth_.reset();
    ASSERT_TRUE(waitUntil([&] { return !isListed(synthID_); }));
    onMain([&] {
        EXPECT_EQ(model_->routeAvailability(model_->routes()[0]), RouteAvailability::missingOutput);
        EXPECT_TRUE(model_->graphActivities(model_->routes()[0].id).empty());
        model_->connect(keyboardID_, synthID_);
        EXPECT_EQ(model_->statusMessage(), "Output endpoint is no longer available");
    });
    plugInSynth();
    ASSERT_TRUE(waitUntil([&] { return isListed(synthID_); }));
    expectNoteAt(*synth_, drums_, {0x92, 60, 100});

    std::string beforeRestart;
    onMain([&] { beforeRestart = RouteSetDocumentCoder::encode(RouteStore(file_).loadDocument()); });
    stop();
    start();
    ASSERT_TRUE(waitUntil([&] { return isListed(synthID_); }));
    onMain([&] {
        EXPECT_EQ(RouteSetDocumentCoder::encode(RouteStore(file_).loadDocument()), beforeRestart);
        EXPECT_EQ(model_->selectedRouteSetName(), "Default");
    });
    expectNoteAt(*synth_, drums_, {0x92, 60, 100});
    EXPECT_TRUE(waitUntil([&] { return model_->lastEventDescription(model_->routes()[0].id) == "Note Off 82 3C 40"; }));
}

/// A chord and the pedal, held through a connection from the keyboard to the synthesizer on channel 3.
class ALSAHeldNotes : public ALSARehearsal {
protected:
    ALSAHeldNotes() {
        onMain([this] {
            model_->setReleasesHeldNotes(true);
            model_->connect(keyboardID_, synthID_);
            model_->addChannelAssignment(model_->routes()[0].id, ChannelMode::force(3), shortcut_);
            model_->createRouteSet("Other");
            model_->selectRouteSet(model_->routeSets()[0].id);
        });
        keyboard_.play(keys_, {0x90, 60, 100, 0x90, 64, 100, 0xB0, 64, 127});
        EXPECT_TRUE(synth_->readUntilBytes(9));
        synth_->forgetReceived();
    }

    /// Expects exactly the chord's end, on the channel that it was played on.
    void expectRelease() {
        EXPECT_TRUE(synth_->readUntilBytes(9));
        EXPECT_EQ(synth_->receivedBytes(), (Bytes{0x82, 60, 64, 0x82, 64, 64, 0xB2, 64, 0}));
    }
};

TEST_F(ALSAHeldNotes, EndWhenAShortcutSwitchesTheChannel) {
    onMain([this] { model_->setActiveVariant(model_->routes()[0].variants[0].id, model_->routes()[0].id); });
    expectRelease();
    expectNoteAt(*synth_, drums_, {0x94, 60, 100});
}

TEST_F(ALSAHeldNotes, EndWhenTheConnectionIsPaused) {
    onMain([this] { model_->setRouteEnabled(model_->routes()[0].id, false); });
    expectRelease();
}

TEST_F(ALSAHeldNotes, EndWhenTheConnectionIsDeleted) {
    onMain([this] {
        model_->setSelectedRouteID(model_->routes()[0].id);
        model_->deleteSelectedRoute();
    });
    expectRelease();
}

TEST_F(ALSAHeldNotes, EndWhenTheConnectionIsLeftWithItsSet) {
    onMain([this] { model_->selectRouteSet(model_->routeSets()[1].id); });
    expectRelease();
}

TEST_F(ALSAHeldNotes, EndWhenTheKeyboardIsPulledOut) {
    keyboard_.removePort(keys_);
    expectRelease();
}

TEST_F(ALSAHeldNotes, EndFirstWhenEverythingIsSilenced) {
    onMain([this] { model_->allNotesOff(); });
    EXPECT_TRUE(synth_->readUntilBytes(9 + 48 * 3));
    const Bytes received = synth_->receivedBytes();
    const Bytes first(received.begin(), received.begin() + 18);
    EXPECT_EQ(first, (Bytes{0x82, 60, 64, 0x82, 64, 64, 0xB2, 64, 0, 0xB0, 64, 0, 0xB0, 123, 0, 0xB0, 120, 0}));
    const Bytes last(received.end() - 9, received.end());
    EXPECT_EQ(last, (Bytes{0xBF, 64, 0, 0xBF, 123, 0, 0xBF, 120, 0}));
    EXPECT_EQ(received.size(), 9U + 48 * 3);
    // No faster than a cable: 51 messages of 0.96 ms each.
    EXPECT_GE(synth_->received().back().time - synth_->received().front().time, std::chrono::milliseconds(45));
}

TEST_F(ALSARehearsal, SaysThatAConnectionFeedsBackBeforeItIsPlayed) {
    const std::int32_t throughOut = endpointID("source", "Midi Through", 0, "Midi Through Port-0");
    const std::int32_t throughIn = endpointID("destination", "Midi Through", 0, "Midi Through Port-0");
    perform([&](auto& model) { model.connect(keyboardID_, throughIn); }, "Set \"Default\" saved (1 connections)");
    perform([&](auto& model) { model.connect(throughOut, throughIn); }, "This connection feeds back");
    onMain([&] { EXPECT_TRUE(model_->feedbackRouteIDs().contains(model_->routes()[1].id)); });
}

}  // namespace
}  // namespace corvel::tests
