// More arrives at the ALSA host than it has delivered, or than the sequencer keeps for it, on the real sequencer.

#include "tests/hosts/alsa/ALSAReceivingFixture.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <utility>

namespace corvel::tests {

namespace {

using testing::Contains;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

class ALSABacklog : public ALSAReceiving {
protected:
    /// The number of notes delivered until the host has listed the setup. Up to this limit each of them brings another
    /// note, and the ports change again before those that wait are delivered.
    std::size_t deliveredUntilListed(MIDIListing listing, std::size_t limit) {
        constexpr unsigned kWaitingNotes = 32;
        constexpr unsigned kNotesPerChange = 16;
        constexpr unsigned kSendsUntilTheHostReads = 8;
        SequencerPeer other("Changing");
        const MIDIObjectRef elsewhere = corvel_.destination("Midi Through Port-0").ref;
        std::optional<SequencerAddress> guest;
        const auto changePorts = [&] {
            if (guest) {
                other.removePort(*std::exchange(guest, std::nullopt));
            } else {
                guest = other.addPort("Guest", SequencerPeer::kSource);
            }
        };
        std::size_t delivered = 0;
        corvel_.setOnDelivery([&](std::size_t count) {
            const std::size_t before = std::exchange(delivered, delivered + count);
            if (delivered >= limit) {
                return;
            }
            peer_.playNumberedNotes(port_, 0, static_cast<unsigned>(count));
            if (delivered / kNotesPerChange > before / kNotesPerChange) {
                changePorts();
            }
            for (unsigned send = 0; send < kSendsUntilTheHostReads; ++send) {
                EXPECT_EQ(corvel_.send(elsewhere, {0xFE}), kMIDISuccess);
            }
        });
        const std::size_t deliveredWhenListed = corvel_.onQueue([&] {
            peer_.playNumberedNotes(port_, 0, kWaitingNotes);
            changePorts();
            static_cast<void>(corvel_.host().setup(listing));
            return delivered;
        });
        corvel_.setOnDelivery(nullptr);
        return deliveredWhenListed;
    }
};

TEST_F(ALSABacklog, LosesNothingOfABurst) {
    constexpr unsigned kCount = 10'000;
    // At most what the sequencer keeps for a program, so that the speed does not matter.
    constexpr unsigned kPortion = 1'500;
    for (unsigned number = 0; number < kCount; number += kPortion) {
        ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.deliveries().size() >= number; }));
        peer_.playNumberedNotes(port_, number, std::min(kPortion, kCount - number));
    }
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.deliveries().size() >= kCount; }));
    EXPECT_EQ(corvel_.deliveredBytes(), numberedNotes(kCount));
    EXPECT_THAT(corvel_.diagnostics(), IsEmpty());
}

TEST_F(ALSABacklog, KeepsAllThatItReadsWhileItsQueueIsBusy) {
    // More than the preallocated memory holds.
    constexpr unsigned kCount = 40'000;
    constexpr unsigned kPortion = 1'000;
    const MIDIObjectRef elsewhere = corvel_.destination("Midi Through Port-0").ref;
    corvel_.onQueue([&] {
        for (unsigned number = 0; number < kCount; number += kPortion) {
            peer_.playNumberedNotes(port_, number, kPortion);
            // The host reads between sends.
            for (int send = 0; send < 8; ++send) {
                EXPECT_EQ(corvel_.send(elsewhere, {0xFE}), kMIDISuccess);
            }
        }
    });
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.deliveries().size() >= kCount; }));
    EXPECT_EQ(corvel_.deliveredBytes(), numberedNotes(kCount));
    EXPECT_THAT(corvel_.diagnostics(), IsEmpty());
}

TEST_F(ALSABacklog, DoesNotHoldUpAListingThoughNotesAndChangesNeverEnd) {
    constexpr std::size_t kLimit = 5'000;
    EXPECT_LT(deliveredUntilListed(MIDIListing::known, kLimit), kLimit);
    EXPECT_LT(deliveredUntilListed(MIDIListing::afresh, kLimit), kLimit);
}

