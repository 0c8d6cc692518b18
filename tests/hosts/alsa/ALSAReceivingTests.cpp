// How the ALSA host delivers what other programs play, on the real sequencer.

#include "tests/hosts/alsa/ALSAReceivingFixture.hpp"
#include "tests/support/RawMIDIDevice.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace corvel::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(ALSAReceiving, DeliversEveryChannelMessageAsOnePacketWithItsStatus) {
    EXPECT_THAT(packetsOf({
                    noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100),
                    noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 0),
                    noteEvent(SND_SEQ_EVENT_NOTEOFF, 15, 60, 64),
                    noteEvent(SND_SEQ_EVENT_KEYPRESS, 1, 61, 17),
                    controlEvent(SND_SEQ_EVENT_CONTROLLER, 2, 7, 127),
                    controlEvent(SND_SEQ_EVENT_PGMCHANGE, 3, 0, 5),
                    controlEvent(SND_SEQ_EVENT_CHANPRESS, 4, 0, 99),
                    controlEvent(SND_SEQ_EVENT_PITCHBEND, 5, 0, 0),
                    controlEvent(SND_SEQ_EVENT_PITCHBEND, 5, 0, -8192),
                    controlEvent(SND_SEQ_EVENT_PITCHBEND, 5, 0, 8191),
                }),
                ElementsAre(Bytes{0x90, 60, 100}, Bytes{0x90, 60, 0}, Bytes{0x8F, 60, 64}, Bytes{0xA1, 61, 17},
                            Bytes{0xB2, 7, 127}, Bytes{0xC3, 5}, Bytes{0xD4, 99}, Bytes{0xE5, 0x00, 0x40},
                            Bytes{0xE5, 0x00, 0x00}, Bytes{0xE5, 0x7F, 0x7F}));
}

TEST_F(ALSAReceiving, DeliversWhatALookAtThePortsReadThoughNothingComesAfterIt) {
    corvel_.onQueue([this] {
        peer_.play(port_, {0x90, 60, 100});
        static_cast<void>(corvel_.host().setup(MIDIListing::known));
    });
    EXPECT_TRUE(corvel_.waitUntil([this] { return corvel_.deliveredBytes() == Bytes{0x90, 60, 100}; }));
}

TEST_F(ALSAReceiving, DeliversEverySystemMessage) {
    EXPECT_THAT(packetsOf({
                    controlEvent(SND_SEQ_EVENT_QFRAME, 0, 0, 0x35),
                    controlEvent(SND_SEQ_EVENT_SONGPOS, 0, 0, 1000),
                    controlEvent(SND_SEQ_EVENT_SONGSEL, 0, 0, 9),
                    controlEvent(SND_SEQ_EVENT_TUNE_REQUEST, 0, 0, 0),
                    controlEvent(SND_SEQ_EVENT_CLOCK, 0, 0, 0),
                    controlEvent(SND_SEQ_EVENT_START, 0, 0, 0),
                    controlEvent(SND_SEQ_EVENT_CONTINUE, 0, 0, 0),
                    controlEvent(SND_SEQ_EVENT_STOP, 0, 0, 0),
                    controlEvent(SND_SEQ_EVENT_SENSING, 0, 0, 0),
                    controlEvent(SND_SEQ_EVENT_RESET, 0, 0, 0),
                }),
                ElementsAre(Bytes{0xF1, 0x35}, Bytes{0xF2, 0x68, 0x07}, Bytes{0xF3, 9}, Bytes{0xF6}, Bytes{0xF8},
                            Bytes{0xFA}, Bytes{0xFB}, Bytes{0xFC}, Bytes{0xFE}, Bytes{0xFF}));
}

TEST_F(ALSAReceiving, DeliversAFourteenBitControllerAsItsTwoMessagesInOnePacket) {
    // 1000 is 7 times 128 and 104.
    EXPECT_THAT(packetsOf({controlEvent(SND_SEQ_EVENT_CONTROL14, 0, 7, 1000)}),
                ElementsAre(Bytes{0xB0, 7, 7, 0xB0, 39, 104}));
}

TEST_F(ALSAReceiving, DeliversParameterNumbersAsTheirFourMessagesInOnePacket) {
    // Parameter 300 is 2 times 128 and 44.
    EXPECT_THAT(packetsOf({controlEvent(SND_SEQ_EVENT_NONREGPARAM, 1, 300, 1000),
                           controlEvent(SND_SEQ_EVENT_REGPARAM, 1, 300, 1000)}),
                ElementsAre(Bytes{0xB1, 99, 2, 0xB1, 98, 44, 0xB1, 6, 7, 0xB1, 38, 104},
                            Bytes{0xB1, 101, 2, 0xB1, 100, 44, 0xB1, 6, 7, 0xB1, 38, 104}));
}

