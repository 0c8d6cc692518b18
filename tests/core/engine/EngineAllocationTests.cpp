#include "tests/core/engine/EngineFixture.hpp"
#include "tests/support/CountingDelegate.hpp"
#include "tests/support/HeapCounter.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace corvel::tests {
namespace {

class EngineAllocation : public EngineFixture {
protected:
    EngineAllocation() {
        addKeysAndSynth();
        engine->updateRoutes(
            {makeRoute({.id = makeID(1), .sourceID = 1011, .destinationID = 1021}),
             makeRoute(
                 {.id = makeID(2), .sourceID = 1011, .destinationID = 1021, .channelMode = ChannelMode::force(10)})});
        startEngine();
        engine->setDelegate(counter);
        host->recording = FakeMIDIHost::Recording::nothing;
        host->keepsSent = false;
    }

    void play(std::span<const std::uint8_t> packet) {
        const std::array packets{packet};
        host->receiveInPlace(packets, 11);
        settle();
    }

    std::shared_ptr<CountingDelegate> counter = std::make_shared<CountingDelegate>();
};

TEST_F(EngineAllocation, TakesNoneForAShortMessageFromItsArrivalToItsReport) {
    constexpr std::array<std::uint8_t, 16> kLongest{0xF0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xF7};
    const std::span<const std::uint8_t> note = std::span(kLongest).first<3>();
    play(kLongest);
    const std::size_t before = heapAllocationCount();
    for (int number = 0; number < 10; ++number) {
        play(note);
        play(kLongest);
    }
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(counter->routed, 42U);
}

}  // namespace
}  // namespace corvel::tests
