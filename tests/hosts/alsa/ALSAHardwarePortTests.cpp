// A hardware MIDI port, that of the emulated ES1370 card. Its raw device and its sequencer port share one wire, which
// only one program can use.

#include "tests/hosts/alsa/HostUnderTest.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/RawMIDIDevice.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace corvel::tests {

namespace {

/// The card number of the emulated sound card.
int hardwareCard() {
    for (int card = 0; card < 8; ++card) {
        const std::string folder = "/proc/asound/card" + std::to_string(card);
        if (std::filesystem::exists(folder + "/audiopci")) {
            return card;
        }
    }
    throw std::runtime_error("no ES1370 card: start the machine with one");
}

class ALSAHardwarePort : public testing::Test {
protected:
    ALSAHardwarePort() : card_(hardwareCard()) {
        SequencerPeer observer("Observer");
        for (const SequencerPort& port : observer.ports()) {
            if (port.name == "ES1370") {
                port_ = port;
            }
        }
        corvel_.start();
        destination_ = find(corvel_.destinations());
        source_ = find(corvel_.sources());
    }

    MIDIObjectRef find(const std::vector<ListedEndpoint>& endpoints) const {
        for (const ListedEndpoint& endpoint : endpoints) {
            if (endpoint.name == port_.name) {
                return endpoint.ref;
            }
        }
        return 0;
    }

    int card_;
    SequencerPort port_;
    HostUnderTest corvel_;
    MIDIObjectRef destination_ = 0;
    MIDIObjectRef source_ = 0;
};

TEST_F(ALSAHardwarePort, IsListedBothWaysUnderTheCardsIdentity) {
    EXPECT_EQ(corvel_.source("Ensoniq AudioPCI ES1370").uniqueID, endpointID("source", "card:AudioPCI", 0, "ES1370"));
    EXPECT_EQ(corvel_.destination("Ensoniq AudioPCI ES1370").uniqueID,
              endpointID("destination", "card:AudioPCI", 0, "ES1370"));
}

TEST_F(ALSAHardwarePort, ComesAfterTheCardsBeforeItInTheDeviceTree) {
    const std::shared_ptr<const MIDISetup> setup = corvel_.setup();
    ASSERT_EQ(setup->devices.size(), 3U);
    ASSERT_EQ(setup->devices[1].entities.size(), 1U);
    EXPECT_EQ(setup->devices[1].entities[0].sources.at(0).ref, source_);
    EXPECT_EQ(setup->devices[1].entities[0].destinations.at(0).ref, destination_);
}

TEST_F(ALSAHardwarePort, IsTakenAtTheFirstSendAndKept) {
    ASSERT_EQ(RawMIDIDevice::tryToOpen(card_, 0), 0) << "nobody has it so far";
    ASSERT_EQ(corvel_.send(destination_, {0x90, 60, 100}), 0);
    EXPECT_EQ(RawMIDIDevice::tryToOpen(card_, 0), -EBUSY);
    ASSERT_EQ(corvel_.send(destination_, {0x80, 60, 100}), 0);
    EXPECT_EQ(RawMIDIDevice::tryToOpen(card_, 0), -EBUSY);
    corvel_.dispose();
    EXPECT_TRUE(corvel_.waitUntil([&] { return RawMIDIDevice::tryToOpen(card_, 0) == 0; }));
}

TEST_F(ALSAHardwarePort, HeldByAnotherProgramIsAFailureUntilAReloadAfterItsRelease) {
    std::optional<RawMIDIDevice> other(std::in_place, card_, 0);
    EXPECT_EQ(corvel_.send(destination_, {0x90, 60, 100}), -EAGAIN);
    EXPECT_EQ(corvel_.send(destination_, {0x90, 60, 100}), -EAGAIN);
    other.reset();
    corvel_.reload({});
    EXPECT_EQ(corvel_.send(destination_, {0x90, 60, 100}), 0);
}

TEST_F(ALSAHardwarePort, TakesALongSysExMessageWithoutAFailure) {
    Bytes message(3'000, 0x11);
    message.front() = 0xF0;
    message.back() = 0xF7;
    EXPECT_EQ(corvel_.send(destination_, message), 0);
    EXPECT_EQ(corvel_.send(destination_, {0x90, 60, 100}), 0);
}

TEST_F(ALSAHardwarePort, CanBeConnectedAsASource) {
    EXPECT_EQ(corvel_.connect(source_), 0);
    SequencerPeer observer("Observer");
    EXPECT_EQ(observer.subscribers(port_.address),
              std::vector<SequencerAddress>{observer.find("Corvel", "Corvel Input")});
}

}  // namespace

}  // namespace corvel::tests
