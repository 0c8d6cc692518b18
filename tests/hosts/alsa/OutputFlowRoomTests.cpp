#include "tests/hosts/alsa/OutputFlowFixture.hpp"

#include <chrono>

namespace corvel::tests {

namespace {

using namespace std::chrono_literals;

// Room

TEST_F(OutputFlowTest, SendsAtOnceWhatTheReceiverHasRoomFor) {
    sendNotes(kSynth, 100);
    EXPECT_FALSE(flow_.isWaiting());
    expectNotesInOrder(kSynth, 100);
}

TEST_F(OutputFlowTest, NeverOverrunsAReceiverThatDoesNotRead) {
    sendNotes(kSynth, 1'000);
    EXPECT_TRUE(flow_.isWaiting());
    for (int attempt = 0; attempt < 10; ++attempt) {
        time_ += 5ms;
        sendWaiting();
    }
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_LT(countSentTo(kSynth), 200U) << "a little stays free for others who send there";
    EXPECT_GT(countSentTo(kSynth), 100U);
}

TEST_F(OutputFlowTest, CountsTheRoomOfWhatIsAddedAndNotYetSent) {
    sequencer_.usedCells[128] = 150;
    for (unsigned number = 0; number < 3; ++number) {
        addNote(kHardware, number);
    }
    for (unsigned number = 0; number < 60; ++number) {
        addNote(kSynth, number);
    }
    flush();
    EXPECT_EQ(countSentTo(kSynth), 25U) << "50 are free, and an eighth of the 200 stays so";
    EXPECT_FALSE(sequencer_.overran[128]);
}

TEST_F(OutputFlowTest, SendsWhatWaitsInOrderAsTheReceiverReads) {
    sendNotes(kSynth, 1'000);
    readAll(128);
    expectNotesInOrder(kSynth, 1'000);
}

TEST_F(OutputFlowTest, KeepsTheOrderWhenRoomComesBackBeforeTheNextSend) {
    sendNotes(kSynth, 300);
    read(128);
    ASSERT_EQ(sendNote(kSynth, 300), 0);
    readAll(128);
    expectNotesInOrder(kSynth, 301);
}

TEST_F(OutputFlowTest, HoldsUpNoOtherDestination) {
    sendNotes(kSynth, 1'000);
    sendNotes(kDrums, 100);
    EXPECT_EQ(countSentTo(kDrums), 100U);
    sendNotes(kHardware, 5'000);
    EXPECT_EQ(countSentTo(kHardware), 5'000U) << "the kernel's clients have no such pool";
}

TEST_F(OutputFlowTest, CountsThePortsOfOneProgramTogether) {
    for (unsigned number = 0; number < 400; ++number) {
        ASSERT_EQ(sendNote({128, static_cast<int>(number % 4)}, number), 0);
    }
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, CountsTheCellsOfSysEx) {
    for (int count = 0; count < 20; ++count) {
        ASSERT_EQ(send(kSynth, sysEx(1'000)), 0);
    }
    EXPECT_TRUE(flow_.isWaiting());
    readAll(128);
    EXPECT_EQ(bytesSent().size(), 20'000U);
}

TEST_F(OutputFlowTest, SendsAnEventThatOnlyAnEmptyPoolCanTake) {
    sequencer_.poolSizes[128] = 37;
    ASSERT_EQ(send(kSynth, sysEx(1'000)), 0);
    EXPECT_EQ(countSentTo(kSynth), 1U);
    EXPECT_FALSE(sequencer_.overran[128]);
}

TEST_F(OutputFlowTest, CountsACellForSysExAndOneForEvery28BytesOrFewer) {
    sequencer_.usedCells[128] = 200 - 25 - 6;
    for (int count = 0; count < 4; ++count) {
        add(kSynth, sysEx(28));
    }
    flush();
    EXPECT_EQ(countSentTo(kSynth), 3U);
    sequencer_.usedCells[129] = 200 - 25 - 6;
    for (int count = 0; count < 4; ++count) {
        add(kDrums, sysEx(29));
    }
    flush();
    EXPECT_EQ(countSentTo(kDrums), 2U);
}

TEST_F(OutputFlowTest, LeavesOneCellOfASmallPoolFree) {
    sequencer_.poolSizes[128] = 8;
    sendNotes(kSynth, 10);
    EXPECT_EQ(countSentTo(kSynth), 7U);
}

// Queries of room

TEST_F(OutputFlowTest, AsksBehindANoteThatComesAlone) {
    sendNotes(kSynth, 1);
    sequencer_.calls.clear();
    time_ += 1s;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.calls, "!?");
    time_ += 1s;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.calls, "!?!?");
}

TEST_F(OutputFlowTest, AsksAheadOfTheSecondNoteAfterAPause) {
    sendNotes(kSynth, 1);
    sequencer_.calls.clear();
    time_ += 1s;
    addNote(kSynth, 0);
    addNote(kSynth, 1);
    flush();
    EXPECT_EQ(sequencer_.calls, "?!");
}

TEST_F(OutputFlowTest, AsksAgainAfterAWhileBecauseOthersSendThereToo) {
    expectNoOverrunWhereOthersLeaveOnePlace(10, 2ms);
}

TEST_F(OutputFlowTest, AsksAgainLaterWhereItSendsLittle) {
    expectNoOverrunWhereOthersLeaveOnePlace(2, 11ms);
    EXPECT_EQ(sequencer_.questionCount(), 3);
}

TEST_F(OutputFlowTest, LeavesRoomForWhatOthersSendBeforeItAsksAgain) {
    sendNotes(kSynth, 10);
    sequencer_.usedCells[128] += 20;
    time_ += 9ms;
    sendNotes(kSynth, 300);
    EXPECT_FALSE(sequencer_.overran[128]);
    EXPECT_TRUE(flow_.isWaiting());
}

TEST_F(OutputFlowTest, DoesNotAskForEveryEvent) {
    sendNotes(kSynth, 100);
    EXPECT_EQ(sequencer_.questionCount(), 1);
    sendNotes(kHardware, 5'000);
    EXPECT_EQ(sequencer_.questionCount(), 2);
}

TEST_F(OutputFlowTest, DoesNotAskForEveryNoteOfAPerformance) {
    for (unsigned number = 0; number < 16; ++number) {
        ASSERT_EQ(sendNote(kSynth, number), 0);
        read(128);
    }
    EXPECT_LT(sequencer_.questionCount(), 8);
}

TEST_F(OutputFlowTest, AsksAgainAfterAMillisecondOnceMoreThanEightCellsWereUsed) {
    sendNotes(kSynth, 7);
    time_ += 2ms;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.questionCount(), 1);
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.questionCount(), 2);
}

TEST_F(OutputFlowTest, AsksAgainAfterMoreThanTenMilliseconds) {
    sendNotes(kSynth, 1);
    time_ += 10ms;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.questionCount(), 1);
    time_ += 1ns;
    sendNotes(kSynth, 1);
    EXPECT_EQ(sequencer_.questionCount(), 2);
}

}  // namespace

}  // namespace corvel::tests
