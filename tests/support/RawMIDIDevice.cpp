#include "tests/support/RawMIDIDevice.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace corvel::tests {

namespace {

constexpr int kWriteDeadlineMs = 20'000;

int openDevice(int card, int device) {
    const std::string path = "/dev/snd/midiC" + std::to_string(card) + "D" + std::to_string(device);
    const int descriptor = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    return descriptor < 0 ? -errno : descriptor;
}

}  // namespace

RawMIDIDevice::RawMIDIDevice(int card, int device) : descriptor_(openDevice(card, device)) {
    if (descriptor_ < 0) {
        throw std::system_error(-descriptor_, std::generic_category(), "open a raw MIDI device");
    }
}

RawMIDIDevice::~RawMIDIDevice() {
    close(descriptor_);
}

void RawMIDIDevice::write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
            continue;
        }
        if (written < 0 && errno != EAGAIN && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "write to a raw MIDI device");
        }
        pollfd room{descriptor_, POLLOUT, 0};
        if (poll(&room, 1, kWriteDeadlineMs) == 0) {
            throw std::system_error(ETIMEDOUT, std::generic_category(), "write to a raw MIDI device");
        }
    }
}

int RawMIDIDevice::tryToOpen(int card, int device) {
    const int descriptor = openDevice(card, device);
    if (descriptor < 0) {
        return descriptor;
    }
    close(descriptor);
    return 0;
}

}  // namespace corvel::tests
