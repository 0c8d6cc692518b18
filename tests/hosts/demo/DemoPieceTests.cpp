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
using ::testing::ElementsAreArray;
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
    std::vector<std::string> texts;
    for (std::uint64_t step = 0; step < 384; ++step) {
        for (const MIDIBytes& bytes : packetsAtDemoStep(DemoPiece::keyboard, step)) {
            if (bytes[0] >= 0xB0) {
                texts.push_back(std::to_string(step) + ": " + byteText(bytes));
            }
        }
    }
    EXPECT_THAT(texts, ElementsAre("192: B0 40 7F", "192: E0 00 30", "195: E0 00 38", "198: E0 00 40", "286: B0 40 00",
                                   "348: B0 01 10", "354: B0 01 28", "360: B0 01 40", "366: B0 01 38", "372: B0 01 20",
                                   "378: B0 01 00"));
    EXPECT_THAT(byteTexts(packetsAtDemoStep(DemoPiece::keyboard, 192)),
                ElementsAre("B0 40 7F", "E0 00 30", "90 4F 64"));
}

// The music, note for note

struct PlayedNote {
    std::uint64_t step = 0;
    int key = 0;
    int velocity = 0;
    std::uint64_t length = 0;
};

/// The notes of one cycle on a channel, in the order in which they begin.
std::vector<PlayedNote> playedNotes(DemoPiece piece, int channel) {
    std::vector<PlayedNote> notes;
    std::map<int, std::size_t> sounding;
    for (std::uint64_t step = 0; step < 384; ++step) {
        for (const MIDIBytes& bytes : packetsAtDemoStep(piece, step)) {
            if (bytes[0] == 0x8F + channel) {
                sounding[bytes[1]] = notes.size();
                notes.push_back({.step = step, .key = bytes[1], .velocity = bytes[2], .length = 0});
            } else if (bytes[0] == 0x7F + channel) {
                PlayedNote& ended = notes.at(sounding.at(bytes[1]));
                ended.length = step - ended.step;
            }
        }
    }
    return notes;
}

/// "0:76/92+22" is key 76 at step 0 with velocity 92 for 22 steps.
std::vector<std::string> noteTexts(DemoPiece piece, int channel) {
    std::vector<std::string> texts;
    for (const PlayedNote& note : playedNotes(piece, channel)) {
        texts.push_back(std::to_string(note.step) + ":" + std::to_string(note.key) + "/" +
                        std::to_string(note.velocity) + "+" + std::to_string(note.length));
    }
    return texts;
}

/// The hits of a drum: "0/112" is a hit at step 0 with velocity 112.
std::string hits(int drum) {
    std::string text;
    for (const PlayedNote& note : playedNotes(DemoPiece::pads, 10)) {
        if (note.key == drum) {
            EXPECT_EQ(note.length, 5U);
            text += std::to_string(note.step) + "/" + std::to_string(note.velocity) + " ";
        }
    }
    return text;
}

TEST(DemoPiece, HasAKeyboardThatPlaysTheMelody) {
    EXPECT_THAT(noteTexts(DemoPiece::keyboard, 1),
                ElementsAre("0:76/92+22", "24:74/80+10", "36:72/84+10", "48:69/90+40", "96:72/88+22", "120:74/80+10",
                            "132:76/84+10", "144:77/94+20", "168:76/86+20", "192:79/100+34", "228:76/82+10",
                            "240:72/88+22", "264:74/84+20", "288:74/92+34", "324:71/80+10", "336:67/88+44"));
}

TEST(DemoPiece, HasPadsThatPlayTheRhythmAndEndItWithTheToms) {
    EXPECT_EQ(playedNotes(DemoPiece::pads, 10).size(), 56U);
    EXPECT_EQ(hits(49), "0/96 ");
    EXPECT_EQ(hits(36), "0/112 48/104 60/88 96/112 144/104 156/88 192/112 240/104 252/88 288/112 336/104 348/88 ");
    EXPECT_EQ(hits(38), "24/104 72/108 120/104 168/108 216/104 264/108 312/104 ");
    EXPECT_EQ(hits(42),
              "0/84 12/60 24/84 36/60 48/84 60/60 72/84 84/60 96/84 108/60 120/84 132/60 144/84 156/60 168/84 180/60 "
              "192/84 204/60 216/84 228/60 240/84 252/60 264/84 276/60 288/84 300/60 312/84 324/60 336/84 348/60 "
              "360/84 372/60 ");
    EXPECT_EQ(hits(50) + hits(47) + hits(45) + hits(43), "360/100 366/100 372/100 378/100 ");
}

TEST(DemoPiece, HasASequencerThatPlaysBassChordsAndArpeggio) {
    EXPECT_THAT(noteTexts(DemoPiece::sequencer, 2),
                ElementsAre("0:45/100+20", "36:45/84+10", "48:45/96+20", "84:57/88+10", "96:41/100+20", "132:41/84+10",
                            "144:41/96+20", "180:53/88+10", "192:36/100+20", "228:36/84+10", "240:36/96+20",
                            "276:48/88+10", "288:43/100+20", "324:43/84+10", "336:43/96+20", "372:55/88+10"));
    EXPECT_THAT(
        noteTexts(DemoPiece::sequencer, 3),
        ElementsAre("0:57/64+92", "0:60/64+92", "0:64/64+92", "96:57/64+92", "96:60/64+92", "96:65/64+92",
                    "192:55/64+92", "192:60/64+92", "192:64/64+92", "288:55/64+92", "288:59/64+92", "288:62/64+92"));
    std::vector<int> arpeggio;
    for (const PlayedNote& note : playedNotes(DemoPiece::sequencer, 4)) {
        EXPECT_EQ(note.step, 6 * arpeggio.size());
        EXPECT_EQ(note.velocity, 72);
        EXPECT_EQ(note.length, 5U);
        arpeggio.push_back(note.key);
    }
    EXPECT_THAT(arpeggio, ElementsAreArray({69, 72, 76, 72, 69, 72, 76, 72, 69, 72, 76, 72, 69, 72, 76, 72,
                                            69, 72, 77, 72, 69, 72, 77, 72, 69, 72, 77, 72, 69, 72, 77, 72,
                                            67, 72, 76, 72, 67, 72, 76, 72, 67, 72, 76, 72, 67, 72, 76, 72,
                                            67, 71, 74, 71, 67, 71, 74, 71, 67, 71, 74, 71, 67, 71, 74, 71}));
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
