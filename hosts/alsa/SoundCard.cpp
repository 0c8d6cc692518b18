#include "hosts/alsa/SoundCard.hpp"

#include "core/support/Text.hpp"

#include <alsa/asoundlib.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <system_error>

namespace corvel::hosts {

namespace {

/// First line of an attribute; no value if there is none or it is empty.
std::optional<std::string> readAttribute(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string line;
    if (!std::getline(stream, line) || line.empty()) {
        return std::nullopt;
    }
    return text::repairedUTF8(line);
}

std::optional<SoundCard::USBDevice> readUSBDevice(const std::filesystem::path& cardFolder) {
    std::error_code error;
    // The card belongs to an interface of the USB device, whose folder is some levels above.
    std::filesystem::path folder = std::filesystem::canonical(cardFolder / "device", error);
    while (!error && folder.has_relative_path()) {
        const std::optional<std::string> vendor = readAttribute(folder / "idVendor");
        const std::optional<std::string> product = readAttribute(folder / "idProduct");
        if (vendor && product) {
            return SoundCard::USBDevice{.vendor = *vendor,
                                        .product = *product,
                                        .serialNumber = readAttribute(folder / "serial"),
                                        .path = folder.filename().string(),
                                        .manufacturer = readAttribute(folder / "manufacturer")};
        }
        folder = folder.parent_path();
    }
    return std::nullopt;
}

/// The name that the driver gives a card; otherwise its number.
std::string nameOf(int index) {
    char* name = nullptr;
    if (snd_card_get_name(index, &name) < 0) {
        return "Sound Card " + std::to_string(index);
    }
    const std::unique_ptr<char, decltype(&std::free)> owned(name, &std::free);
    return text::repairedUTF8(name);
}

}  // namespace

std::string SoundCard::identity() const {
    if (usb) {
        return "usb:" + usb->vendor + ":" + usb->product + ":" + usb->serialNumber.value_or(usb->path);
    }
    return "card:" + id;
}

std::string SoundCard::place() const {
    return usb ? "USB " + usb->path : id;
}

SoundCard readSoundCard(int index, const std::filesystem::path& sysfs) {
    const std::filesystem::path folder = sysfs / "class" / "sound" / ("card" + std::to_string(index));
    return {.id = readAttribute(folder / "id").value_or(""), .name = nameOf(index), .usb = readUSBDevice(folder)};
}

}  // namespace corvel::hosts
