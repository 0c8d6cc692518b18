// Commands that reach a router while programs play as fast as they can: they are carried out, and take effect, as soon
// as on a quiet stage.

#include "tests/program/SequencerProgramFixture.hpp"
#include "tests/support/SequencerFlood.hpp"

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class FloodedCommand : public SequencerProgramFixture {
protected:
    static std::string setJSON(const std::string& digit, const std::string& name, const std::string& destination) {
        const std::string id = "00000000-0000-4000-8000-00000000000";
        return R"({"id": ")" + id + digit + R"(", "name": ")" + name + R"(", "routes": [{"id": ")" + id + "A" +
               R"(", "sourceID": )" + std::to_string(sourceID("Flooder")) + R"(, "destinationID": )" +
               std::to_string(destinationID(destination)) + R"(, "isEnabled": true, "channelMode": {"asIs": {}}}]})";
    }
};

TEST_F(FloodedCommand, ToChangeTheSetTakesEffectInTheMiddleOfTheFlood) {
    constexpr std::chrono::seconds kFlood{2};
    // Far above the second that it may take on a machine that does nothing else.
    constexpr std::chrono::seconds kPrompt{4};
    writeFile(document(), R"({"selectedSetID": "00000000-0000-4000-8000-000000000001", "routeSets": [)" +
                              setJSON("1", "First", "First Synth") + ", " + setJSON("2", "Second", "Second Synth") +
                              "]}");
    SequencerPeer first("First Synth");
    SequencerPeer second("Second Synth");
    for (SequencerPeer* peer : {&first, &second}) {
        peer->addPort("In", SequencerPeer::kDestination);
        peer->setInputPool(kLargestPool);
    }
    SequencerFlood flooder("Flooder");
    ASSERT_NO_FATAL_FAILURE(startOnDocument());
    ASSERT_TRUE(waitUntilHeard(flooder.peer(), flooder.port()));

    flooder.begin();
    const auto takeNotes = [&](SequencerPeer& peer) {
        peer.readWaiting();
        const bool hasNotes = !peer.received().empty();
        peer.forgetReceived();
        return hasNotes;
    };
    const auto begin = steady_clock::now();
    ASSERT_TRUE(waitUntil([&] { return takeNotes(first); }));
    EXPECT_FALSE(takeNotes(second));
    ChildProcess change = command({"--set", "Second"});
    const auto changed = steady_clock::now();
    steady_clock::time_point answered;
    steady_clock::time_point heard;
    // The flood goes on until both are seen, and for its time at least.
    while ((answered == steady_clock::time_point{} || heard == steady_clock::time_point{} ||
            steady_clock::now() - begin < kFlood) &&
           steady_clock::now() - begin < kDeadline) {
        takeNotes(first);
        if (takeNotes(second) && heard == steady_clock::time_point{}) {
            heard = steady_clock::now();
        }
        if (answered == steady_clock::time_point{} && change.wait(milliseconds(0))) {
            answered = steady_clock::now();
        }
        static_cast<void>(corvel_->standardError());
    }
    flooder.end();
    ASSERT_NE(answered, steady_clock::time_point{}) << "the command is not answered";
    EXPECT_EQ(change.wait(milliseconds(0)), 0) << change.standardError();
    ASSERT_NE(heard, steady_clock::time_point{}) << "the other set has no effect";
    EXPECT_LT(answered - changed, kPrompt);
    EXPECT_LT(heard - changed, kPrompt);
    RecordProperty("answered_ms", std::to_string((answered - changed) / milliseconds(1)));
    RecordProperty("heard_ms", std::to_string((heard - changed) / milliseconds(1)));

    // Once what was on its way has arrived, the old set's receiver gets nothing more.
    ASSERT_TRUE(waitUntil([&] { return !takeNotes(second); }));
    takeNotes(first);
    flooder.begin();
    ASSERT_TRUE(waitUntil([&] { return takeNotes(second); }));
    flooder.end();
    EXPECT_FALSE(takeNotes(first));
    terminate();
}

}  // namespace

}  // namespace corvel::tests
