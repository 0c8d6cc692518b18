// Messages that were played before a change of the setup must be delivered in the setup of that time, however late the
// router reads them: a program that plays and exits at once, a port that is replaced, other devices that appear and
// disappear meanwhile.

#include "tests/program/SequencerProgramFixture.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <span>

namespace corvel::tests {

namespace {

/// Another program plays it after everything else. What has not arrived before it is lost.
const Bytes kMark{0xFB};

/// A program that starts and exits, one that stays and marks the end of each burst, and a receiver of both.
class BurstEnd : public SequencerProgramFixture {
protected:
    BurstEnd()
        : receiver_("Stage Synth"),
          conductor_("Stage Clock"),
          tick_(conductor_.addPort("Out", SequencerPeer::kSource)) {
        receiver_.addPort("In", SequencerPeer::kDestination);
        receiver_.setInputPool(kMaxPool);
        connect("Guest Keyboard", "Stage Synth");
        connect("Stage Clock", "Stage Synth");
    }

    /// Starts the program that plays, and waits until the router is connected to it.
    void enter() {
        guest_.emplace("Guest Keyboard");
        keys_ = guest_->addPort("Out", SequencerPeer::kSource);
        ASSERT_TRUE(waitUntilHeard(*guest_, keys_)) << corvel_->standardError();
    }

    /// Waits until the receiver has everything before the mark, and stores it in `events`.
    void takeUpToMark(std::vector<ReceivedEvent>& events) {
        ASSERT_TRUE(receiver_.readUntil([&] {
            return !receiver_.received().empty() && receiver_.received().back().bytes == kMark;
        })) << receiver_.received().size()
            << " events\n"
            << corvel_->standardError();
        events = receiver_.received();
        events.pop_back();
        receiver_.forgetReceived();
    }

    void expectNotesThenMark(unsigned count) {
        std::vector<ReceivedEvent> events;
        ASSERT_NO_FATAL_FAILURE(takeUpToMark(events));
        expectNumberedNotes(events, count);
        EXPECT_EQ(receiver_.overruns(), 0U);
    }

    void expectBytesThenMark(const Bytes& message) {
        std::vector<ReceivedEvent> events;
        ASSERT_NO_FATAL_FAILURE(takeUpToMark(events));
        Bytes bytes;
        for (const ReceivedEvent& event : events) {
            bytes.insert(bytes.end(), event.bytes.begin(), event.bytes.end());
        }
        EXPECT_EQ(bytes.size(), message.size());
        EXPECT_TRUE(bytes == message);
        EXPECT_EQ(receiver_.overruns(), 0U);
    }

    static Bytes sysEx(std::size_t size) {
        Bytes message(size, 0);
        for (std::size_t index = 0; index < size; ++index) {
            message[index] = static_cast<std::uint8_t>(index * 7 % 128);
        }
        message.front() = 0xF0;
        message.back() = 0xF7;
        return message;
    }

    /// Plays part of a SysEx message as a device does, in pieces of 256 bytes: 11 of the sequencer's cells each.
    void playPieces(std::span<const std::uint8_t> bytes) {
        constexpr std::size_t kPiece = 256;
        while (!bytes.empty()) {
            const auto piece = bytes.first(std::min(kPiece, bytes.size()));
            ASSERT_GE(guest_->emit(keys_, rawEvent(piece)), 0);
            bytes = bytes.subspan(piece.size());
        }
    }

