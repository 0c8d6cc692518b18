#include "hosts/demo/DemoPiece.hpp"

#include "tests/support/ByteText.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using hosts::DemoPiece;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The state of a receiver of a piece.
class Receiver {
public:
    void receive(const std::vector<MIDIBytes>& packets) {
        for (const MIDIBytes& bytes : packets) {
            receive(bytes);
        }
    }

    [[nodiscard]] bool isSilent() const { return sounding_.empty(); }
    [[nodiscard]] const std::map<std::pair<int, int>, int>& controllers() const { return controllers_; }
    [[nodiscard]] int bend() const { return bend_; }
    [[nodiscard]] const std::set<int>& channels() const { return channels_; }
    [[nodiscard]] bool isRunning() const { return isRunning_; }

private:
    void receive(const MIDIBytes& bytes) {
        ASSERT_FALSE(bytes.empty());
        const int kind = bytes[0] & 0xF0;
        const int channel = (bytes[0] & 0x0F) + 1;
        if (kind != 0xF0) {
            channels_.insert(channel);
        }
        if (kind == 0x90) {
            ASSERT_EQ(bytes.size(), 3U);
            EXPECT_GT(bytes[2], 0);
            EXPECT_TRUE(sounding_.emplace(channel, bytes[1]).second) << "struck twice: " << byteText(bytes);
        } else if (kind == 0x80) {
            ASSERT_EQ(bytes.size(), 3U);
            EXPECT_EQ(sounding_.erase({channel, bytes[1]}), 1U) << "not sounding: " << byteText(bytes);
        } else if (kind == 0xB0) {
            ASSERT_EQ(bytes.size(), 3U);
            controllers_[{channel, bytes[1]}] = bytes[2];
        } else if (kind == 0xE0) {
            ASSERT_EQ(bytes.size(), 3U);
            bend_ = bytes[2] * 128 + bytes[1];
        } else if (kind == 0xC0) {
            ASSERT_EQ(bytes.size(), 2U);
        } else {
            ASSERT_EQ(bytes.size(), 1U);
            ASSERT_THAT(bytes[0], AnyOf(0xF8, 0xFA, 0xFC));
            isRunning_ = bytes[0] == 0xFC ? false : isRunning_ || bytes[0] == 0xFA;
        }
    }

    std::set<std::pair<int, int>> sounding_;
    std::map<std::pair<int, int>, int> controllers_;
    std::set<int> channels_;
    int bend_ = 8192;
    bool isRunning_ = false;
};

Receiver receiverAfter(DemoPiece piece, std::uint64_t steps) {
    Receiver receiver;
    for (std::uint64_t step = 0; step < steps; ++step) {
        receiver.receive(packetsAtDemoStep(piece, step));
    }
    return receiver;
}

TEST(DemoPiece, HasTwentyFourStepsToAQuarterOfHalfASecond) {
    EXPECT_EQ(hosts::timeOfDemoStep(0).count(), 0);
    EXPECT_EQ(hosts::timeOfDemoStep(1).count(), 20'833'333);
    EXPECT_EQ(hosts::timeOfDemoStep(3).count(), 62'500'000);
    EXPECT_EQ(hosts::timeOfDemoStep(24).count(), 500'000'000);
}

TEST(DemoPiece, DoesNotDriftOverHours) {
    EXPECT_EQ(hosts::timeOfDemoStep(1'000'000).count(), 20'833'333'333'333);
    EXPECT_EQ(hosts::timeOfDemoStep(24ULL * 120 * 60 * 24), std::chrono::hours(24));
}

TEST(DemoPiece, HasAKeyboardThatBeginsWithAnEOnChannelOne) {
    EXPECT_THAT(byteTexts(packetsAtDemoStep(DemoPiece::keyboard, 0)), ElementsAre("90 4C 5C"));
    EXPECT_THAT(packetsAtDemoStep(DemoPiece::keyboard, 1), IsEmpty());
    EXPECT_THAT(byteTexts(packetsAtDemoStep(DemoPiece::keyboard, 22)), ElementsAre("80 4C 40"));
}

