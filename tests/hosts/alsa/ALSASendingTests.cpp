// How the ALSA host sends packets to other programs, on the real sequencer.

#include "tests/hosts/alsa/HostUnderTest.hpp"
#include "tests/support/ChildProcess.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <thread>
#include <vector>

namespace corvel::tests {

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::Le;
using testing::SizeIs;

const Bytes kMark{0x80, 0x01, 0x02};

/// A host and a program's one destination.
class ALSASending : public testing::Test {
protected:
    ALSASending() : peer_("Listener"), port_(peer_.addPort("In", SequencerPeer::kDestination)) {
        corvel_.start();
        destination_ = corvel_.destination("Listener In").ref;
    }

    /// The events as which packets arrive, without the mark that is sent after them.
    std::vector<ReceivedEvent> eventsOf(const std::vector<Bytes>& packets) {
        for (const Bytes& packet : packets) {
            EXPECT_EQ(corvel_.send(destination_, packet), 0);
        }
        EXPECT_EQ(corvel_.send(destination_, kMark), 0);
        EXPECT_TRUE(
            peer_.readUntil([&] { return !peer_.received().empty() && peer_.received().back().bytes == kMark; }));
        std::vector<ReceivedEvent> events = peer_.received();
        if (!events.empty()) {
            events.pop_back();
        }
        return events;
    }

    std::vector<Bytes> bytesOfEvents(const std::vector<Bytes>& packets) {
        std::vector<Bytes> all;
        for (const ReceivedEvent& event : eventsOf(packets)) {
            all.push_back(event.bytes);
        }
        return all;
    }

