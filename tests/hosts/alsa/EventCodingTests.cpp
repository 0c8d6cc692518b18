#include "hosts/alsa/EventCoding.hpp"

#include "tests/support/SequencerPeer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace corvel::tests {

namespace {

using hosts::encodeEvents;
using hosts::EventDecoder;
using testing::ElementsAre;
using testing::IsEmpty;

struct Encoded {
    snd_seq_event_type_t type;
    Bytes raw;
};

std::vector<Encoded> encoded(const Bytes& packet) {
    std::vector<Encoded> events;
    encodeEvents(packet, [&](snd_seq_event_t& event) {
        Bytes raw;
        if (event.type == SND_SEQ_EVENT_SYSEX) {
            const auto* data = static_cast<const std::uint8_t*>(event.data.ext.ptr);
            raw.assign(data, data + event.data.ext.len);
        }
        events.push_back({event.type, raw});
    });
    return events;
}

std::optional<Bytes> decoded(const snd_seq_event_t& event) {
    EventDecoder decoder;
    if (const auto bytes = decoder.decode(event)) {
        return Bytes(bytes->begin(), bytes->end());
    }
    return std::nullopt;
}

/// The packet after it has been converted to events and back.
Bytes throughEvents(const Bytes& packet) {
    EventDecoder decoder;
    Bytes all;
    encodeEvents(packet, [&](snd_seq_event_t& event) {
        const auto bytes = decoder.decode(event);
        ASSERT_TRUE(bytes);
        all.insert(all.end(), bytes->begin(), bytes->end());
    });
    return all;
}

TEST(EventCoding, CarriesEveryCompleteMessageUnchanged) {
    const std::vector<Bytes> messages{{0x80, 1, 2},
                                      {0x90, 60, 100},
                                      {0x9F, 60, 0},
                                      {0xA3, 5, 6},
                                      {0xB0, 7, 127},
                                      {0xC5, 9},
                                      {0xD5, 9},
                                      {0xE0, 0, 0},
                                      {0xE1, 0, 0x40},
                                      {0xE2, 0x7F, 0x7F},
                                      {0xF1, 0x7F},
                                      {0xF2, 0x7F, 0x7F},
                                      {0xF2, 0, 0},
                                      {0xF3, 0x7F},
                                      {0xF6},
                                      {0xF8},
                                      {0xFA},
                                      {0xFB},
                                      {0xFC},
                                      {0xFE},
                                      {0xFF},
                                      {0xF0, 0xF7},
                                      {0xF0, 1, 2, 0xF7}};
    for (const Bytes& message : messages) {
        EXPECT_EQ(throughEvents(message), message);
        EXPECT_EQ(encoded(message).size(), 1U);
    }
}

TEST(EventCoding, CarriesUndefinedBytesAndPiecesRaw) {
    for (const Bytes& bytes :
         std::vector<Bytes>{{0xF4}, {0xF5}, {0xF7}, {0xF9}, {0xFD}, {0xF0, 1}, {2, 3}, {4, 0xF7}}) {
        Bytes carried;
        for (const Encoded& event : encoded(bytes)) {
            EXPECT_EQ(event.type, SND_SEQ_EVENT_SYSEX);
            carried.insert(carried.end(), event.raw.begin(), event.raw.end());
        }
        EXPECT_EQ(carried, bytes);
    }
}

TEST(EventCoding, LeavesOutIncompleteMessages) {
    for (const Bytes& bytes :
         std::vector<Bytes>{{}, {0x90}, {0x90, 60}, {0xC0}, {0xD0}, {0xE0, 1}, {0xF1}, {0xF2}, {0xF2, 1}, {0xF3}}) {
        EXPECT_THAT(encoded(bytes), IsEmpty());
    }
    EXPECT_EQ(throughEvents({0x90, 60, 0xB0, 7, 100}), (Bytes{0xB0, 7, 100}));
}

TEST(EventCoding, KeepsNoStateBetweenPackets) {
    EXPECT_EQ(throughEvents({0x90, 60, 100}), (Bytes{0x90, 60, 100}));
    const std::vector<Encoded> data = encoded({1, 2});
    for (const Encoded& event : data) {
        EXPECT_EQ(event.type, SND_SEQ_EVENT_SYSEX);
    }
    EXPECT_EQ(throughEvents({1, 2}), (Bytes{1, 2}));
}

TEST(EventCoding, LeavesOutASysExMessageThatCameWithoutItsBytes) {
    snd_seq_event_t event{};
    // A pointer into the memory of the sending program.
    snd_seq_ev_set_sysex(&event, 4, reinterpret_cast<void*>(std::uintptr_t{16}));
    snd_seq_ev_set_varusr(&event, 4, reinterpret_cast<void*>(std::uintptr_t{16}));
    EXPECT_EQ(decoded(event), std::nullopt);
}

TEST(EventCoding, DecodesNumbersThatNoMessageCanHave) {
    snd_seq_event_t event{};
    snd_seq_ev_set_pitchbend(&event, 3, std::numeric_limits<int>::max());
    EXPECT_EQ(decoded(event), (Bytes{0xE3, 0x7F, 0x3F}));
    snd_seq_ev_set_pitchbend(&event, 3, -8193);
    EXPECT_EQ(decoded(event), (Bytes{0xE3, 0x7F, 0x7F}));
    snd_seq_ev_set_controller(&event, 20, std::numeric_limits<unsigned>::max(), -1);
    EXPECT_EQ(decoded(event), (Bytes{0xB4, 0x7F, 0x7F}));
}

TEST(EventCoding, LeavesOutASysExMessageOfNoBytes) {
    std::uint8_t none = 0;
    snd_seq_event_t event{};
    snd_seq_ev_set_sysex(&event, 0, &none);
    EXPECT_EQ(decoded(event), std::nullopt);
}

TEST(EventCoding, CutsSysExBytesIntoEventsOf1024) {
    Bytes message(2'500, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    std::vector<std::size_t> sizes;
    for (const Encoded& event : encoded(message)) {
        sizes.push_back(event.raw.size());
    }
    EXPECT_THAT(sizes, ElementsAre(1'024, 1'024, 452));
    EXPECT_EQ(throughEvents(message), message);
}

TEST(EventCoding, CarriesRealtimeInsideMessagesAsEventsOfTheirOwn) {
    EXPECT_EQ(throughEvents({0x90, 0xF8, 60, 100}), (Bytes{0xF8, 0x90, 60, 100}));
    std::vector<snd_seq_event_type_t> types;
    Bytes sysEx;
    for (const Encoded& event : encoded({0xF0, 1, 0xF8, 2, 0xF7})) {
        types.push_back(event.type);
        sysEx.insert(sysEx.end(), event.raw.begin(), event.raw.end());
    }
    EXPECT_EQ(std::count(types.begin(), types.end(), SND_SEQ_EVENT_CLOCK), 1);
    EXPECT_EQ(sysEx, (Bytes{0xF0, 1, 2, 0xF7}));
}

TEST(EventCoding, LosesNoByteOfAnyPacketButIncompleteMessages) {
    std::mt19937 random(20'260'101);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 5'000; ++round) {
        Bytes packet(static_cast<std::size_t>(byte(random) % 24));
        for (std::uint8_t& value : packet) {
            value = static_cast<std::uint8_t>(byte(random));
        }
        const Bytes carried = throughEvents(packet);
        ASSERT_LE(carried.size(), packet.size());
        // After one conversion a packet contains no incomplete messages.
        ASSERT_EQ(throughEvents(carried).size(), carried.size());
        const auto countRealtime = [](const Bytes& bytes) {
            return std::count_if(bytes.begin(), bytes.end(), [](std::uint8_t value) { return value >= 0xF8; });
        };
        ASSERT_EQ(countRealtime(carried), countRealtime(packet));
    }
}

TEST(EventCoding, DecodesFourteenBitControllersAndParameterNumbersWithEveryStatus) {
    EXPECT_EQ(decoded(controlEvent(SND_SEQ_EVENT_CONTROL14, 0, 7, 1000)), (Bytes{0xB0, 7, 7, 0xB0, 39, 104}));
    EXPECT_EQ(decoded(controlEvent(SND_SEQ_EVENT_NONREGPARAM, 1, 300, 1000)),
              (Bytes{0xB1, 99, 2, 0xB1, 98, 44, 0xB1, 6, 7, 0xB1, 38, 104}));
    EXPECT_EQ(decoded(controlEvent(SND_SEQ_EVENT_REGPARAM, 1, 300, 1000)),
              (Bytes{0xB1, 101, 2, 0xB1, 100, 44, 0xB1, 6, 7, 0xB1, 38, 104}));
}

TEST(EventCoding, DecodesPiecesOfSysExMessagesAsTheyAre) {
    const Bytes middle(256, 0x22);
    EXPECT_EQ(decoded(rawEvent(middle)), middle);
    const Bytes end{0xF7};
    EXPECT_EQ(decoded(rawEvent(end)), end);
}

TEST(EventCoding, DecodesNothingOfEventsThatAreNoMIDI) {
    for (const snd_seq_event_type_t type : {SND_SEQ_EVENT_ECHO, SND_SEQ_EVENT_SYSTEM, SND_SEQ_EVENT_PORT_START,
                                            SND_SEQ_EVENT_PORT_SUBSCRIBED, SND_SEQ_EVENT_TEMPO, SND_SEQ_EVENT_NONE}) {
        snd_seq_event_t event{};
        event.type = static_cast<snd_seq_event_type_t>(type);
        EXPECT_EQ(decoded(event), std::nullopt) << static_cast<int>(type);
    }
}

}  // namespace

}  // namespace corvel::tests
