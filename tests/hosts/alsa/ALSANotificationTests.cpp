// The ALSA host's notifications of devices and programs that appear and disappear on the real sequencer.

#include "tests/hosts/alsa/HostUnderTest.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/RawMIDIDevice.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ALSANotifications : public testing::Test {
protected:
    ALSANotifications() { corvel_.start(); }

    /// Waits for this number of notifications and returns them.
    std::vector<MIDINotification> notifications(std::size_t count) {
        EXPECT_TRUE(corvel_.waitUntil([&] { return corvel_.notifications().size() >= count; }));
        return corvel_.notifications();
    }

    HostUnderTest corvel_;
};

void expectNotification(const MIDINotification& notification, std::int32_t messageID, MIDIObjectRef child,
                        std::int32_t childType, std::int32_t parentType) {
    EXPECT_EQ(notification.messageID, messageID);
    EXPECT_EQ(notification.child, child);
    EXPECT_EQ(notification.childType, childType);
    EXPECT_EQ(notification.parentType, parentType);
}

TEST_F(ALSANotifications, NameTheSourceThatAProgramAddsAndRemoves) {
    SequencerPeer peer("Coming");
    const SequencerAddress port = peer.addPort("Out", SequencerPeer::kSource);
    const MIDIObjectRef ref = corvel_.source("Coming Out").ref;
    peer.removePort(port);
    const auto reports = notifications(2);
    ASSERT_THAT(reports, SizeIs(2));
    expectNotification(reports[0], 2, ref, MIDINotification::kSource, MIDINotification::kOther);
    expectNotification(reports[1], 3, ref, MIDINotification::kSource, MIDINotification::kOther);
    EXPECT_FALSE(corvel_.notifiedElsewhere());
}

TEST_F(ALSANotifications, NameTheDestinationThatAProgramAddsAndRemoves) {
    SequencerPeer peer("Coming");
    const SequencerAddress port = peer.addPort("In", SequencerPeer::kDestination);
    const MIDIObjectRef ref = corvel_.destination("Coming In").ref;
    peer.removePort(port);
    const auto reports = notifications(2);
    ASSERT_THAT(reports, SizeIs(2));
    expectNotification(reports[0], 2, ref, MIDINotification::kDestination, MIDINotification::kOther);
    expectNotification(reports[1], 3, ref, MIDINotification::kDestination, MIDINotification::kOther);
}

TEST_F(ALSANotifications, NameADuplexPortBothWaysAsItsSource) {
    SequencerPeer peer("Coming");
    const SequencerAddress port = peer.addPort("Both", SequencerPeer::kDuplex);
    const MIDIObjectRef ref = corvel_.source("Coming Both").ref;
    peer.removePort(port);
    const auto reports = notifications(2);
    ASSERT_THAT(reports, SizeIs(2));
    expectNotification(reports[0], 2, ref, MIDINotification::kSource, MIDINotification::kOther);
    expectNotification(reports[1], 3, ref, MIDINotification::kSource, MIDINotification::kOther);
}

TEST_F(ALSANotifications, SayNothingOfPortsThatAreNoEndpointsNorOfSubscriptionsNorOfTheOwnClient) {
    SequencerPeer peer("Quiet");
    peer.addPort("hidden", SequencerPeer::kDuplex | SND_SEQ_PORT_CAP_NO_EXPORT);
    peer.addPort("private", SND_SEQ_PORT_CAP_READ);
    const SequencerAddress through = peer.find("Midi Through", "Midi Through Port-0");
    ASSERT_EQ(corvel_.connect(corvel_.source("Midi Through Port-0").ref), 0);
    ASSERT_EQ(corvel_.disconnect(corvel_.source("Midi Through Port-0").ref), 0);
    const SequencerAddress virtualPort = peer.find("Virtual Raw MIDI 0-0", "VirMIDI 0-0");
    ASSERT_EQ(peer.connect(virtualPort, through), 0);
    ASSERT_EQ(peer.disconnect(virtualPort, through), 0);
    peer.addPort("Mark", SequencerPeer::kSource);
    EXPECT_THAT(notifications(1), SizeIs(1));
}

