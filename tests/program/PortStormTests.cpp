// Programs that open and close many ports at once: messages between ports that do not change are neither lost nor
// delayed, and changes that the router reads together are one change of the setup.

#include "tests/program/SequencerProgramFixture.hpp"

#include <algorithm>
#include <optional>

namespace corvel::tests {

namespace {

using std::chrono::steady_clock;

constexpr unsigned kPorts = 64;
constexpr const char* kImmediate = "Endpoint reload (notification immediate)";
constexpr const char* kSettled = "Endpoint reload (notification settled)";

class PortStorm : public SequencerProgramFixture {
protected:
    PortStorm()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kMaxPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    static SequencerAddress addPort(SequencerPeer& peer, unsigned number) {
        return peer.addPort("Port " + std::to_string(number), SequencerPeer::kDuplex);
    }

    void playNote(unsigned number) { keyboard_.playNumberedNotes(keys_, number, 1); }

    /// Waits for the settled reload after the first `before` ones.
    void waitUntilSettled(std::size_t before) {
        ASSERT_TRUE(waitUntil([&] { return errorLines(kSettled).size() > before; })) << corvel_->standardError();
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
};

TEST_F(PortStorm, LosesAndReordersNoNoteOfOthers) {
    constexpr unsigned kRounds = 4;
    constexpr unsigned kAhead = 50;
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
    unsigned played = 0;
    // Plays a note for each port that is opened or closed.
    const auto playNext = [&] {
        playNote(played++);
        ASSERT_TRUE(synth_.readUntil([&] { return synth_.received().size() + kAhead >= played; }))
            << synth_.received().size() << " of " << played;
    };
    for (unsigned round = 0; round < kRounds; ++round) {
        SequencerPeer rack("Rack");
        std::vector<SequencerAddress> ports;
        for (unsigned number = 0; number < kPorts; ++number) {
            ports.push_back(addPort(rack, number));
            ASSERT_NO_FATAL_FAILURE(playNext());
        }
        for (const SequencerAddress port : ports) {
            rack.removePort(port);
            ASSERT_NO_FATAL_FAILURE(playNext());
        }
    }
    ASSERT_TRUE(synth_.readUntilCount(played)) << synth_.received().size() << " of " << played;
    expectNumberedNotes(synth_, kRounds * kPorts * 2);
    EXPECT_EQ(synth_.overruns(), 0U);
    terminate();
}

TEST_F(PortStorm, ThatIsReadTogetherIsOneChangeOfTheSetup) {
    // One, plus those that a busy machine may cause by delaying reads.
    constexpr std::size_t kMaxReloads = 4;
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    std::optional<SequencerPeer> rack("Rack");
    std::size_t settled = errorLines(kSettled).size();
    std::size_t immediate = errorLines(kImmediate).size();
    const int connectionsBefore = reloads().back().connections;

    ASSERT_NO_FATAL_FAILURE(halt());
    for (unsigned number = 0; number < kPorts; ++number) {
        addPort(*rack, number);
    }
    resume();
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled(settled));
    EXPECT_LE(errorLines(kImmediate).size() - immediate, kMaxReloads);
    EXPECT_GE(errorLines(kImmediate).size() - immediate, 1U);
    EXPECT_EQ(reloads().back().connections, connectionsBefore + static_cast<int>(kPorts));

