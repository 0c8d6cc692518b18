#include "hosts/alsa/SoundCard.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace corvel::tests {

namespace {

namespace fs = std::filesystem;
using hosts::readSoundCard;
using hosts::SoundCard;

/// A sysfs with the kernel's layout: the class folder points to the card below its device.
class SoundCardTest : public testing::Test {
protected:
    void addUSBCard(int index, const std::string& path, const std::map<std::string, std::string>& attributes) {
        const fs::path device = folder_ / "devices/pci0000:00/0000:00:14.0/usb1" / path;
        for (const auto& [name, value] : attributes) {
            writeFile(device / name, value + "\n");
        }
        addCard(index, device / (path + ":1.0"), "UMONE");
        fs::create_directories(folder_ / "bus/usb");
        fs::create_directory_symlink(folder_ / "bus/usb", device / (path + ":1.0") / "subsystem");
    }

    void addCard(int index, const fs::path& device, const std::string& id) {
        const std::string name = "card" + std::to_string(index);
        writeFile(device / "sound" / name / "id", id + "\n");
        fs::create_directory_symlink("../..", device / "sound" / name / "device");
        fs::create_directories(folder_ / "class/sound");
        fs::create_directory_symlink(device / "sound" / name, folder_ / ("class/sound/" + name));
    }

    TemporaryFolder folder_;
};

TEST_F(SoundCardTest, ReadsWhatAUSBDeviceTellsOfItself) {
    addUSBCard(1, "1-2",
               {{"idVendor", "0582"}, {"idProduct", "012a"}, {"serial", "AB12"}, {"manufacturer", "Roland Corp."}});
    const SoundCard card = readSoundCard(1, folder_.path());
    ASSERT_TRUE(card.usb);
    EXPECT_EQ(card.usb->vendor, "0582");
    EXPECT_EQ(card.usb->product, "012a");
    EXPECT_EQ(card.usb->serialNumber, "AB12");
    EXPECT_EQ(card.usb->path, "1-2");
    EXPECT_EQ(card.usb->manufacturer, "Roland Corp.");
    EXPECT_EQ(card.identity(), "usb:0582:012a:AB12");
    EXPECT_EQ(card.place(), "USB 1-2");
}

TEST_F(SoundCardTest, TakesTheUSBPathWhereThereIsNoSerialNumber) {
    addUSBCard(3, "1-4.1", {{"idVendor", "0763"}, {"idProduct", "1041"}});
    const SoundCard card = readSoundCard(3, folder_.path());
    EXPECT_EQ(card.identity(), "usb:0763:1041:1-4.1");
    EXPECT_EQ(card.place(), "USB 1-4.1");
    ASSERT_TRUE(card.usb);
    EXPECT_EQ(card.usb->manufacturer, std::nullopt);
}

TEST_F(SoundCardTest, TakesTheCardIDOnOtherBuses) {
    addCard(0, folder_ / "devices/platform/snd_virmidi.0", "VirMIDI");
    const SoundCard card = readSoundCard(0, folder_.path());
    EXPECT_EQ(card.id, "VirMIDI");
    EXPECT_FALSE(card.usb);
    EXPECT_EQ(card.identity(), "card:VirMIDI");
    EXPECT_EQ(card.place(), "VirMIDI");
}

TEST_F(SoundCardTest, StandsACardThatIsGone) {
    // No machine has this many cards.
    const SoundCard card = readSoundCard(77, folder_.path());
    EXPECT_EQ(card.id, "");
    EXPECT_EQ(card.name, "Sound Card 77");
    EXPECT_FALSE(card.usb);
}

}  // namespace

}  // namespace corvel::tests