TEST_F(ALSAReceiving, DeliversSysExPiecesAsTheyComeWithRealtimeBetween) {
    Bytes message(1000, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    const std::span<const std::uint8_t> all(message);
    const std::vector<Bytes> packets =
        packetsOf({rawEvent(all.first(256)), controlEvent(SND_SEQ_EVENT_CLOCK, 0, 0, 0),
                   rawEvent(all.subspan(256, 256)), rawEvent(all.subspan(512, 256)), rawEvent(all.subspan(768))});
    ASSERT_THAT(packets, SizeIs(5));
    EXPECT_EQ(packets[0], Bytes(message.begin(), message.begin() + 256));
    EXPECT_EQ(packets[1], Bytes{0xF8});
    EXPECT_EQ(packets[2], Bytes(256, 0x11));
    EXPECT_EQ(packets[3], Bytes(256, 0x11));
    EXPECT_EQ(packets[4], Bytes(message.begin() + 768, message.end()));
}

TEST_F(ALSAReceiving, DeliversASysExMessageLargerThanTheLibrarysBuffer) {
    Bytes message(20'000, 0x22);
    message.front() = 0xF0;
    message.back() = 0xF7;
    const std::vector<Bytes> packets = packetsOf({rawEvent(message), noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 1)});
    EXPECT_THAT(packets, ElementsAre(message, Bytes{0x90, 60, 1}));
}

TEST_F(ALSAReceiving, DropsEventsThatAreNoMIDI) {
    snd_seq_event_t echo{};
    echo.type = SND_SEQ_EVENT_ECHO;
    ASSERT_GE(peer_.emit(port_, echo), 0);
    snd_seq_event_t forged{};
    forged.type = SND_SEQ_EVENT_PORT_START;
    forged.data.addr = port_.raw();
    ASSERT_GE(peer_.emit(port_, forged), 0);
    EXPECT_THAT(packetsOf({noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 1)}), ElementsAre(Bytes{0x90, 60, 1}));
    EXPECT_THAT(corvel_.notifications(), IsEmpty()) << "announcements come from the system only";
}

TEST_F(ALSAReceiving, IgnoresProgramsThatItIsNotConnectedWith) {
    SequencerPeer stranger("Stranger");
    const SequencerAddress own = stranger.addPort("Out", SequencerPeer::kSource);
    // Whether or not it is refused, it must have no effect.
    stranger.emitTo(own, stranger.find("Corvel", "Corvel Input"), noteEvent(SND_SEQ_EVENT_NOTEON, 0, 1, 1));
    EXPECT_THAT(packetsOf({noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 1)}), ElementsAre(Bytes{0x90, 60, 1}));
}

TEST_F(ALSAReceiving, TellsTheSourcesApart) {
    SequencerPeer other("Other Player");
    const SequencerAddress first = other.addPort("A", SequencerPeer::kSource);
    const SequencerAddress second = other.addPort("B", SequencerPeer::kSource);
    const MIDIObjectRef firstRef = corvel_.source("Other Player A").ref;
    const MIDIObjectRef secondRef = corvel_.source("Other Player B").ref;
    ASSERT_EQ(corvel_.connect(firstRef), 0);
    ASSERT_EQ(corvel_.connect(secondRef), 0);
    other.play(first, {0x90, 1, 1});
    other.play(second, {0x90, 2, 2});
    peer_.play(port_, {0x90, 3, 3});
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.deliveries().size() >= 3; }));
    EXPECT_THAT(corvel_.deliveries(),
                ElementsAre(DeliveredPacket{firstRef, {0x90, 1, 1}}, DeliveredPacket{secondRef, {0x90, 2, 2}},
                            DeliveredPacket{source_, {0x90, 3, 3}}));
}

TEST_F(ALSAReceiving, EndsWithTheTaskThatDisconnected) {
    ASSERT_THAT(peer_.subscribers(port_), SizeIs(1));
    EXPECT_EQ(corvel_.disconnect(source_), 0);
    EXPECT_TRUE(corvel_.waitUntil([&] { return peer_.subscribers(port_).empty(); }));
}

