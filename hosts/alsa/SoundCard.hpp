#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace corvel::hosts {

/// A sound card, as far as it tells one device from another.
struct SoundCard {
    /// A device on the USB.
    struct USBDevice {
        std::string vendor;
        std::string product;
        std::optional<std::string> serialNumber;
        /// Where it is plugged in ("1-2").
        std::string path;
        std::optional<std::string> manufacturer;

        bool operator==(const USBDevice&) const = default;
    };

    /// The card's short id ("VirMIDI").
    std::string id;
    /// The name that its driver gives it, or "Sound Card" and its number.
    std::string name;
    std::optional<USBDevice> usb;

    /// What stays the same when the device is unplugged and plugged in again: its USB vendor, product and serial
    /// number (its USB path where it has none), otherwise its card id.
    [[nodiscard]] std::string identity() const;

    /// Where the device is, to tell it from a like one: "USB 1-2", or the card id.
    [[nodiscard]] std::string place() const;

    bool operator==(const SoundCard&) const = default;
};

/// Reads what its driver, and sysfs, mounted at `sysfs`, say of a card. What sysfs does not tell stays empty. Opens the
/// card's control device. Any thread.
[[nodiscard]] SoundCard readSoundCard(int index, const std::filesystem::path& sysfs = "/sys");

}  // namespace corvel::hosts
