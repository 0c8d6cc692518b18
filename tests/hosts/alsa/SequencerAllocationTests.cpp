#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/OutputFlow.hpp"
#include "tests/support/HeapCounter.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace corvel::tests {
namespace {

using hosts::InputPool;

constexpr std::array<std::uint8_t, 3> kNote{0x90, 60, 100};

/// Receivers with room for everything.
class CountingOutput final : public hosts::SequencerOutput {
public:
    std::size_t sentCount = 0;

    std::size_t send(std::span<snd_seq_event_t> events, int&) override {
        sentCount += events.size();
        return events.size();
    }
    std::optional<InputPool> inputPool(int) override { return InputPool{.size = 2'000, .free = 2'000}; }
};

TEST(SequencerAllocation, SendingShortMessagesTakesNone) {
    CountingOutput output;
    hosts::OutputFlow flow(output);
    MIDIStatus status = kMIDISuccess;
    const std::size_t before = heapAllocationCount();
    // More than one write sends.
    for (int number = 0; number < 100; ++number) {
        flow.send({128 + number % 2, 0}, kNote, status, {});
    }
    flow.flush({});
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(output.sentCount, 100U);
}

TEST(SequencerAllocation, DecodingAShortMessageTakesNone) {
    hosts::EventDecoder decoder;
    snd_seq_event_t event{};
    snd_seq_ev_set_noteon(&event, 0, 60, 100);
    const std::size_t before = heapAllocationCount();
    const std::optional<MIDIBytes> bytes = decoder.decode(event);
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(bytes, MIDIBytes(kNote.begin(), kNote.end()));
}

}  // namespace
}  // namespace corvel::tests
