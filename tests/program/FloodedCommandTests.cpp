// Commands that reach a router while programs play more than it can send: they are carried out, and take effect, as
// fast as without a flood.

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/support/SequencerFlood.hpp"

#include <array>
#include <sstream>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class FloodedCommand : public SequencerProgramFixture {
protected:
    /// If nothing arrives for this time, nothing is being sent any more.
    static constexpr milliseconds kSilence{500};
    static constexpr std::array<const char*, 4> kFlooders{"Flooder 1", "Flooder 2", "Flooder 3", "Flooder 4"};

    /// A set, given by its digit and its name, that connects each flooder to the destination.
    static std::string setJSON(char digit, const std::string& name, const std::string& destination) {
        const std::string id = "00000000-0000-4000-8000-0000000000";
        std::ostringstream text;
        text << R"({"id": ")" << id << '0' << digit << R"(", "name": ")" << name << R"(", "routes": [)";
        for (std::size_t index = 0; index < kFlooders.size(); ++index) {
            text << (index == 0 ? "" : ", ") << R"({"id": ")" << id << index + 1 << digit << R"(", "sourceID": )"
                 << sourceID(kFlooders[index]) << R"(, "destinationID": )" << destinationID(destination)
                 << R"(, "isEnabled": true, "channelMode": {"asIs": {}}})";
        }
        text << "]}";
        return text.str();
    }
};

TEST_F(FloodedCommand, ToChangeTheSetTakesEffectInTheMiddleOfTheFlood) {
    constexpr std::chrono::seconds kFlood{2};
    writeFile(document(), R"({"selectedSetID": "00000000-0000-4000-8000-000000000001", "routeSets": [)" +
                              setJSON('1', "First", "First Synth") + ", " + setJSON('2', "Second", "Second Synth") +
                              "]}");
    SequencerPeer first("First Synth");
    SequencerPeer second("Second Synth");
    for (SequencerPeer* peer : {&first, &second}) {
        peer->addPort("In", SequencerPeer::kDestination);
        peer->setInputPool(kMaxPool);
        // Without this pace one read would last as long as the flood.
        peer->setReadingPace(milliseconds(1));
    }
    std::array<SequencerFlood, kFlooders.size()> flooders{SequencerFlood(kFlooders[0]), SequencerFlood(kFlooders[1]),
                                                          SequencerFlood(kFlooders[2]), SequencerFlood(kFlooders[3])};
    ASSERT_NO_FATAL_FAILURE(startOnDocument());
    for (SequencerFlood& flooder : flooders) {
        ASSERT_TRUE(waitUntilHeard(flooder.peer(), flooder.port()));
    }
    for (SequencerFlood& flooder : flooders) {
        flooder.begin();
    }
    const auto takeNotes = [&](SequencerPeer& peer) {
        peer.readWaiting();
        const bool hasNotes = !peer.received().empty();
        peer.forgetReceived();
        return hasNotes;
    };
    ASSERT_TRUE(waitUntil([&] { return takeNotes(first); }));
    EXPECT_FALSE(takeNotes(second));

    TimedCommand alone(command({"--help"}));
    ASSERT_TRUE(waitUntil([&] {
        takeNotes(first);
        return alone.hasEnded();
    }));
    TimedCommand change(command({"--set", "Second"}));
    std::optional<milliseconds> heard;
    const auto end = steady_clock::now() + kFlood;
    // The flood goes on until both have been seen, and for its minimum time.
    EXPECT_TRUE(waitUntil([&] {
        takeNotes(first);
        if (takeNotes(second) && !heard) {
            heard = change.duration();
        }
        return change.hasEnded() && heard && steady_clock::now() > end;
    }));
    for (SequencerFlood& flooder : flooders) {
        flooder.end();
    }
    ASSERT_TRUE(change.hasEnded()) << "the command is not answered";
    EXPECT_EQ(change.process().wait(milliseconds(0)), 0) << change.process().standardError();
    ASSERT_TRUE(heard) << "the other set has no effect";
    RecordProperty("alone_ms", std::to_string(alone.duration().count()));
    RecordProperty("answered_ms", std::to_string(change.duration().count()));
    RecordProperty("heard_ms", std::to_string(heard->count()));
    EXPECT_LT(change.duration().count(), promptLimit(alone).count());
    EXPECT_LT(heard->count(), promptLimit(alone).count());

    // Messages routed before the change are still waiting for the receivers. Once all of them have arrived, the old
    // set's receiver gets nothing more.
    auto lastNote = steady_clock::now();
    ASSERT_TRUE(waitUntil([&] {
        const bool hasFirst = takeNotes(first);
        if (takeNotes(second) || hasFirst) {
            lastNote = steady_clock::now();
        }
        return steady_clock::now() - lastNote > kSilence;
    }));
    flooders.front().begin();
    ASSERT_TRUE(waitUntil([&] { return takeNotes(second); }));
    flooders.front().end();
    EXPECT_FALSE(takeNotes(first));
    terminate();
}

}  // namespace

}  // namespace corvel::tests
