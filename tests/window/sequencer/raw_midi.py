"""The raw side of the virtual MIDI devices: a keyboard that sends and a synthesizer that receives."""

import os
import select
import threading
import time

from support.waiting import DEADLINE, wait_for


def note_on(key, channel=1, velocity=64):
    return bytes([0x8F + channel, key, velocity])


def note_off(key, channel=1, velocity=64):
    return bytes([0x7F + channel, key, velocity])


def note(key, channel=1):
    """Note-on and note-off of a key."""
    return note_on(key, channel) + note_off(key, channel)


def numbered_note(number):
    """A note with its number in key and velocity, which count up."""
    key, velocity = number % 128, 1 + number // 128 % 127
    return note_on(key, velocity=velocity) + note_off(key, velocity=velocity)


def phrase(count):
    return b"".join(numbered_note(number) for number in range(count))


def _path(device):
    return f"/dev/snd/midiC0D{device}"


class Keyboard:
    """Plays into a device."""

    def __init__(self, device):
        self._file = os.open(_path(device), os.O_WRONLY | os.O_NONBLOCK)

    def play(self, data):
        deadline = time.monotonic() + DEADLINE
        while data:
            if time.monotonic() > deadline:
                raise AssertionError(f"{len(data)} bytes found no room in the device")
            if select.select([], [self._file], [], 1)[1]:
                data = data[os.write(self._file, data):]

    def close(self):
        os.close(self._file)


class Synth:
    """Records all three-byte messages that arrive at a device from now on."""

    def __init__(self, device):
        self._file = os.open(_path(device), os.O_RDONLY | os.O_NONBLOCK)
        self._heard = bytearray()
        self._status = None
        self._stopping, self._stop = os.pipe()
        self._thread = threading.Thread(target=self._listen, daemon=True)
        self._thread.start()

    def _listen(self):
        while True:
            ready, _, _ = select.select([self._file, self._stopping], [], [])
            if self._stopping in ready:
                return
            for byte in os.read(self._file, 65536):
                self._hear(byte)

    def _hear(self, byte):
        if byte & 0x80:
            self._status = byte
        elif len(self._heard) % 3 == 0:
            # The kernel leaves out a status byte that equals the previous one.
            self._heard.append(self._status)
        self._heard.append(byte)

    @property
    def heard(self):
        return bytes(self._heard)

    def wait_length(self, length):
        """Waits for this number of bytes."""
        wait_for(lambda: len(self._heard) >= length,
                 lambda: f"{length} bytes, not {len(self._heard)}: {self.heard[-60:].hex(' ')} at the end")

    def wait_heard(self, data):
        """Waits for as many bytes, which must be equal to these."""
        self.wait_length(len(data))
        if self.heard != data:
            at = next((at for at, (heard, sent) in enumerate(zip(self.heard, data)) if heard != sent), len(data))
            raise AssertionError(f"from byte {at} on {self.heard[at:at + 30].hex(' ')}, not "
                                 f"{data[at:at + 30].hex(' ')}")

    def forget(self):
        self._heard.clear()

    def close(self):
        os.write(self._stop, b".")
        self._thread.join()
        for file in (self._file, self._stopping, self._stop):
            os.close(file)


class Performer:
    """Plays numbered notes one after the other until it is stopped."""

    def __init__(self, keyboard, pause):
        self._keyboard = keyboard
        self._pause = pause
        self._stopping = threading.Event()
        self._played = 0
        self._thread = threading.Thread(target=self._play, daemon=True)
        self._thread.start()

    def _play(self):
        while not self._stopping.wait(self._pause):
            self._keyboard.play(numbered_note(self._played))
            self._played += 1

    @property
    def played(self):
        """The number of complete notes."""
        return self._played

    def wait_played(self, more):
        """Waits until this many more notes are played; returns their total number."""
        target = self._played + more
        wait_for(lambda: self._played >= target, lambda: f"{target} notes, not {self._played}")
        return self._played

    def stop(self):
        """Stops after a complete note; returns the number of notes."""
        self._stopping.set()
        self._thread.join()
        return self._played
