// Programs that create a port first and name themselves afterwards: the router sees "Client-129" and receives no
// announcement of the name. Their ports still get the IDs that they have if the name comes first.

#include "tests/program/SequencerProgramFixture.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

namespace corvel::tests {

namespace {

using testing::HasSubstr;
using testing::Not;

class ProvisionalIdentity : public SequencerProgramFixture {
protected:
    ProvisionalIdentity()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
    }

    /// A program with the sequencer's default name, and one port.
    static std::unique_ptr<SequencerPeer> unnamed(const std::string& port, unsigned capability) {
        auto peer = std::make_unique<SequencerPeer>("new");
        peer->rename("Client-" + std::to_string(peer->client()));
        peer->addPort(port, capability);
        return peer;
    }

    /// Starts a program that names itself after the router has seen its port. The name is set before a settled reload.
    std::unique_ptr<SequencerPeer> enterWithALateName(const std::string& name, const std::string& port) {
        // Both directions, so that the router's connection shows when it has seen the port.
        auto peer = unnamed(port, SequencerPeer::kDuplex);
        EXPECT_TRUE(waitUntilHeard(*peer, {peer->client(), 0})) << corvel_->standardError();
        peer->rename(name);
        plugAndSettle();
        return peer;
    }

    /// Plays a note of its own until it arrives; false after the deadline.
    [[nodiscard]] bool isRouted(SequencerPeer& from, SequencerPeer& to) {
        const Bytes note{0x90, nextKey_++, 100};
        return to.readUntil(
            [&] {
                from.play({from.client(), 0}, note);
                return std::any_of(to.received().begin(), to.received().end(),
                                   [&](const ReceivedEvent& event) { return event.bytes == note; });
            },
            std::chrono::seconds(5));
    }

    std::uint8_t nextKey_ = 1;
    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
};

TEST_F(ProvisionalIdentity, OfASourceBecomesThatOfItsName) {
    connect("Late Keyboard", "Stage Synth");
    ASSERT_NO_FATAL_FAILURE(start());
    for (int visit = 0; visit < 2; ++visit) {
        const auto late = enterWithALateName("Late Keyboard", "Out");
        ASSERT_TRUE(isRouted(*late, synth_)) << "visit " << visit;
    }
    auto prompt = std::make_unique<SequencerPeer>("Late Keyboard");
    prompt->addPort("Out", SequencerPeer::kDuplex);
    EXPECT_TRUE(isRouted(*prompt, synth_)) << "named before its port";
    terminate();
}

TEST_F(ProvisionalIdentity, OfADestinationBecomesThatOfItsName) {
    connect("Stage Keyboard", "Late Synth");
    ASSERT_NO_FATAL_FAILURE(start());
    for (int visit = 0; visit < 2; ++visit) {
        const auto late = enterWithALateName("Late Synth", "In");
        ASSERT_TRUE(isRouted(keyboard_, *late)) << "visit " << visit;
    }
    terminate();
}

TEST_F(ProvisionalIdentity, IsNotWhatANewConnectionIsSavedWith) {
    ASSERT_NO_FATAL_FAILURE(start());
    auto late = enterWithALateName("Late Keyboard", "Out");
    const std::string temporary = "Client-" + std::to_string(late->client());
    ChildProcess connection(command({"--connect", "Late Keyboard Out", "Stage Synth In"}));
    ASSERT_EQ(connection.wait(kDeadline), 0) << connection.standardOutput() << connection.standardError();
    const std::string saved = readFile(document());
    EXPECT_THAT(saved, HasSubstr(std::to_string(sourceID("Late Keyboard"))));
    EXPECT_THAT(saved, Not(HasSubstr(std::to_string(sourceID(temporary)))));
    EXPECT_THAT(saved, Not(HasSubstr(temporary)));
    EXPECT_TRUE(isRouted(*late, synth_));

    // Another program has its number when it returns.
    const int number = late->client();
    late.reset();
    const auto others = startUntilClient("Other Program", number);
    late = enterWithALateName("Late Keyboard", "Out");
    ASSERT_NE(late->client(), number);
    EXPECT_TRUE(isRouted(*late, synth_)) << "after its restart";
    EXPECT_EQ(readFile(document()), saved);
    terminate();
}

}  // namespace

}  // namespace corvel::tests