TEST_F(ALSAReceiving, GoesOnThroughReloadsWithoutTouchingTheSubscription) {
    SequencerPeer observer("Observer");
    const SequencerAddress ear = observer.addPort("Ear", SequencerPeer::kDestination);
    ASSERT_EQ(observer.connect({SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE}, ear), 0);
    ASSERT_TRUE(observer.readUntilCount(1)) << "the announcement of the observer's own subscription";
    observer.forgetReceived();

    constexpr unsigned kReloads = 50;
    constexpr unsigned kNotes = 1'500;
    std::atomic<bool> isPlayed = false;
    std::thread player([&] {
        peer_.playNumberedNotes(port_, 0, kNotes);
        isPlayed = true;
    });
    unsigned reloads = 0;
    for (; reloads < kReloads || !isPlayed; ++reloads) {
        corvel_.reload({source_});
    }
    player.join();
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.deliveries().size() >= kNotes; }));
    EXPECT_GE(reloads, kReloads);
    EXPECT_EQ(corvel_.deliveredBytes(), numberedNotes(kNotes));

    // A port of the observer marks the end of the announcements during the reloads.
    observer.addPort("Mark", SequencerPeer::kSource);
    ASSERT_TRUE(observer.readUntil(
        [&] { return !observer.received().empty() && observer.received().back().type == SND_SEQ_EVENT_PORT_START; }));
    EXPECT_THAT(observer.received(), SizeIs(1)) << "no subscription came or went";
}

TEST_F(ALSAReceiving, LeavesOutASysExMessageThatStayedInItsSendersMemory) {
    Bytes bytes{0xF0, 1, 2, 0xF7};
    snd_seq_event_t event = rawEvent(bytes);
    snd_seq_ev_set_varusr(&event, 4, bytes.data());
    ASSERT_GE(peer_.emit(port_, event), 0);
    EXPECT_THAT(packetsOf({noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100)}), ElementsAre(Bytes{0x90, 60, 100}));
}

/// The descriptors of this process that are open on the sequencer.
std::vector<int> sequencerDescriptors() {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) == "/dev/snd/seq") {
            found.push_back(std::stoi(entry.path().filename()));
        }
    }
    return found;
}

TEST(ALSAReceivingAfterAReadFailure, OpensTheSequencerAgainAndReceivesAndSends) {
    HostUnderTest corvel;
    corvel.start();
    const std::vector<int> descriptors = sequencerDescriptors();
    ASSERT_THAT(descriptors, SizeIs(1));
    // A folder in place of the client makes every read fail.
    const int folder = ::open("/", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(::dup2(folder, descriptors.front()), 0);
    ::close(folder);
    corvel.onQueue([&] { static_cast<void>(corvel.host().setup(MIDIListing::known)); });

    ASSERT_TRUE(corvel.waitUntil([&] { return corvel.diagnostics().size() >= 2; }));
    EXPECT_THAT(corvel.diagnostics(),
                ElementsAre("MIDI can no longer be read: Is a directory; the sequencer is opened again",
                            "The sequencer is open again"));
    ASSERT_TRUE(corvel.waitUntil([&] { return !corvel.notifications().empty(); }));
    EXPECT_EQ(corvel.notifications().front().messageID, MIDINotification::kIOError);
    SequencerPeer peer("Again");
    const SequencerAddress port = peer.addPort("Both", SequencerPeer::kDuplex);
    ASSERT_EQ(corvel.connect(corvel.source("Again Both").ref), kMIDISuccess);
    peer.play(port, {0x90, 60, 100});
    EXPECT_TRUE(corvel.waitUntil([&] { return corvel.deliveredBytes() == Bytes{0x90, 60, 100}; }));
    ASSERT_EQ(corvel.send(corvel.destination("Again Both").ref, {0x80, 60, 0}), kMIDISuccess);
    EXPECT_TRUE(peer.readUntilBytes(3));
    EXPECT_THAT(peer.find("Corvel", "Corvel Input").client, testing::Ge(0));
}

TEST(ALSAReceivingFromARawDevice, DeliversWhatIsWrittenToIt) {
    HostUnderTest corvel;
    corvel.start();
    ASSERT_EQ(corvel.connect(corvel.source("Virtual Raw MIDI 0-1 VirMIDI 0-1").ref), 0);
    Bytes written{0x90, 60, 100, 0xF8, 0xB0, 7, 99, 0xF2, 1, 2, 0xF0};
    written.insert(written.end(), 1'000, 0x33);
    written.insert(written.end(), {0xF7, 0xC5, 1});
    RawMIDIDevice device(0, 1);
    device.write(written);
    ASSERT_TRUE(corvel.waitUntil([&] { return corvel.deliveredBytes().size() >= written.size(); }));
    EXPECT_EQ(corvel.deliveredBytes(), written);
}

}  // namespace

}  // namespace corvel::tests
