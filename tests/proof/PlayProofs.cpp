// Ordinary play for a long time: clock, notes and controllers of 32 devices with the window shown, while devices come
// and go and the performer changes sets.

#include "tests/proof/ProofFixture.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <thread>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr int kDevices = 32;
constexpr unsigned kRate = 2'000;
constexpr seconds kLeastDuration{10};
constexpr seconds kWholeWarmUp{60};
constexpr milliseconds kMaxAbsence{50};
constexpr long kMaxGrowthKiB = 1024;
/// The limit for a shorter run: in its first minute the window still allocates memory that it keeps.
constexpr long kMaxEarlyGrowthKiB = 8192;

/// The message of a device with this number: clock, controllers and notes in turn.
Bytes messageOf(unsigned number) {
    switch (number % 4) {
        case 0:
            return {0xF8};
        case 1:
            return {0xB0, 1, static_cast<std::uint8_t>(number / 4 % 128)};
        default:
            return SequencerPeer::numberedNote(number);
    }
}

class PlayProof : public ProofFixture {
protected:
    PlayProof() : rig_("Stage Rig"), rack_("Stage Rack") {
        rack_.setInputPool(kMaxPool);
        for (int device = 0; device < kDevices; ++device) {
            const std::string name = "Part " + std::to_string(device);
            outputs_.push_back(rig_.addPort(name, SequencerPeer::kSource));
            rack_.addPort(name, SequencerPeer::kDestination);
            file_.add({.sourceID = endpointID("source", "Stage Rig", device, name),
                       .destinationID = endpointID("destination", "Stage Rack", device, name)});
        }
    }

    /// Two sets with the same connections, so that a change of sets must not cost a note.
    void writeTwoSets() const {
        nlohmann::json both = nlohmann::json::parse(file_.json());
        nlohmann::json other = both["routeSets"][0];
        other["id"] = "BBBBBBBB-0000-4000-8000-000000000000";
        other["name"] = "Encore";
        both["routeSets"].push_back(other);
        std::ofstream(document()) << both.dump();
    }

    void check() {
        for (const ReceivedEvent& event : rack_.received()) {
            const auto device = static_cast<std::size_t>(event.port);
            if (event.bytes == messageOf(arrived_.at(device))) {
                ++arrived_.at(device);
                ++inPlace_;
            } else {
                ++others_;
            }
        }
        rack_.forgetReceived();
    }

    SequencerPeer rig_;
    SequencerPeer rack_;
    std::vector<SequencerAddress> outputs_;
    std::array<unsigned, kDevices> arrived_{};
    unsigned inPlace_ = 0;
    unsigned others_ = 0;
};

TEST_F(PlayProof, AShowWithTheWindowOpenLosesNothingAndKeepsItsMemory) {
    const auto duration = kLeastDuration * scale();
    const auto warmUp = std::min<seconds>(kWholeWarmUp, duration / 2);
    writeTwoSets();
    ASSERT_NO_FATAL_FAILURE(startWindow());
    for (const SequencerAddress output : outputs_) {
        ASSERT_TRUE(waitUntilHeard(rig_, output));
    }
    std::atomic<bool> isToEnd = false;
    unsigned answers = 0;
    unsigned prompt = 0;
    unsigned switches = 0;
    unsigned switched = 0;
    milliseconds slowest{0};
    std::thread performer([&] {
        auto nextSwitch = steady_clock::now() + seconds(5);
        for (auto next = steady_clock::now(); !isToEnd; next += milliseconds(100)) {
            std::this_thread::sleep_until(next);
            if (next >= nextSwitch) {
                nextSwitch += seconds(5);
                switched += ask({"--set", switches % 2 == 0 ? "Encore" : "Stage"}).exitCode == 0 ? 1 : 0;
                ++switches;
            }
            const TimedAnswer answer = ask({"--sets"});
            ++answers;
            prompt += answer.exitCode == 0 && answer.duration <= limit(kMaxAbsence) ? 1 : 0;
            slowest = std::max(slowest, answer.duration);
        }
    });
    const auto start = steady_clock::now();
    auto nextPlug = start + seconds(10);
    unsigned played = 0;
    long memoryBefore = 0;
    unsigned plugs = 0;
    for (auto next = start; next < start + duration;) {
        std::this_thread::sleep_until(next);
        for (unsigned count = 0; count < kRate / 1000; ++count, ++played) {
            const unsigned device = played % kDevices;
            rig_.play(outputs_[device], messageOf(played / kDevices));
        }
        rack_.readWaiting();
        check();
        if (memoryBefore == 0 && next >= start + warmUp) {
            memoryBefore = memoryKiB("VmRSS");
        }
        if (next >= nextPlug) {
            nextPlug += seconds(10);
            ++plugs;
            if (visitor_) {
                visitor_.reset();
            } else {
                visitor_.emplace("Visitor");
                visitor_->addPort("Out", SequencerPeer::kSource);
            }
            static_cast<void>(corvel_->standardError());
        }
        // If the machine had no time for this thread, it makes up for at most 50 ms of messages.
        next = std::max(next + milliseconds(1), steady_clock::now() - milliseconds(50));
    }
    isToEnd = true;
    performer.join();
    const bool isAllThere = rack_.readUntil([&] {
        check();
        return inPlace_ + others_ >= played;
    });
    EXPECT_TRUE(isAllThere);
    report("A show loses, doubles and reorders nothing", played, inPlace_ - std::min(inPlace_, others_),
           std::to_string(duration.count()) + " s, " + std::to_string(plugs) + " plugs, " + std::to_string(switches) +
               " sets, the receiver itself was full " + std::to_string(rack_.overruns()) + " times");
    report("Sets change when they are asked to", switches, switched);
    report("The main thread of the window is never away for more than 50 ms", answers, prompt,
           "slowest answer " + std::to_string(slowest.count()) + " ms");
    const long growth = memoryKiB("VmRSS") - memoryBefore;
    const bool isWarm = warmUp == kWholeWarmUp;
    report(isWarm ? "Memory stays within 1 MB after the first minute" : "Memory stays within 8 MB in the first minute",
           1, growth <= (isWarm ? kMaxGrowthKiB : kMaxEarlyGrowthKiB) ? 1 : 0,
           std::to_string(growth) + " KiB more after " + std::to_string(warmUp.count()) + " s");
    terminate();
}

}  // namespace

}  // namespace corvel::tests