    settled = errorLines(kSettled).size();
    immediate = errorLines(kImmediate).size();
    ASSERT_NO_FATAL_FAILURE(halt());
    rack.reset();
    resume();
    ASSERT_NO_FATAL_FAILURE(waitUntilSettled(settled));
    EXPECT_LE(errorLines(kImmediate).size() - immediate, kMaxReloads);
    EXPECT_GE(errorLines(kImmediate).size() - immediate, 1U);
    EXPECT_EQ(reloads().back().connections, connectionsBefore);
    terminate();
}

TEST_F(PortStorm, ThatIsReadTogetherWithANoteHoldsTheNoteUpForNothing) {
    // The program that opens the ports also receives the notes, so that its input shows what the router did first: the
    // sequencer sends it an announcement for each of its ports that the router connects.
    SequencerPeer rack("Rack");
    rack.addPort("In", SequencerPeer::kDestination);
    rack.setInputPool(kMaxPool);
    connect("Stage Keyboard", "Rack");
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(plugAndSettle());
    rack.readWaiting();
    rack.forgetReceived();

    ASSERT_NO_FATAL_FAILURE(halt());
    for (unsigned number = 0; number < kPorts; ++number) {
        // The sequencer announces connections only to a port that can be written to.
        rack.addPort("Port " + std::to_string(number), SequencerPeer::kSource | SND_SEQ_PORT_CAP_WRITE);
    }
    playNote(0);
    resume();
    const auto isConnection = [](const ReceivedEvent& event) { return event.type == SND_SEQ_EVENT_PORT_SUBSCRIBED; };
    ASSERT_TRUE(rack.readUntil([&] {
        const auto& events = rack.received();
        return std::count_if(events.begin(), events.end(), isConnection) == kPorts && events.size() == kPorts + 1;
    })) << rack.received().size();
    const auto& events = rack.received();
    const auto note = std::find_if_not(events.begin(), events.end(), isConnection);
    EXPECT_EQ(note->bytes, SequencerPeer::numberedNote(0));
    EXPECT_EQ(note - events.begin(), 0) << "connections made before the note";
    terminate();
}

TEST_F(PortStorm, OfTwoHundredAndFiftyPortsHoldsNoNoteUpForLong) {
    constexpr unsigned kRounds = 2;
    constexpr unsigned kManyPorts = 250;
    constexpr unsigned kNotes = kRounds * kManyPorts * 2;
    // Takes milliseconds on an idle machine, and seconds if each port causes a reload for which the notes wait.
    constexpr std::chrono::milliseconds kLimit{500};
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
    SequencerPeer rack("Rack");
    std::vector<steady_clock::time_point> played;
    // A note and a port each millisecond.
    for (auto next = steady_clock::now(); played.size() < kNotes; next += std::chrono::milliseconds(1)) {
        const auto number = static_cast<unsigned>(played.size());
        if (number / kManyPorts % 2 == 0) {
            addPort(rack, number % kManyPorts);
        } else {
            rack.removePort({rack.client(), static_cast<int>(number % kManyPorts)});
        }
        played.push_back(steady_clock::now());
        playNote(number);
        ASSERT_TRUE(synth_.readUntil([&] {
            return steady_clock::now() >= next && synth_.received().size() + kEventsAhead / 2 > played.size();
        }));
    }
    ASSERT_TRUE(synth_.readUntilCount(kNotes)) << synth_.received().size() << " of " << kNotes;
    expectNumberedNotes(synth_, kNotes);
    std::chrono::nanoseconds slowest{0};
    for (std::size_t number = 0; number < kNotes; ++number) {
        slowest = std::max<std::chrono::nanoseconds>(slowest, synth_.received()[number].time - played[number]);
    }
    RecordProperty("slowest_us", std::to_string(slowest / std::chrono::microseconds(1)));
    EXPECT_LT(slowest / std::chrono::milliseconds(1), kLimit.count());
    terminate();
}

TEST_F(PortStorm, IsNoticedPortByPortWhenEachComesOrGoesWhileTheLastIsBeingTakenIn) {
    ASSERT_NO_FATAL_FAILURE(start());
    for (int run = 0; run < runs(); ++run) {
        SCOPED_TRACE(run);
        // The program is still examining the settled setup when the next change comes.
        ASSERT_NO_FATAL_FAILURE(plugAndSettle());
        if (visitor_) {
            ASSERT_TRUE(waitUntilHeard(*visitor_, {visitor_->client(), 0}));
        }
    }
    terminate();
}

}  // namespace

}  // namespace corvel::tests
