// Playing to another machine through two aseqnet programs, which connect sequencer ports over TCP. Here both are on one
// sequencer: Corvel routes the keyboard to the near end, and the far end to the synth.

#include "tests/program/SequencerProgramFixture.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace corvel::tests {

namespace {

constexpr const char* kNearEnd = "Stage Link";
constexpr const char* kFarEnd = "Hall Link";
/// The name of aseqnet's port.
constexpr const char* kPortName = "Network";
constexpr const char* kTCPPort = "9009";
constexpr unsigned kNotes = 500;

class NetworkLink : public SequencerProgramFixture {
protected:
    NetworkLink()
        : keyboard_("Stage Keyboard"), synth_("Hall Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        file_.add({.sourceID = sourceID("Stage Keyboard"),
                   .destinationID = endpointID("destination", kNearEnd, 0, kPortName)});
        file_.add(
            {.sourceID = endpointID("source", kFarEnd, 0, kPortName), .destinationID = destinationID("Hall Synth")});
    }

    bool hasPort(const std::string& client) {
        const std::vector<SequencerPort> ports = keyboard_.ports();
        return std::ranges::any_of(
            ports, [&](const SequencerPort& port) { return port.clientName == client && port.name == kPortName; });
    }

    template <typename Condition>
    static bool waitFor(Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + kDeadline;
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return condition();
    }

    /// Starts both ends. The one that connects is started again until the other one listens.
    void link() {
        farEnd_.emplace(std::vector<std::string>{"aseqnet", "-n", kFarEnd, "-p", kTCPPort});
        ASSERT_TRUE(waitFor([&] { return hasPort(kFarEnd); })) << farEnd_->standardError();
        ASSERT_TRUE(waitFor([&] {
            if (!nearEnd_ || nearEnd_->wait(std::chrono::milliseconds(0))) {
                nearEnd_.emplace(std::vector<std::string>{"aseqnet", "-n", kNearEnd, "-p", kTCPPort, "localhost"});
            }
            return hasPort(kNearEnd);
        })) << nearEnd_->standardError();
    }

    /// Kills one end, as if the network failed. The other end then exits by itself.
    void cut() {
        nearEnd_->signal(SIGKILL);
        ASSERT_TRUE(farEnd_->wait(kDeadline));
        nearEnd_.reset();
    }

    /// Waits until the program hears the far end again.
    bool waitUntilLinked() {
        return waitUntil(
            [&] { return hasPort(kFarEnd) && !keyboard_.subscribers(keyboard_.find(kFarEnd, kPortName)).empty(); });
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
    std::optional<ChildProcess> farEnd_;
    std::optional<ChildProcess> nearEnd_;
};

TEST_F(NetworkLink, CarriesEveryNoteInOrder) {
    ASSERT_NO_FATAL_FAILURE(link());
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilLinked());
    std::vector<double> delays;
    for (unsigned number = 0; number < kNotes; ++number) {
        const auto start = std::chrono::steady_clock::now();
        keyboard_.play(keys_, SequencerPeer::numberedNote(number));
        ASSERT_TRUE(synth_.readUntilCount(number + 1)) << "note " << number << " of " << kNotes << " is lost";
        delays.push_back(std::chrono::duration<double, std::milli>(synth_.received().back().time - start).count());
    }
    expectNumberedNotes(synth_, kNotes);
    std::ranges::sort(delays);
    std::printf("through two machines' ends: %u notes, 0 lost, median %.2f ms, slowest %.2f ms\n", kNotes,
                delays[delays.size() / 2], delays.back());
    terminate();
}

TEST_F(NetworkLink, ThatIsCutEndsHeldNotesAndIsFoundAgainByName) {
    releaseHeldNotes();
    ASSERT_NO_FATAL_FAILURE(link());
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilLinked());
    keyboard_.play(keys_, {0x90, 60, 100});
    keyboard_.play(keys_, {0x90, 67, 100});
    ASSERT_TRUE(synth_.readUntilCount(2));
    synth_.forgetReceived();

    ASSERT_NO_FATAL_FAILURE(cut());
    ASSERT_TRUE(synth_.readUntilCount(2));
    EXPECT_EQ(synth_.receivedBytes(), (Bytes{0x80, 60, 64, 0x80, 67, 64}));
    synth_.forgetReceived();

    ASSERT_NO_FATAL_FAILURE(link());
    ASSERT_TRUE(waitUntilLinked());
    // The near end may be found a moment after the far end.
    ASSERT_TRUE(waitFor([&] {
        keyboard_.play(keys_, {0x90, 62, 100});
        synth_.readWaiting();
        return !synth_.received().empty();
    }));
    EXPECT_EQ(synth_.received().front().bytes, (Bytes{0x90, 62, 100}));
    terminate();
}

}  // namespace

}  // namespace corvel::tests
