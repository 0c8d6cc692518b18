#include "tests/hosts/alsa/OutputFlowFixture.hpp"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

namespace corvel::tests {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// Batches

TEST_F(OutputFlowTest, SendsWhatWasAddedInOneCall) {
    for (unsigned number = 0; number < 3; ++number) {
        addNote(kSynth, number);
        addNote(kDrums, number);
        addNote(kHardware, number);
    }
    EXPECT_THAT(sequencer_.batches, IsEmpty());
    flush();
    EXPECT_THAT(sequencer_.batches, ElementsAre(9));
    for (const PortAddress& destination : {kSynth, kDrums, kHardware}) {
        expectNotesInOrder(destination, 3);
    }
    EXPECT_FALSE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, CutsABatchAt64Events) {
    for (unsigned number = 0; number < 150; ++number) {
        addNote(kHardware, number);
    }
    flush();
    EXPECT_THAT(sequencer_.batches, ElementsAre(64, 64, 22));
    expectNotesInOrder(kHardware, 150);
}

TEST_F(OutputFlowTest, GivesAFailureToItsPacketAloneAndSendsTheRest) {
    sequencer_.failures[kDrums] = {-ENODEV};
    const MIDIStatus& before = addNote(kSynth, 0);
    const MIDIStatus& failing = add(kDrums, {0x99, 36, 100, 0x99, 38, 100});
    const MIDIStatus& after = addNote(kSynth, 1);
    const MIDIStatus& last = addNote(kHardware, 0);
    flush();
    EXPECT_EQ(before, 0);
    EXPECT_EQ(failing, -ENODEV);
    EXPECT_EQ(after, 0);
    EXPECT_EQ(last, 0);
    expectNotesInOrder(kSynth, 2);
    expectNotesInOrder(kHardware, 1);
    EXPECT_FALSE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, GivesTheFirstFailureOfAPacket) {
    sequencer_.failures[kSynth] = {-ENODEV, 1};
    EXPECT_EQ(send(kSynth, {0x90, 60, 100, 0x90, 62, 100, 0x90, 64, 100}), -ENODEV);
    EXPECT_EQ(countSentTo(kSynth), 1U);
}

TEST_F(OutputFlowTest, KeepsTheOrderAndHoldsUpNoOtherWhenABatchMeetsAFullDestination) {
    sequencer_.failures[kSynth] = {-EAGAIN, 2};
    for (unsigned number = 0; number < 10; ++number) {
        EXPECT_EQ(addNote(kSynth, number), 0);
        EXPECT_EQ(addNote(kDrums, number), 0);
    }
    flush();
    EXPECT_EQ(countSentTo(kSynth), 2U);
    expectNotesInOrder(kDrums, 10);
    sequencer_.failures.clear();
    EXPECT_EQ(sendNote(kSynth, 10), 0);
    EXPECT_EQ(countSentTo(kSynth), 2U) << "behind what waits";
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kSynth, 11);
}

TEST_F(OutputFlowTest, PutsWhatABatchCouldNotSendAheadOfWhatWaitsAlready) {
    // There is room for five, the others are queued at once; for three of the five it turns out that there is no room.
    sequencer_.usedCells[128] = 200 - 25 - 5;
    sequencer_.failures[kSynth] = {-EAGAIN, 2};
    for (unsigned number = 0; number < 10; ++number) {
        addNote(kSynth, number);
    }
    EXPECT_TRUE(flow_.isWaiting());
    flush();
    EXPECT_EQ(countSentTo(kSynth), 2U);
    sequencer_.failures.clear();
    readAll(128);
    expectNotesInOrder(kSynth, 10);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhereAFullBatchMeetsAFullDestination) {
    sequencer_.failures[kHardware] = {-EAGAIN, 60};
    for (unsigned number = 0; number < 64; ++number) {
        addNote(kHardware, number);
    }
    addNote(kHardware, 64);
    sequencer_.failures.clear();
    addNote(kHardware, 65);
    flush();
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 66);
}

// Queued events