TEST_F(ALSABacklog, ListsAPortThatEndedUntilItsLastNotesAreDelivered) {
    constexpr unsigned kCount = 1'000;
    corvel_.onQueue([&] {
        peer_.playNumberedNotes(port_, 0, kCount);
        peer_.removePort(port_);
        const auto setup = corvel_.host().setup(MIDIListing::known);
        EXPECT_THAT(setup->sources, Contains(Field(&MIDIEndpointRecord::ref, source_)));
        EXPECT_EQ(corvel_.disconnect(source_), kMIDISuccess);
        EXPECT_EQ(corvel_.connect(source_), kMIDISuccess) << "no failure to show";
    });
    ASSERT_TRUE(corvel_.waitUntil([&] { return !corvel_.notifications().empty(); }));
    EXPECT_EQ(corvel_.notifications().front().messageID, MIDINotification::kObjectRemoved);
    EXPECT_EQ(corvel_.deliveredBytes(), numberedNotes(kCount));
    const auto setup = corvel_.onQueue([&] { return corvel_.host().setup(MIDIListing::known); });
    EXPECT_THAT(setup->sources, Not(Contains(Field(&MIDIEndpointRecord::ref, source_))));
}

TEST_F(ALSABacklog, ConnectsNoPortThatHasTheAddressOfOneThatEnded) {
    SequencerPeer other("Other Player");
    const SequencerAddress ending = other.addPort("Ending", SequencerPeer::kSource);
    const MIDIObjectRef ref = corvel_.source("Other Player Ending").ref;
    corvel_.onQueue([&] {
        peer_.playNumberedNotes(port_, 0, 1'000);
        other.removePort(ending);
        EXPECT_EQ(other.addPort("Beginning", SequencerPeer::kSource), ending);
        // Reads that the port has ended, which takes effect only after all notes.
        static_cast<void>(corvel_.host().setup(MIDIListing::known));
        EXPECT_EQ(corvel_.connect(ref), -ENODEV);
    });
}

TEST_F(ALSABacklog, ReportsAnOverrunAsksForARescanAndGoesOn) {
    for (int time = 1; time <= 2; ++time) {
        const auto release = corvel_.holdQueue();
        // The sequencer keeps 2,000 events. One more makes it drop all of them.
        for (unsigned number = 0; number < 2'100; ++number) {
            peer_.emit(port_, noteEvent(SND_SEQ_EVENT_NOTEON, 0, 1, 1));
        }
        release();
        ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.diagnostics().size() >= static_cast<std::size_t>(time); }));
        EXPECT_EQ(corvel_.diagnostics()[static_cast<std::size_t>(time) - 1],
                  "MIDI input overrun (" + std::to_string(time) + " so far): messages were lost");
        ASSERT_TRUE(
            corvel_.waitUntil([&] { return corvel_.notifications().size() >= static_cast<std::size_t>(time); }));
        EXPECT_EQ(corvel_.notifications().back().messageID, MIDINotification::kSetupChanged);
    }
    peer_.play(port_, {0x90, 99, 99});
    EXPECT_TRUE(corvel_.waitUntil([&] {
        const auto packets = corvel_.deliveries();
        return !packets.empty() && packets.back().bytes == Bytes{0x90, 99, 99};
    }));
}

TEST_F(ALSABacklog, AfterAnOverrunAStaleReferenceDoesNotHitTheProgramThatCameMeanwhile) {
    std::optional<SequencerPeer> old(std::in_place, "Before Overrun");
    old->addPort("In", SequencerPeer::kDestination);
    const MIDIObjectRef stale = corvel_.destination("Before Overrun In").ref;
    const int client = old->client();
    const auto release = corvel_.holdQueue();
    for (unsigned number = 0; number < 2'100; ++number) {
        peer_.emit(port_, noteEvent(SND_SEQ_EVENT_NOTEON, 0, 1, 1));
    }
    // These changes are not announced, because the pool is full.
    old.reset();
    const auto newcomers = startUntilClient("After Overrun", client);
    SequencerPeer& newcomer = *newcomers.back();
    newcomer.addPort("In", SequencerPeer::kDestination);
    release();
    EXPECT_LT(corvel_.send(stale, {0x90, 1, 1}), 0);
    ASSERT_EQ(corvel_.send(corvel_.destination("After Overrun In").ref, {0x90, 2, 2}), 0);
    ASSERT_TRUE(newcomer.readUntilBytes(3));
    EXPECT_EQ(newcomer.receivedBytes(), (Bytes{0x90, 2, 2}));
}

}  // namespace

}  // namespace corvel::tests
