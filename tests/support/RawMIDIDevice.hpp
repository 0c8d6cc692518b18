#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace corvel::tests {

/// A raw MIDI device opened for writing, as programs without the sequencer use it.
class RawMIDIDevice {
public:
    /// "/dev/snd/midiC<card>D<device>". Throws `std::system_error` if it cannot be opened.
    RawMIDIDevice(int card, int device);
    RawMIDIDevice(const RawMIDIDevice&) = delete;
    RawMIDIDevice& operator=(const RawMIDIDevice&) = delete;
    ~RawMIDIDevice();

    /// Writes all bytes and waits for room. Throws `std::system_error`, also after the deadline.
    void write(std::span<const std::uint8_t> bytes);

    /// The result of opening the device: 0, or the negative error.
    [[nodiscard]] static int tryToOpen(int card, int device);

private:
    int descriptor_;
};

}  // namespace corvel::tests