TEST_F(OutputFlowTest, KeepsBytesOfItsOwnOfSysExThatWaits) {
    sequencer_.usedCells[128] = 200;
    ASSERT_EQ(send(kSynth, sysEx(2'500)), 0);
    sequencer_.failures[kHardware] = {-EAGAIN};
    ASSERT_EQ(send(kHardware, sysEx(10)), 0);
    EXPECT_THAT(sequencer_.sent, IsEmpty());
    sequencer_.failures.clear();
    sendWaiting();
    EXPECT_EQ(bytesSent(), sysEx(10));
    sequencer_.sent.clear();
    readAll(128);
    EXPECT_EQ(bytesSent(), sysEx(2'500));
}

TEST_F(OutputFlowTest, SendsAtMostSome2000EventsOfABacklogATurn) {
    sequencer_.failures[kHardware] = {-EAGAIN};
    sendNotes(kHardware, 10'000);
    sequencer_.failures.clear();
    sendWaiting();
    EXPECT_GE(countSentTo(kHardware), 2'000U);
    EXPECT_LT(countSentTo(kHardware), 2'100U);
    for (int turn = 0; turn < 4; ++turn) {
        sendWaiting();
    }
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 10'000);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhenWhatWaitsMeetsAFullDestinationAgain) {
    sequencer_.failures[kHardware] = {-EAGAIN};
    sendNotes(kHardware, 100);
    sequencer_.failures[kHardware].after = 70;
    sendWaiting();
    EXPECT_EQ(countSentTo(kHardware), 70U);
    sequencer_.failures.clear();
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 100);
}

TEST_F(OutputFlowTest, PastTheBoundOfEventsASendFailsAndOthersGoOn) {
    sequencer_.usedCells[128] = 200;
    for (unsigned number = 0; number < 65'536; ++number) {
        ASSERT_EQ(sendNote(kSynth, number), 0);
    }
    EXPECT_EQ(sendNote(kSynth, 0), -EAGAIN);
    EXPECT_EQ(sendNote(kDrums, 0), 0);
    read(128);
    sendWaiting();
    EXPECT_EQ(sendNote(kSynth, 65'536), 0) << "there is room again";
}

TEST_F(OutputFlowTest, PastTheBoundOfBytesASendFails) {
    sequencer_.usedCells[128] = 200;
    for (int count = 0; count < 4'096; ++count) {
        ASSERT_EQ(send(kSynth, sysEx(1'024)), 0);
    }
    EXPECT_EQ(send(kSynth, sysEx(1'024)), -EAGAIN);
}

TEST_F(OutputFlowTest, CountsTheFailuresOfWhatWaitedAndSendsTheRest) {
    sequencer_.failures[kHardware] = {-EAGAIN};
    sendNotes(kHardware, 5);
    sequencer_.failures[kHardware] = {-ENOENT, 3};
    sendWaiting();
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kHardware, 3);
    EXPECT_EQ(flow_.lateFailureCount(), 2U);
}

TEST_F(OutputFlowTest, DropsWhatWaitsForAPortThatIsGone) {
    sequencer_.usedCells[128] = 200;
    sendNotes(kSynth, 5);
    flow_.forget(kSynth);
    EXPECT_FALSE(flow_.isWaiting());
    read(128);
    sendWaiting();
    EXPECT_THAT(sequencer_.sent, IsEmpty());
    EXPECT_EQ(flow_.lateFailureCount(), 0U);
}

TEST_F(OutputFlowTest, CountsTheBytesOfWhatComesBackFromABatch) {
    // There is room for two messages of two cells. For the second of them it turns out that there is none.
    sequencer_.usedCells[128] = 200 - 25 - 4;
    sequencer_.failures[kSynth] = {-EAGAIN, 1};
    for (int count = 0; count < 10; ++count) {
        add(kSynth, sysEx(10));
    }
    flush();
    ASSERT_EQ(countSentTo(kSynth), 1U);
    sequencer_.failures.clear();
    sequencer_.usedCells[128] = 200 - 25 - 16;
    sendWaiting();
    ASSERT_EQ(countSentTo(kSynth), 9U);
    EXPECT_EQ(send(kSynth, sysEx(10)), 0) << "one message waits, and it is short";
}

TEST_F(OutputFlowTest, AsksForTheRoomOfTheNextClientWithTheNumber) {
    sendNotes(kSynth, 10);
    flow_.forget(kSynth);
    sequencer_.usedCells[128] = 199;
    sendNotes(kSynth, 2);
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, KnowsNothingAfterItIsCleared) {
    sendNotes(kSynth, 10);
    sequencer_.usedCells[129] = 200;
    sendNotes(kDrums, 5);
    flow_.clear();
    EXPECT_FALSE(flow_.isWaiting());
    sequencer_.usedCells[128] = 199;
    sendNotes(kSynth, 2);
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_EQ(countSentTo(kDrums), 0U);
}

}  // namespace

}  // namespace corvel::tests
