// Ordinary play for a long time: clock, notes and controllers of 32 devices with the window shown, while devices come
// and go and the performer changes sets.

#include "tests/proof/MemoryGrowth.hpp"
#include "tests/proof/Performer.hpp"
#include "tests/proof/ProofFixture.hpp"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr int kDevices = 32;
constexpr unsigned kRate = 2'000;
constexpr seconds kLeastDuration{10};
/// The tests' machine is emulated, some 20 times slower than the one it runs on, where `WindowProof` checks 50 ms.
constexpr milliseconds kMaxAbsence{1'000};
constexpr milliseconds kBetweenQuestions{100};

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
    file_.write(document());
    addEncore(document());
    ASSERT_NO_FATAL_FAILURE(startWindow());
    for (const SequencerAddress output : outputs_) {
        ASSERT_TRUE(waitUntilHeard(rig_, output));
    }
    Performer performer([this](std::vector<std::string> arguments) { return ask(std::move(arguments)); },
                        kBetweenQuestions);
    MemoryGrowth memory(*corvel_, duration);
    const auto start = steady_clock::now();
    auto nextPlug = start + seconds(10);
    unsigned played = 0;
    unsigned plugs = 0;
    for (auto next = start; next < start + duration;) {
        std::this_thread::sleep_until(next);
        for (unsigned count = 0; count < kRate / 1000; ++count, ++played) {
            const unsigned device = played % kDevices;
            rig_.play(outputs_[device], messageOf(played / kDevices));
        }
        rack_.readWaiting();
        check();
        memory.watch();
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
    performer.report("The main thread of the window is never away for more than 1 s on an emulated machine",
                     kMaxAbsence);
    const bool isAllThere = rack_.readUntil([&] {
        check();
        return inPlace_ + others_ >= played;
    });
    EXPECT_TRUE(isAllThere);
    report("A show loses, doubles and reorders nothing", played, inPlace_ - std::min(inPlace_, others_),
           std::to_string(duration.count()) + " s, " + std::to_string(plugs) + " plugs, " +
               std::to_string(performer.changes()) + " sets, the receiver itself was full " +
               std::to_string(rack_.overruns()) + " times");
    memory.report();
    terminate();
}

}  // namespace

}  // namespace corvel::tests
