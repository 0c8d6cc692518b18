#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace corvel::hosts {

/// The properties of a sound card that distinguish devices.
struct SoundCard {
    /// A device on the USB.
    struct USBDevice {
        std::string vendor;
        std::string product;
        std::optional<std::string> serialNumber;
        /// Its position on the bus ("1-2").
        std::string path;
        std::optional<std::string> manufacturer;

        bool operator==(const USBDevice&) const = default;
    };

    /// The card's short id ("VirMIDI").
    std::string id;
    /// The name that its driver gives it, otherwise "Sound Card" and its number.
    std::string name;
    std::optional<USBDevice> usb;

    /// The properties that stay the same when the device is unplugged and plugged in again: its USB vendor, product and
    /// serial number (if it has none, its USB path), otherwise its card id.
    [[nodiscard]] std::string identity() const;

    /// The position of the device, which distinguishes it from a similar one: "USB 1-2", or the card id.
    [[nodiscard]] std::string place() const;

    bool operator==(const SoundCard&) const = default;
};

/// Reads a card's properties from its driver and from sysfs, which is mounted at `sysfs`. Properties that sysfs does
/// not have stay empty. Opens the card's control device. Any thread.
[[nodiscard]] SoundCard readSoundCard(int index, const std::filesystem::path& sysfs = "/sys");

}  // namespace corvel::hosts