    SequencerPeer receiver_;
    SequencerPeer conductor_;
    SequencerAddress tick_;
    std::optional<SequencerPeer> guest_;
    SequencerAddress keys_;
};

TEST_F(BurstEnd, OfNotesArrivesWhenTheProgramThatPlayedThemEndsAtOnce) {
    ASSERT_NO_FATAL_FAILURE(start());
    for (int run = 0; run < runs(); ++run) {
        SCOPED_TRACE(run);
        ASSERT_NO_FATAL_FAILURE(enter());
        guest_->playNumberedNotes(keys_, 0, 1'500);
        guest_.reset();
        conductor_.play(tick_, kMark);
        ASSERT_NO_FATAL_FAILURE(expectNotesThenMark(1'500));
        ASSERT_FALSE(HasFailure());
    }
    terminate();
}

TEST_F(BurstEnd, OfNotesArrivesWhenTheRouterReadsItTogetherWithTheEndOfTheProgram) {
    ASSERT_NO_FATAL_FAILURE(start());
    for (int run = 0; run < runs(); ++run) {
        SCOPED_TRACE(run);
        ASSERT_NO_FATAL_FAILURE(enter());
        ASSERT_NO_FATAL_FAILURE(halt());
        guest_->playNumberedNotes(keys_, 0, 1'500);
        guest_.reset();
        conductor_.play(tick_, kMark);
        resume();
        ASSERT_NO_FATAL_FAILURE(expectNotesThenMark(1'500));
        ASSERT_FALSE(HasFailure());
    }
    terminate();
}

TEST_F(BurstEnd, OfALargeSysExArrivesWhenTheProgramThatPlayedItEndsAtOnce) {
    // The last 34,560 bytes, 1,485 cells, are played at once: the sequencer keeps 2,000 cells for the router.
    constexpr std::size_t kFirst = 15'440;
    const Bytes message = sysEx(50'000);
    const std::span<const std::uint8_t> all(message);
    ASSERT_NO_FATAL_FAILURE(start());
    for (int run = 0; run < runs(); ++run) {
        SCOPED_TRACE(run);
        ASSERT_NO_FATAL_FAILURE(enter());
        ASSERT_NO_FATAL_FAILURE(playPieces(all.first(kFirst)));
        ASSERT_TRUE(receiver_.readUntilBytes(kFirst));
        ASSERT_NO_FATAL_FAILURE(playPieces(all.subspan(kFirst)));
        guest_.reset();
        conductor_.play(tick_, kMark);
        ASSERT_NO_FATAL_FAILURE(expectBytesThenMark(message));
        ASSERT_FALSE(HasFailure());
    }
    terminate();
}

TEST_F(BurstEnd, OfALargeSysExArrivesWhenTheRouterReadsItTogetherWithTheEndOfTheProgram) {
    // 1,892 cells: as much as the sequencer keeps for the router, less room for the announcements.
    const Bytes message = sysEx(44'000);
    ASSERT_NO_FATAL_FAILURE(start());
    for (int run = 0; run < runs(); ++run) {
        SCOPED_TRACE(run);
        ASSERT_NO_FATAL_FAILURE(enter());
        ASSERT_NO_FATAL_FAILURE(halt());
        ASSERT_NO_FATAL_FAILURE(playPieces(message));
        guest_.reset();
        conductor_.play(tick_, kMark);
        resume();
        ASSERT_NO_FATAL_FAILURE(expectBytesThenMark(message));
        ASSERT_FALSE(HasFailure());
    }
    terminate();
}

TEST_F(BurstEnd, ArrivesAsItsPortWasWhenAnotherPortTakesItsPlaceAtOnce) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(enter());
    ASSERT_NO_FATAL_FAILURE(halt());
    guest_->playNumberedNotes(keys_, 0, 1'500);
    guest_->removePort(keys_);
    ASSERT_EQ(guest_->addPort("Replacement", SequencerPeer::kSource), keys_);
    conductor_.play(tick_, kMark);
    resume();
    ASSERT_NO_FATAL_FAILURE(expectNotesThenMark(1'500));
    // The new port is connected to nothing.
    ASSERT_TRUE(waitUntilHeard(*guest_, keys_));
    guest_->play(keys_, {0x90, 60, 100});
    conductor_.play(tick_, kMark);
    ASSERT_NO_FATAL_FAILURE(expectNotesThenMark(0));
    terminate();
}

TEST_F(BurstEnd, OfAnotherProgramIsWholeWhenDevicesComeAndGoInItsMiddle) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(enter());
    std::optional<SequencerPeer> device;
    playInBatches(*guest_, keys_, receiver_, 0, 10'000, 500, [&](unsigned) {
        if (device) {
            device.reset();
        } else {
            device.emplace("Other Device");
            device->addPort("Port", SequencerPeer::kDuplex);
        }
    });
    conductor_.play(tick_, kMark);
    ASSERT_NO_FATAL_FAILURE(expectNotesThenMark(10'000));
    terminate();
}

TEST_F(BurstEnd, OfAnotherProgramIsWholeWhenItIsReadTogetherWithDevicesThatComeAndGo) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(enter());
    std::optional<SequencerPeer> device;
    for (unsigned played = 0; played < 10'000; played += 1'000) {
        ASSERT_NO_FATAL_FAILURE(halt());
        guest_->playNumberedNotes(keys_, played, 500);
        device.emplace("Other Device");
        device->addPort("Port", SequencerPeer::kDuplex);
        guest_->playNumberedNotes(keys_, played + 500, 500);
        device.reset();
        resume();
        ASSERT_TRUE(receiver_.readUntilCount(played + 1'000))
            << receiver_.received().size() << " of " << played + 1'000 << " notes";
    }
    conductor_.play(tick_, kMark);
    ASSERT_NO_FATAL_FAILURE(expectNotesThenMark(10'000));
    terminate();
}

}  // namespace

}  // namespace corvel::tests