TEST_F(ALSANotifications, SayNothingOfAProgramThatHasNoPorts) {
    SequencerPeer peer("Portless");
    peer.rename("Still Portless");
    peer.addPort("Mark", SequencerPeer::kSource);
    EXPECT_THAT(notifications(1), SizeIs(1));
    EXPECT_EQ(corvel_.notifications().front().messageID, MIDINotification::kObjectAdded);
}

TEST_F(ALSANotifications, AreNotMadeOfWhatAProgramSendsInTheSystemsPlace) {
    SequencerPeer peer("Forger");
    const SequencerAddress out = peer.addPort("Out", SequencerPeer::kSource);
    const MIDIObjectRef ref = corvel_.source("Forger Out").ref;
    ASSERT_THAT(notifications(1), SizeIs(1));
    for (const SequencerPort& port : peer.ports()) {
        if (port.clientName == "Corvel") {
            snd_seq_event_t forged{};
            forged.type = SND_SEQ_EVENT_PORT_EXIT;
            forged.data.addr = out.raw();
            peer.emitTo(out, port.address, forged);
        }
    }
    peer.addPort("Mark", SequencerPeer::kSource);
    EXPECT_THAT(notifications(2), SizeIs(2));
    EXPECT_EQ(corvel_.source("Forger Out").ref, ref);
}

TEST_F(ALSANotifications, OfPortsThatAreReadTogetherAreOneChangeOfTheSetup) {
    const auto release = corvel_.holdQueue();
    SequencerPeer peer("Many");
    for (int port = 0; port < 16; ++port) {
        peer.addPort("Port " + std::to_string(port), SequencerPeer::kDuplex);
    }
    release();
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.sourceNames("Many").size() == 16; }));
    peer.addPort("Mark", SequencerPeer::kSource);
    const auto reports = notifications(2);
    ASSERT_THAT(reports, SizeIs(2));
    expectNotification(reports[0], 1, 0, MIDINotification::kOther, MIDINotification::kOther);
    expectNotification(reports[1], 2, corvel_.source("Many Mark").ref, MIDINotification::kSource,
                       MIDINotification::kOther);
}

TEST_F(ALSANotifications, OfPortsThatComeWhileTheMainThreadIsBusyAreOneChangeOfTheSetup) {
    const auto release = corvel_.holdMainQueue();
    SequencerPeer peer("Many");
    for (int port = 0; port < 16; ++port) {
        peer.addPort("Port " + std::to_string(port), SequencerPeer::kDuplex);
    }
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.sourceNames("Many").size() == 16; }));
    release();
    const auto isReported = [&] {
        const auto reports = corvel_.notifications();
        return !reports.empty() && reports.back().messageID == MIDINotification::kSetupChanged;
    };
    EXPECT_TRUE(corvel_.waitUntil(isReported));
    // If the ports were not all read at once, a notification of the first ones was already on its way.
    EXPECT_THAT(corvel_.notifications(), SizeIs(testing::Le(2)));
}

TEST_F(ALSANotifications, ComeForAProgramThatIsKilled) {
    ChildProcess dump({"aseqdump"});
    const auto added = notifications(1);
    ASSERT_THAT(added, SizeIs(1));
    dump.signal(SIGKILL);
    const auto reports = notifications(2);
    ASSERT_THAT(reports, SizeIs(2));
    EXPECT_EQ(reports[1].messageID, 3);
    EXPECT_EQ(reports[1].child, added[0].child);
    EXPECT_THAT(corvel_.destinationNames("aseqdump"), IsEmpty());
}

