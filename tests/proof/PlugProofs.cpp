// A device that is plugged in and out again and again, beside another that plays all the time.

#include "tests/proof/ProofFixture.hpp"

#include <algorithm>
#include <atomic>
#include <thread>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr unsigned kCycles = 10;
constexpr milliseconds kMaxRebinding{100};
constexpr long kMaxGrowthKiB = 1024;
constexpr unsigned kNotesOfDevice = 20;
constexpr std::size_t kMaxPauseMs = 500;

double inMilliseconds(steady_clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// A keyboard that plays one numbered note a millisecond to the synth, which checks each. Both are on threads of their
/// own while this exists.
class SteadyPlay {
public:
    SteadyPlay()
        : keyboard_("Stage Keyboard"), synth_("Stage Synth"), keys_(keyboard_.addPort("Out", SequencerPeer::kSource)) {
        synth_.addPort("In", SequencerPeer::kDestination);
        synth_.setInputPool(2'000);
    }
    SteadyPlay(const SteadyPlay&) = delete;
    SteadyPlay& operator=(const SteadyPlay&) = delete;
    ~SteadyPlay() { end(); }

    void begin() {
        player_ = std::thread([this] { play(); });
        reader_ = std::thread([this] { read(); });
    }

    /// Stops playing; returns when everything has arrived or the deadline is over.
    void end() {
        isToEnd_ = true;
        if (player_.joinable()) {
            player_.join();
            reader_.join();
        }
    }

    [[nodiscard]] const SequencerPeer& keyboard() const { return keyboard_; }
    [[nodiscard]] SequencerAddress keys() const { return keys_; }
    [[nodiscard]] unsigned played() const { return played_; }
    [[nodiscard]] unsigned arrivedInPlace() const { return inPlace_; }
    [[nodiscard]] unsigned others() const { return others_; }
    /// Notes that the sequencer did not take, because the router's input was full.
    [[nodiscard]] unsigned refused() const { return refused_; }
    [[nodiscard]] unsigned overruns() const { return synth_.overruns(); }

private:
    /// If the machine had no time for the player, it makes up for at most 50 ms of notes.
    static steady_clock::time_point latestStart() { return steady_clock::now() - milliseconds(50); }

    void play() {
        for (auto next = steady_clock::now(); !isToEnd_; next = std::max(next + milliseconds(1), latestStart())) {
            std::this_thread::sleep_until(next);
            const Bytes note = SequencerPeer::numberedNote(played_);
            if (keyboard_.emit(keys_, noteEvent(SND_SEQ_EVENT_NOTEON, 0, note[1], note[2])) < 0) {
                ++refused_;
            }
            ++played_;
        }
        isPlayed_ = true;
    }

    void read() {
        const auto isAllThere = [this] {
            for (const ReceivedEvent& event : synth_.received()) {
                if (event.bytes == SequencerPeer::numberedNote(inPlace_)) {
                    ++inPlace_;
                } else {
                    ++others_;
                }
            }
            synth_.forgetReceived();
            return isPlayed_ && inPlace_ + others_ >= played_;
        };
        while (!isAllThere()) {
            const bool isLast = isPlayed_;
            if (!synth_.readUntil(isAllThere) && isLast) {
                return;
            }
        }
    }

    SequencerPeer keyboard_;
    SequencerPeer synth_;
    SequencerAddress keys_;
    std::atomic<unsigned> played_ = 0;
    std::atomic<bool> isToEnd_ = false;
    std::atomic<bool> isPlayed_ = false;
    unsigned refused_ = 0;
    unsigned inPlace_ = 0;
    unsigned others_ = 0;
    std::thread player_;
    std::thread reader_;
};

class PlugProof : public ProofFixture {};

TEST_F(PlugProof, ADeviceThatComesAndGoesIsRoutedAgainAtOnceAndCostsOthersNothing) {
    const unsigned cycles = kCycles * scale();
    SteadyPlay steady;
    SequencerPeer sampler("Stage Sampler");
    const SequencerAddress samples = sampler.addPort("In", SequencerPeer::kDestination);
    sampler.setInputPool(kMaxPool);
    connect("Stage Keyboard", "Stage Synth");
    connect("Stage Pads", "Stage Sampler");
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(waitUntilHeard(steady.keyboard(), steady.keys()));
    steady.begin();

    // Later cycles reuse the memory that the first ones allocate.
    const unsigned warmUp = std::max(5U, cycles / 10);
    long memoryBefore = 0;
    std::size_t descriptorsBefore = 0;
    steady_clock::duration slowest{0};
    unsigned prompt = 0;
    unsigned routedWhole = 0;
    for (unsigned cycle = 0; cycle < warmUp + cycles; ++cycle) {
        SCOPED_TRACE(cycle);
        if (cycle == warmUp) {
            memoryBefore = corvel_->memoryKiB("VmRSS");
            descriptorsBefore = descriptors();
        }
        SequencerPeer pads("Stage Pads");
        const auto plugged = steady_clock::now();
        const SequencerAddress port = pads.addPort("Out", SequencerPeer::kSource);
        ASSERT_TRUE(sampler.readUntil([&] {
            const auto listeners = pads.subscribers(port);
            if (listeners.empty()) {
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            return !listeners.empty();
        })) << "not connected again";
        const auto rebound = steady_clock::now() - plugged;
        pads.playNumberedNotes(port, 0, kNotesOfDevice);
        const bool isWhole = sampler.readUntilCount(kNotesOfDevice) &&
                             sampler.receivedBytes(samples).size() == std::size_t{3} * kNotesOfDevice &&
                             sampler.received().back().bytes == SequencerPeer::numberedNote(kNotesOfDevice - 1);
        sampler.forgetReceived();
        if (cycle >= warmUp) {
            slowest = std::max(slowest, rebound);
            prompt += rebound <= limit(kMaxRebinding) ? 1 : 0;
            routedWhole += isWhole ? 1 : 0;
        }
        // The device leaves before, during or after the delayed reload.
        std::this_thread::sleep_for(milliseconds(random_.below(kMaxPauseMs)));
        static_cast<void>(corvel_->standardError());
    }
    steady.end();
    report("A device that returns is connected again within 0.1 s", cycles, prompt,
           "slowest " + std::to_string(inMilliseconds(slowest)) + " ms");
    report("A device that returns is routed again", cycles, routedWhole,
           std::to_string(kNotesOfDevice) + " notes each time");
    report("Notes of another device are neither lost, doubled nor reordered", steady.played(),
           steady.arrivedInPlace() - std::min(steady.arrivedInPlace(), steady.others()),
           std::to_string(steady.others()) + " out of place, " + std::to_string(steady.refused()) +
               " refused by the sequencer; the receiver itself was full " + std::to_string(steady.overruns()) +
               " times");
    const long growth = corvel_->memoryKiB("VmRSS") - memoryBefore;
    report("Memory stays within 1 MB", 1, growth <= kMaxGrowthKiB ? 1 : 0, std::to_string(growth) + " KiB more");
    const std::size_t descriptorsAfter = descriptors();
    report("Descriptors stay as before", 1, descriptorsAfter == descriptorsBefore ? 1 : 0,
           std::to_string(descriptorsBefore) + " before, " + std::to_string(descriptorsAfter) + " after");
    terminate();
}

}  // namespace

}  // namespace corvel::tests