TEST(DemoPiece, HasAKeyboardThatUsesPedalBendAndModulation) {
    EXPECT_THAT(byteTexts(packetsAtDemoStep(DemoPiece::keyboard, 192)),
                ElementsAre("B0 40 7F", "E0 00 30", "90 4F 64"));
    EXPECT_THAT(byteTexts(packetsAtDemoStep(DemoPiece::keyboard, 198)), ElementsAre("E0 00 40"));
    EXPECT_THAT(byteTexts(packetsAtDemoStep(DemoPiece::keyboard, 360)), ElementsAre("B0 01 40"));
}

TEST(DemoPiece, HasASequencerThatStartsTheClockBeforeAllElse) {
    const std::vector<std::string> first = byteTexts(packetsAtDemoStep(DemoPiece::sequencer, 0));
    ASSERT_EQ(first.size(), 10U);
    EXPECT_EQ(first[0], "FA");
    EXPECT_EQ(first[1], "F8");
    EXPECT_EQ(first[2], "C1 21");
    EXPECT_EQ(first[3], "C2 59");
    EXPECT_EQ(first[4], "C3 0B");
    EXPECT_EQ(first[5], "91 2D 64");
    // One cycle later the clock is already running.
    EXPECT_EQ(byteTexts(packetsAtDemoStep(DemoPiece::sequencer, 384))[0], "F8");
}

TEST(DemoPiece, HasASequencerThatSendsOneClockAStep) {
    for (std::uint64_t step = 0; step < 400; ++step) {
        const std::vector<MIDIBytes> packets = packetsAtDemoStep(DemoPiece::sequencer, step);
        EXPECT_EQ(std::count(packets.begin(), packets.end(), MIDIBytes{0xF8}), 1) << step;
    }
}

TEST(DemoPiece, KeepsEachDeviceToItsChannels) {
    EXPECT_THAT(receiverAfter(DemoPiece::keyboard, 384).channels(), ElementsAre(1));
    EXPECT_THAT(receiverAfter(DemoPiece::pads, 384).channels(), ElementsAre(10));
    EXPECT_THAT(receiverAfter(DemoPiece::sequencer, 384).channels(), ElementsAre(2, 3, 4));
}

TEST(DemoPiece, RepeatsAfterFourBars) {
    for (const DemoPiece piece : {DemoPiece::keyboard, DemoPiece::pads, DemoPiece::sequencer}) {
        for (std::uint64_t step = 1; step < 384; ++step) {
            EXPECT_EQ(packetsAtDemoStep(piece, step), packetsAtDemoStep(piece, step + 384)) << step;
        }
    }
}

TEST(DemoPiece, EndsWithNothingSoundingWhereverItIsStopped) {
    for (const DemoPiece piece : {DemoPiece::keyboard, DemoPiece::pads, DemoPiece::sequencer}) {
        Receiver playing;
        for (std::uint64_t step = 0; step < 800; ++step) {
            Receiver stopped = playing;
            stopped.receive(packetsAtDemoEnd(piece, step));
            ASSERT_TRUE(stopped.isSilent()) << step;
            ASSERT_FALSE(stopped.isRunning()) << step;
            ASSERT_EQ(stopped.bend(), 8192) << step;
            for (const auto& [controller, value] : stopped.controllers()) {
                ASSERT_EQ(value, 0) << controller.second << " at " << step;
            }
            playing.receive(packetsAtDemoStep(piece, step));
        }
    }
}

TEST(DemoPiece, EndsWithNothingToSayBeforeItsFirstStep) {
    EXPECT_THAT(packetsAtDemoEnd(DemoPiece::sequencer, 0), IsEmpty());
}

TEST(DemoPiece, EndsTheNotesThatSoundThenTheControllers) {
    EXPECT_THAT(byteTexts(packetsAtDemoEnd(DemoPiece::keyboard, 1)),
                ElementsAre("80 4C 40", "B0 40 00", "B0 01 00", "E0 00 40"));
    // The note-off of step 22 was played.
    EXPECT_THAT(byteTexts(packetsAtDemoEnd(DemoPiece::keyboard, 23)), ElementsAre("B0 40 00", "B0 01 00", "E0 00 40"));
}

}  // namespace
}  // namespace corvel::tests