/// Removes and adds virtual cards, as if a cable were unplugged and plugged in.
class ALSAHotPlug : public ALSANotifications {
protected:
    ~ALSAHotPlug() override {
        if (!isPlugged_) {
            plug();
        }
    }

    void unplug() {
        std::ofstream("/sys/bus/platform/drivers/snd_virmidi/unbind") << "snd_virmidi.0" << std::flush;
        isPlugged_ = false;
    }
    void plug() {
        std::ofstream("/sys/bus/platform/drivers/snd_virmidi/bind") << "snd_virmidi.0" << std::flush;
        isPlugged_ = true;
    }

private:
    bool isPlugged_ = true;
};

TEST_F(ALSAHotPlug, OfAConnectedDeviceBringsTheSameEndpointsBack) {
    const std::string name = "Virtual Raw MIDI 0-3 VirMIDI 0-3";
    const ListedEndpoint source = corvel_.source(name);
    const ListedEndpoint destination = corvel_.destination(name);
    ASSERT_EQ(corvel_.connect(source.ref), 0);
    ASSERT_EQ(corvel_.send(destination.ref, {0x90, 1, 1}), 0);

    unplug();
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.sourceNames("Virtual").empty(); }));
    const auto removed = notifications(1);
    EXPECT_LT(corvel_.send(destination.ref, {0x90, 1, 1}), 0);
    corvel_.disconnect(source.ref);

    plug();
    ASSERT_TRUE(corvel_.waitUntil([&] { return corvel_.sourceNames("Virtual").size() == 4; }));
    EXPECT_GT(notifications(removed.size() + 1).size(), removed.size());
    const ListedEndpoint back = corvel_.source(name);
    EXPECT_NE(back.ref, source.ref);
    EXPECT_EQ(back.uniqueID, source.uniqueID);
    EXPECT_EQ(corvel_.destination(name).uniqueID, destination.uniqueID);

    ASSERT_EQ(corvel_.connect(back.ref), 0);
    RawMIDIDevice device(0, 3);
    device.write(Bytes{0x90, 60, 100});
    ASSERT_TRUE(corvel_.waitUntil([&] { return !corvel_.deliveries().empty(); }));
    EXPECT_EQ(corvel_.deliveries().front(), (DeliveredPacket{back.ref, {0x90, 60, 100}}));
}

TEST_F(ALSAHotPlug, UnseenForAnOverrunOpensTheOutputAgain) {
    SequencerPeer peer("Flood");
    const SequencerAddress port = peer.addPort("Out", SequencerPeer::kSource);
    ASSERT_EQ(corvel_.connect(corvel_.source("Flood Out").ref), 0);
    const std::string name = "Virtual Raw MIDI 0-3 VirMIDI 0-3";
    ASSERT_EQ(corvel_.send(corvel_.destination(name).ref, {0x90, 1, 1}), 0);
    const SequencerAddress output = peer.find("Corvel", "Corvel Output");
    const SequencerAddress device = peer.find("Virtual Raw MIDI 0-3", "VirMIDI 0-3");
    ASSERT_THAT(peer.subscribers(output), ElementsAre(device));

    const auto release = corvel_.holdQueue();
    for (unsigned number = 0; number < 2'100; ++number) {
        peer.emit(port, noteEvent(SND_SEQ_EVENT_NOTEON, 0, 1, 1));
    }
    unplug();
    plug();
    ASSERT_EQ(peer.find("Virtual Raw MIDI 0-3", "VirMIDI 0-3"), device) << "it looks as if nothing had happened";
    ASSERT_THAT(peer.subscribers(output), IsEmpty());
    release();
    ASSERT_TRUE(corvel_.waitUntil([&] { return !corvel_.diagnostics().empty(); }));

    ASSERT_EQ(corvel_.send(corvel_.destination(name).ref, {0x90, 1, 1}), 0);
    EXPECT_THAT(peer.subscribers(output), ElementsAre(device));
}

}  // namespace

}  // namespace corvel::tests
