#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace corvel::tests {

/// A raw MIDI device opened for writing, as a program that knows no sequencer holds it.
class RawMIDIDevice {
public:
    /// "/dev/snd/midiC<card>D<device>". Throws `std::system_error` when it cannot be opened.
    RawMIDIDevice(int card, int device);
    RawMIDIDevice(const RawMIDIDevice&) = delete;
    RawMIDIDevice& operator=(const RawMIDIDevice&) = delete;
    ~RawMIDIDevice();

    /// Writes all of the bytes; waits for room. Throws `std::system_error`, also past the deadline.
    void write(std::span<const std::uint8_t> bytes);

    /// What opening the device answers: 0, or the negative error.
    [[nodiscard]] static int tryToOpen(int card, int device);

private:
    int descriptor_;
};

}  // namespace corvel::tests
