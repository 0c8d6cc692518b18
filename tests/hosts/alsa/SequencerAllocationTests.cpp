#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/OutputFlow.hpp"
#include "tests/support/HeapCounter.hpp"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace corvel::tests {
namespace {

using hosts::InputRoom;
using hosts::PortAddress;

constexpr std::array<std::uint8_t, 3> kNote{0x90, 60, 100};

/// A receiver that has room for everything.
class CountingSink final : public hosts::EventSink {
public:
    std::size_t sent = 0;

    int sendDirectly(const PortAddress&, snd_seq_event_t&) override {
        ++sent;
        return 0;
    }
    std::optional<InputRoom> inputRoom(int) override { return InputRoom{.size = 2'000, .free = 2'000}; }
    [[nodiscard]] std::chrono::steady_clock::time_point now() const override { return {}; }
};

TEST(SequencerAllocation, SendingAShortMessageTakesNone) {
    CountingSink sink;
    hosts::OutputFlow flow(sink);
    ASSERT_EQ(flow.send({128, 0}, kNote), 0);
    const std::size_t before = heapAllocationCount();
    for (int number = 0; number < 10; ++number) {
        ASSERT_EQ(flow.send({128, 0}, kNote), 0);
    }
    EXPECT_EQ(heapAllocationCount() - before, 0U);
    EXPECT_EQ(sink.sent, 11U);
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
