// Connections between the sequencer's ports and a JACK server's.

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/support/JackPeer.hpp"
#include "tests/support/JackServer.hpp"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace corvel::tests {

namespace {

using namespace std::chrono_literals;

class TwoServices : public SequencerProgramFixture {
protected:
    static constexpr std::size_t kCapacity = 20'000;

    TwoServices() : keyboard_("Stage Keyboard"), synth_("Stage Synth") {
        services_ = "alsa,jack";
        keys_ = keyboard_.addPort("Out", SequencerPeer::kSource);
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kMaxPool);
        server_.start();
        plugin_ = std::make_unique<JackPeer>("plugin", kCapacity);
        file_.write(document());
    }

    /// Adds a connection to the document while no program runs on it.
    void connectByName(const std::string& source, const std::string& destination, int channel) {
        ChildProcess process(
            command({"--midi", services_, "--connect", source, destination, "--channel", std::to_string(channel)}));
        ASSERT_EQ(process.wait(kDeadline), 0) << process.standardError();
    }

    /// Plays to the plug-in until the first message arrives there: the server connects ports a moment later.
    [[nodiscard]] bool waitForPlugin() {
        return waitUntil([this] {
            keyboard_.play(keys_, {0xB0, 20, 1});
            std::this_thread::sleep_for(50ms);
            return plugin_->arrivedCount() > 0;
        });
    }

    JackServer server_;
    std::unique_ptr<JackPeer> plugin_;
    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
};

TEST_F(TwoServices, AreConnectedInBothDirectionsEachOnItsChannel) {
    ASSERT_NO_FATAL_FAILURE(connectByName("Stage Keyboard Out", "plugin", 2));
    ASSERT_NO_FATAL_FAILURE(connectByName("plugin", "Stage Synth In", 3));
    ASSERT_NO_FATAL_FAILURE(startOnDocument());
    ASSERT_TRUE(waitForPlugin()) << corvel_->standardError();
    std::this_thread::sleep_for(200ms);
    const std::size_t before = plugin_->arrivedCount();
    constexpr unsigned kNotes = 500;
    keyboard_.playNumberedNotes(keys_, 0, kNotes);
    ASSERT_TRUE(waitUntil([&] { return plugin_->arrivedCount() >= before + kNotes; }));
    for (unsigned number = 0; number < kNotes; ++number) {
        const auto note = SequencerPeer::numberedNote(number);
        const JackPeer::Arrival& arrival = plugin_->arrival(before + number);
        ASSERT_EQ(arrival.status, 0x91) << "note " << number;
        ASSERT_EQ(arrival.number, static_cast<std::uint32_t>(note[1] | note[2] << 7)) << "note " << number;
    }

    constexpr std::uint32_t kBends = 500;
    const std::uint32_t first = plugin_->playedCount();
    plugin_->play(kBends, 10);
    ASSERT_TRUE(synth_.readUntilCount(kBends));
    for (std::uint32_t index = 0; index < kBends; ++index) {
        const std::uint32_t value = first + index;
        ASSERT_EQ(synth_.received()[index].bytes,
                  (Bytes{0xE2, static_cast<std::uint8_t>(value % 128), static_cast<std::uint8_t>(value / 128)}));
    }
    terminate();
}

TEST_F(TwoServices, AreSeparateEnoughThatTheEndOfOneCostsTheOtherNothing) {
    connect("Stage Keyboard", "Stage Synth");
    file_.write(document());
    ASSERT_NO_FATAL_FAILURE(connectByName("Stage Keyboard Out", "plugin", 2));
    ASSERT_NO_FATAL_FAILURE(startOnDocument());
    ASSERT_TRUE(waitForPlugin()) << corvel_->standardError();
    ASSERT_TRUE(synth_.readUntilCount(1));
    synth_.forgetReceived();

    constexpr unsigned kNotes = 20'000;
    constexpr unsigned kBatch = 100;
    playInBatches(keyboard_, keys_, synth_, 0, kNotes, kBatch, [this](unsigned played) {
        if (played == kNotes / 4) {
            server_.kill();
        } else if (played == kNotes / 2) {
            plugin_.reset();
            server_.start();
            plugin_ = std::make_unique<JackPeer>("plugin", kCapacity);
        }
    });
    ASSERT_TRUE(synth_.readUntilCount(kNotes));
    expectNumberedNotes(synth_, kNotes);
    EXPECT_TRUE(waitForPlugin()) << "the connection works again\n" << corvel_->standardError();
    terminate();
}

}  // namespace

}  // namespace corvel::tests
