// More messages than any router can deliver: to receivers that are slow, stop reading or leave, and in connections that
// feed back.

#include "tests/proof/ProofFixture.hpp"
#include "tests/support/SequencerFlood.hpp"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <memory>
#include <optional>
#include <thread>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr seconds kLeastDuration{4};
constexpr long kMaxMemoryKiB = 150 * 1024;
constexpr milliseconds kMaxAnswer{1'000};
constexpr milliseconds kAsBefore{1'000};
constexpr milliseconds kLife{300};
const Bytes kMark{0xFB};

class FloodProof : public ProofFixture {
protected:
    FloodProof() {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(kMaxPool);
        connect("Stage Keyboard", "Stage Synth");
    }

    /// Asks the running program every 200 ms on a thread of its own while the test floods it.
    class Questions {
    public:
        explicit Questions(const FloodProof& proof) : thread_([this, &proof] { run(proof); }) {}
        Questions(const Questions&) = delete;
        Questions& operator=(const Questions&) = delete;
        ~Questions() { end(); }
        void end() {
            isToEnd_ = true;
            if (thread_.joinable()) {
                thread_.join();
            }
        }
        void reportAnswers(const std::string& during) {
            end();
            report("Commands are answered within 1 s during " + during, asked_, prompt_,
                   "slowest " + std::to_string(slowest_.count()) + " ms, in second " +
                       std::to_string(slowestAt_.count()) +
                       (firstLateAt_ ? "; first late one in second " + std::to_string(firstLateAt_->count()) : ""));
        }

    private:
        void run(const FloodProof& proof) {
            const auto begin = steady_clock::now();
            while (!isToEnd_) {
                const auto at = std::chrono::duration_cast<seconds>(steady_clock::now() - begin);
                const TimedAnswer answer = proof.ask({"--sets"});
                const bool isPrompt = answer.exitCode == 0 && answer.duration <= limit(kMaxAnswer);
                if (!isPrompt && !firstLateAt_) {
                    firstLateAt_ = at;
                }
                if (answer.duration > slowest_) {
                    slowest_ = answer.duration;
                    slowestAt_ = at;
                }
                ++asked_;
                prompt_ += isPrompt ? 1 : 0;
                std::this_thread::sleep_for(milliseconds(200));
            }
        }

        std::atomic<bool> isToEnd_ = false;
        unsigned asked_ = 0;
        unsigned prompt_ = 0;
        milliseconds slowest_{0};
        seconds slowestAt_{0};
        std::optional<seconds> firstLateAt_;
        std::thread thread_;
    };

    void watchMemory() {
        static_cast<void>(corvel_->standardError());
        maxMemoryKiB_ = std::max(maxMemoryKiB_, corvel_->memoryKiB("VmRSS"));
    }

    void reportMemory(const std::string& during) const {
        report("Memory stays below 150 MB during " + during, 1, maxMemoryKiB_ < kMaxMemoryKiB ? 1 : 0,
               "at most " + std::to_string(maxMemoryKiB_ / 1024) + " MB");
    }

    /// Plays a mark on the keyboard after the flood, and reports the time until it arrives at the synth.
    void reportAsBefore(const std::string& after) {
        const auto before = steady_clock::now();
        snd_seq_event_t mark{};
        mark.type = SND_SEQ_EVENT_CONTINUE;
        const auto isMark = [](const ReceivedEvent& event) { return event.bytes == kMark; };
        const bool isThere = synth_.readUntil([&] {
            // The sequencer refuses the mark until the router has read the rest of the flood.
            keyboard_.emit(keys_, mark);
            return std::any_of(synth_.received().begin(), synth_.received().end(), isMark);
        });
        const auto taken = steady_clock::now() - before;
        report("Everything is as before within 1 s after " + after, 1, isThere && taken <= limit(kAsBefore) ? 1 : 0,
               std::to_string(taken / milliseconds(1)) + " ms");
    }

    SequencerPeer keyboard_{"Stage Keyboard"};
    const SequencerAddress keys_ = keyboard_.addPort("Out", SequencerPeer::kSource);
    SequencerPeer synth_{"Stage Synth"};
    long maxMemoryKiB_ = 0;
};

TEST_F(FloodProof, ReceiversThatAreSlowStoppedKilledOrGoneLeaveTheOthersTheirNotes) {
    const auto duration = kLeastDuration * scale();
    // A process of its own can be stopped and killed. Its output shows when its port exists.
    ChildProcess stopped({"stdbuf", "-oL", "aseqdump"});
    ASSERT_TRUE(stopped.waitForOutput("Waiting for data", kDeadline));
    stopped.signal(SIGSTOP);
    SequencerPeer slow("Slow Synth");
    slow.addPort("In", SequencerPeer::kDestination);
    slow.setReadingPace(milliseconds(1));
    std::vector<std::unique_ptr<SequencerFlood>> floods;
    for (const std::string name : {"Flood 1", "Flood 2", "Flood 3", "Flood 4"}) {
        floods.push_back(std::make_unique<SequencerFlood>(name));
        for (const char* receiver : {"Stage Synth", "Slow Synth", "Guest Synth"}) {
            connect(name, receiver);
        }
        file_.add({.sourceID = sourceID(name), .destinationID = endpointID("destination", "aseqdump", 0, "aseqdump")});
    }
    ASSERT_NO_FATAL_FAILURE(start());
    for (const auto& flood : floods) {
        ASSERT_TRUE(waitUntilHeard(flood->peer(), flood->port()));
        flood->begin();
    }
    Questions questions(*this);
    // Without this pace one read would not end before the flood.
    synth_.setReadingPace(milliseconds(1));
    std::optional<SequencerPeer> guest;
    std::size_t arrived = 0;
    auto change = steady_clock::now();
    for (const auto begin = change; steady_clock::now() - begin < duration;) {
        if (steady_clock::now() - begin > duration / 2) {
            stopped.signal(SIGKILL);
        }
        synth_.readWaiting();
        arrived += synth_.received().size();
        synth_.forgetReceived();
        slow.readWaiting();
        slow.forgetReceived();
        watchMemory();
        if (steady_clock::now() - change > kLife) {
            change = steady_clock::now();
            if (guest) {
                guest.reset();
            } else {
                guest.emplace("Guest Synth");
                guest->addPort("In", SequencerPeer::kDestination);
            }
        }
    }
    questions.reportAnswers("a flood");
    for (const auto& flood : floods) {
        flood->end();
    }
    reportMemory("a flood");
    report("A receiver that reads gets notes during a flood", 1, arrived > 0 ? 1 : 0, std::to_string(arrived));
    synth_.setReadingPace(milliseconds(0));
    reportAsBefore("a flood");
    terminate();
}

class LoopProof : public FloodProof {
protected:
    /// Plays one note into this many connections from the kernel's through port to itself, where it circulates.
    void circulate(unsigned connections) {
        const auto duration = kLeastDuration * scale();
        const std::string through = "Midi Through Port-0";
        const std::int32_t source = endpointID("source", "Midi Through", 0, through);
        const std::int32_t destination = endpointID("destination", "Midi Through", 0, through);
        for (unsigned count = 0; count < connections; ++count) {
            file_.add({.sourceID = source, .destinationID = destination});
        }
        ASSERT_NO_FATAL_FAILURE(start());
        ASSERT_TRUE(waitUntilHeard(keyboard_, keys_));
        const SequencerAddress port = keyboard_.find("Midi Through", through);
        ASSERT_TRUE(waitUntilHeard(keyboard_, port));
        ASSERT_GE(keyboard_.emitTo(keys_, port, noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100)), 0);
        const std::string during = "a loop of " + std::to_string(connections);
        Questions questions(*this);
        for (const auto begin = steady_clock::now(); steady_clock::now() - begin < duration;) {
            synth_.readWaiting();
            watchMemory();
            std::this_thread::sleep_for(milliseconds(50));
        }
        questions.reportAnswers(during);
        reportMemory(during);
        // The command deletes every connection between the two.
        const TimedAnswer answer = ask({"--disconnect", std::to_string(source), std::to_string(destination)});
        report("The connections of " + during + " can be deleted within 1 s", 1,
               answer.exitCode == 0 && answer.duration <= limit(kMaxAnswer) ? 1 : 0,
               std::to_string(answer.duration.count()) + " ms");
        reportAsBefore(during);
        terminate();
    }
};

TEST_F(LoopProof, ANoteInACircleLeavesTheProgramInTheUsersHands) {
    circulate(1);
}

TEST_F(LoopProof, ANoteThatMultipliesInEightCirclesLeavesTheProgramInTheUsersHands) {
    circulate(8);
}

}  // namespace

}  // namespace corvel::tests
