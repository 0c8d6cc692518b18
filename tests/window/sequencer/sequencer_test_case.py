"""The base of tests with both a real window and the real sequencer."""

import os
import re

from support import documents, pointing, windows
from support.router_window import RouterWindow
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

from . import glance
from .raw_midi import Keyboard, Synth

# The IDs are made from the card and the device, so they are the same on every machine.
KEYBOARD = "Virtual Raw MIDI 0-0 VirMIDI 0-0"
SYNTH = "Virtual Raw MIDI 0-1 VirMIDI 0-1"
KEYBOARD_ID = -762804485
SYNTH_ID = 1044841681
# Messages to this output come back from the input of the same name.
THROUGH = "Midi Through Port-0"
THROUGH_SOURCE_ID = 2033977708
THROUGH_ID = -2065501447


class SequencerTestCase(WindowTestCase):
    """A keyboard and a synthesizer on the sequencer: the first two of the virtual devices."""

    def setUp(self):
        super().setUp()
        self.open_devices()
        self.addCleanup(self.close_devices)

    def open_devices(self):
        self.keyboard = Keyboard(0)
        self.synth = Synth(1)

    def close_devices(self):
        self.keyboard.close()
        self.synth.close()

    def hear(self, played):
        """Plays these bytes and expects exactly them."""
        self.keyboard.play(played)
        self.synth.wait_heard(played)
        self.synth.forget()

    def saved(self):
        wait_for(lambda: os.path.exists(self.home.document), "the first save")
        return documents.SavedDocument(self.home.document)

    def write_document(self, *sets):
        self.home.write_document(documents.document(*sets))

    def start(self):
        """Starts the program on the sequencer and waits until its window has the keyboard focus."""
        return RouterWindow(self.launch("--midi", "alsa").wait_window())

    def start_connected(self, *assignments):
        """The same with a connection from the keyboard to the synthesizer; waits until it routes."""
        self.write_document(("Live", [documents.connection(
            KEYBOARD_ID, SYNTH_ID, *assignments, source_name=KEYBOARD, destination_name=SYNTH)]))
        router = self.start()
        self.wait_routing()
        return router

    @staticmethod
    def wait_routing():
        """Waits until the program receives what the keyboard plays."""
        def is_subscribed():
            with open("/proc/asound/seq/clients", encoding="utf-8", errors="replace") as file:
                clients = re.split(r"^Client ", file.read(), flags=re.MULTILINE)
            return any('"Virtual Raw MIDI 0-0"' in client and "Connecting To" in client for client in clients)

        wait_for(is_subscribed, "the keyboard to be connected")

    @staticmethod
    def connection_row(router):
        """The row of the connection from the keyboard to the synthesizer. Its line has the same name, but no text."""
        return glance.find(router.corvel.pid, f"{KEYBOARD} to {SYNTH}", " / ", from_the_end=True)

    def move_and_resize(self, router):
        """Moves and resizes the window; returns its frame."""
        window = router.corvel.window
        windows.move(window, 130, 80)
        windows.resize(window, 1320, 820)
        wait_for(lambda: windows.content(window).x < 200 and windows.content(window).width == 1320,
                 "the window to take its place and size")
        return windows.frame(window)
