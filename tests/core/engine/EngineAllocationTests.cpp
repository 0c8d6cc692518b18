#include "tests/core/engine/EngineFixture.hpp"
#include "tests/support/CountingDelegate.hpp"
#include "tests/support/HeapCounter.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace corvel::tests {
namespace {

/// Keys that play the synthesizer through two "As Is" connections and one with a forced channel.
class EngineAllocation : public EngineFixture {
protected:
    static constexpr std::size_t kConnections = 3;

    EngineAllocation() {
        addKeysAndSynth();
        startWith({keysToSynth(), keysToSynth(ChannelMode::asIs(), 2), keysToSynth(ChannelMode::force(10), 3)});
        engine->setDelegate(counter);
        host->keepsSent = false;
    }

    /// Delivers a packet, on a service's own thread or on the engine's queue, and waits for its report.
    void play(std::span<const std::uint8_t> packet) {
        const std::array arrivals{MIDIArrival{11, MIDIBytes(packet)}};
        if (arrivesOnQueue) {
            queue->sync([&] { host->receive(arrivals); });
        } else {
            host->receive(arrivals);
        }
        settle();
    }

    bool arrivesOnQueue = false;
    std::shared_ptr<CountingDelegate> counter = std::make_shared<CountingDelegate>();
};

/// A SysEx message of this size.
template <std::size_t kSize>
std::array<std::uint8_t, kSize> sysEx() {
    std::array<std::uint8_t, kSize> bytes{};
    bytes.front() = 0xF0;
    bytes.back() = 0xF7;
    return bytes;
}

TEST_F(EngineAllocation, TakesNoneForAShortMessageFromItsArrivalToItsReport) {
    constexpr std::array<std::uint8_t, 3> kNote{0x90, 60, 100};
    const auto longest = sysEx<16>();
    play(longest);
    const std::size_t before = heapAllocationCount();
    // More than the preallocated memory holds.
    for (int number = 0; number < 2'500; ++number) {
        arrivesOnQueue = number % 2 == 1;
        play(kNote);
        play(longest);
    }
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(counter->routed, 5'001 * kConnections);
}

TEST_F(EngineAllocation, TakesNoneForTheFirstMessagesThatArriveTogether) {
    const std::vector<MIDIArrival> arrivals(100, MIDIArrival{11, {0x90, 60, 100}});
    arrivesOnQueue = true;
    play(std::array<std::uint8_t, 1>{0xF8});
    const std::size_t before = heapAllocationCount();
    queue->sync([&] { host->receive(arrivals); });
    settle();
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(counter->routed, 101 * kConnections);
}

TEST_F(EngineAllocation, TakesOneForALongMessageWhateverTheNumberOfConnections) {
    const auto message = sysEx<1'024>();
    play(message);
    const std::size_t before = heapAllocationCount();
    for (int number = 0; number < 100; ++number) {
        arrivesOnQueue = number % 2 == 1;
        play(message);
    }
    EXPECT_EQ(heapAllocationCount() - before, 100U) << "the arrivals themselves";
    EXPECT_EQ(counter->routed, 101 * kConnections);
}

TEST_F(EngineAllocation, TakesOneMoreForEachConnectionThatRewritesALongMessage) {
    std::array<std::uint8_t, 1'024> notes{};
    notes[0] = 0x90;
    play(notes);
    const std::size_t before = heapAllocationCount();
    for (int number = 0; number < 100; ++number) {
        play(notes);
    }
    EXPECT_EQ(heapAllocationCount() - before, 200U);
}

}  // namespace
}  // namespace corvel::tests