    HostUnderTest corvel_;
    SequencerPeer peer_;
    SequencerAddress port_;
    MIDIObjectRef destination_ = 0;
};

TEST_F(ALSASending, SendsEveryMessageKindAsItsEvent) {
    const std::vector<Bytes> messages{
        {0x90, 60, 100}, {0x90, 60, 0},   {0x8F, 60, 64},  {0xA1, 61, 17}, {0xB2, 7, 127},
        {0xC3, 5},       {0xD4, 99},      {0xE5, 0, 0x40}, {0xE5, 0, 0},   {0xE5, 0x7F, 0x7F},
        {0xF1, 0x35},    {0xF2, 0x68, 7}, {0xF3, 9},       {0xF6},         {0xF8},
        {0xFA},          {0xFB},          {0xFC},          {0xFE},         {0xFF}};
    const std::vector<ReceivedEvent> events = eventsOf(messages);
    ASSERT_THAT(events, SizeIs(messages.size()));
    const std::vector<snd_seq_event_type_t> types{
        SND_SEQ_EVENT_NOTEON,     SND_SEQ_EVENT_NOTEON,       SND_SEQ_EVENT_NOTEOFF,   SND_SEQ_EVENT_KEYPRESS,
        SND_SEQ_EVENT_CONTROLLER, SND_SEQ_EVENT_PGMCHANGE,    SND_SEQ_EVENT_CHANPRESS, SND_SEQ_EVENT_PITCHBEND,
        SND_SEQ_EVENT_PITCHBEND,  SND_SEQ_EVENT_PITCHBEND,    SND_SEQ_EVENT_QFRAME,    SND_SEQ_EVENT_SONGPOS,
        SND_SEQ_EVENT_SONGSEL,    SND_SEQ_EVENT_TUNE_REQUEST, SND_SEQ_EVENT_CLOCK,     SND_SEQ_EVENT_START,
        SND_SEQ_EVENT_CONTINUE,   SND_SEQ_EVENT_STOP,         SND_SEQ_EVENT_SENSING,   SND_SEQ_EVENT_RESET};
    for (std::size_t index = 0; index < messages.size(); ++index) {
        EXPECT_EQ(events[index].bytes, messages[index]);
        EXPECT_EQ(events[index].type, types[index]);
        EXPECT_EQ(events[index].sender, peer_.find("Corvel", "Corvel Output"));
    }
}

TEST_F(ALSASending, SendsTheMessagesOfOnePacketInOrder) {
    EXPECT_THAT(bytesOfEvents({{0xB0, 7, 7, 0xB0, 39, 104, 0xF8, 0x90, 60, 1, 0xF0, 1, 2, 0xF7, 0xC0, 3}}),
                ElementsAre(Bytes{0xB0, 7, 7}, Bytes{0xB0, 39, 104}, Bytes{0xF8}, Bytes{0x90, 60, 1},
                            Bytes{0xF0, 1, 2, 0xF7}, Bytes{0xC0, 3}));
}

TEST_F(ALSASending, SendsUndefinedBytesAndALoneEndOfSysExRaw) {
    const std::vector<ReceivedEvent> events = eventsOf({{0xF4}, {0xF5}, {0xF7}, {0xF9}, {0xFD}});
    ASSERT_THAT(events, SizeIs(5));
    EXPECT_THAT(events, Each(Field(&ReceivedEvent::type, SND_SEQ_EVENT_SYSEX)));
    EXPECT_EQ(peer_.receivedBytes(), (Bytes{0xF4, 0xF5, 0xF7, 0xF9, 0xFD, 0x80, 0x01, 0x02}));
}

TEST_F(ALSASending, LeavesOutIncompleteMessagesAndStillSucceeds) {
    EXPECT_THAT(bytesOfEvents({{0x90}, {0x90, 60}, {0xC0}, {0xD0}, {0xE0, 1}, {0xF1}, {0xF2}, {0xF2, 1}, {0xF3}, {}}),
                testing::IsEmpty());
}

TEST_F(ALSASending, LeavesOutAMessageThatAnotherInterrupts) {
    EXPECT_THAT(bytesOfEvents({{0x90, 60, 0xB0, 7, 100}}), ElementsAre(Bytes{0xB0, 7, 100}));
}

TEST_F(ALSASending, NeverMakesAMessageByRunningStatus) {
    const std::vector<ReceivedEvent> events = eventsOf({{0x90, 60, 100, 60, 0}, {1, 2}});
    ASSERT_GE(events.size(), 3U);
    EXPECT_EQ(events[0].bytes, (Bytes{0x90, 60, 100}));
    for (std::size_t index = 1; index < events.size(); ++index) {
        EXPECT_EQ(events[index].type, SND_SEQ_EVENT_SYSEX) << "stray data stays raw";
    }
    EXPECT_EQ(peer_.receivedBytes(), (Bytes{0x90, 60, 100, 60, 0, 1, 2, 0x80, 0x01, 0x02}));
}

TEST_F(ALSASending, SendsSysExPiecesAsTheyAre) {
    EXPECT_THAT(bytesOfEvents({{0xF0, 1, 2}, {3, 4, 5}, {6, 0xF7}}),
                ElementsAre(Bytes{0xF0, 1, 2}, Bytes{3, 4, 5}, Bytes{6, 0xF7}));
}

TEST_F(ALSASending, KeepsStatusBytesInsideASysExMessage) {
    EXPECT_THAT(bytesOfEvents({{0xF0, 0x7E, 0x90, 0xF7}}), ElementsAre(Bytes{0xF0, 0x7E, 0x90, 0xF7}));
}

TEST_F(ALSASending, SendsRealtimeInsideASysExMessageAsAnEventOfItsOwn) {
    Bytes sysEx;
    unsigned clocks = 0;
    for (const ReceivedEvent& event : eventsOf({{0xF0, 1, 0xF8, 2, 0xF7}})) {
        if (event.type == SND_SEQ_EVENT_CLOCK) {
            ++clocks;
        } else {
            sysEx.insert(sysEx.end(), event.bytes.begin(), event.bytes.end());
        }
    }
    EXPECT_EQ(clocks, 1U);
    EXPECT_EQ(sysEx, (Bytes{0xF0, 1, 2, 0xF7}));
}

TEST_F(ALSASending, SendsALargeSysExMessageInEventsOf1024BytesAtMost) {
    Bytes message(60'000, 0);
    for (std::size_t index = 0; index < message.size(); ++index) {
        message[index] = static_cast<std::uint8_t>(index % 127);
    }
    message.front() = 0xF0;
    message.back() = 0xF7;
    ASSERT_EQ(corvel_.send(destination_, message), 0);
    ASSERT_TRUE(peer_.readUntilBytes(message.size()));
    EXPECT_EQ(peer_.receivedBytes(), message);
    for (const ReceivedEvent& event : peer_.received()) {
        EXPECT_THAT(event.bytes.size(), Le(1024U));
    }
}

TEST_F(ALSASending, ReachesOnlyTheOneDestination) {
    const SequencerAddress second = peer_.addPort("Second", SequencerPeer::kDestination);
    SequencerPeer other("Other");
    other.addPort("In", SequencerPeer::kDestination);
    ASSERT_EQ(corvel_.send(corvel_.destination("Listener Second").ref, {0x90, 1, 1}), 0);
    ASSERT_EQ(corvel_.send(destination_, kMark), 0);
    ASSERT_EQ(corvel_.send(corvel_.destination("Other In").ref, kMark), 0);
    ASSERT_TRUE(peer_.readUntilCount(2));
    ASSERT_TRUE(other.readUntilCount(1));
    EXPECT_EQ(peer_.receivedBytes(second), (Bytes{0x90, 1, 1}));
    EXPECT_EQ(peer_.receivedBytes(port_), kMark);
    EXPECT_EQ(other.receivedBytes(), kMark);
}

TEST_F(ALSASending, FailsForReferencesThatAreNoDestination) {
    EXPECT_LT(corvel_.send(0, kMark), 0);
    EXPECT_LT(corvel_.send(12'345, kMark), 0);
    EXPECT_LT(corvel_.send(corvel_.source("Midi Through Port-0").ref, kMark), 0);
    EXPECT_LT(corvel_.connect(destination_), 0);
}

TEST_F(ALSASending, FailsForAPortThatIsGone) {
    peer_.removePort(port_);
    EXPECT_LT(corvel_.send(destination_, kMark), 0);
}

TEST_F(ALSASending, WhatWasSentBeforeTheClientIsDisposedOfStillGoesOut) {
    peer_.setReadingPace(std::chrono::milliseconds(5));
    constexpr unsigned kCount = 1'000;
    corvel_.onQueue([&] {
        for (unsigned number = 0; number < kCount; ++number) {
            ASSERT_EQ(corvel_.send(destination_, SequencerPeer::numberedNote(number)), 0);
        }
    });
    std::thread owner([&] { corvel_.dispose(); });
    const bool isAllThere = peer_.readUntilCount(kCount, std::chrono::milliseconds(3'000));
    owner.join();
    ASSERT_TRUE(isAllThere);
    EXPECT_EQ(peer_.received().back().bytes, SequencerPeer::numberedNote(kCount - 1));
}

}  // namespace

}  // namespace corvel::tests
