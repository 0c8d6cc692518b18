"""Devices that are unplugged and plugged in again while the window is shown."""

import os
import time

from support import pointing
from support.waiting import wait_for

from . import glance
from .raw_midi import note
from .sequencer_test_case import KEYBOARD, KEYBOARD_ID, SYNTH, THROUGH, THROUGH_ID, SequencerTestCase

DRIVER = "/sys/bus/platform/drivers/snd_virmidi"
DEVICES = {f"Virtual Raw MIDI 0-{device} VirMIDI 0-{device}" for device in range(4)}


class Unplugging(SequencerTestCase):
    def setUp(self):
        super().setUp()
        self.is_plugged_in = True
        self.addCleanup(self.plug_in)

    def test_devices_leave_the_window_and_come_back_and_notes_flow_again(self):
        router = self.start_connected()
        self.hear(note(60))
        row = self.connection_row(router)
        columns = [glance.find(router.corvel.pid, name, f"{direction}, online").parent
                   for direction, name in (("Input", KEYBOARD), ("Output", SYNTH))]
        for key in (61, 62):
            self.pull_out()
            row.wait_description(lambda text: "As Is / Offline / " in text, "a connection without its devices")
            for column in columns:
                self.wait_rows(column, lambda names: not names & DEVICES, "no virtual devices")
                self.wait_rows(column, lambda names: "Midi Through Port-0" in names, "what was not unplugged")
            self.plug_in()
            row.wait_description(lambda text: "As Is / Active / " in text, "the connection again")
            for column in columns:
                self.wait_rows(column, lambda names: names >= DEVICES, "all virtual devices")
            self.wait_routing()
            self.hear(note(key))
            row.wait_description(lambda text: text.endswith(f" / Active / Note Off 80 {key:02X} 40"), "the last event")
        self.assertTrue(router.corvel.is_running)
        router.corvel.terminate()
        self.assertEqual(router.corvel.wait_ended(), 0)

    def test_a_device_that_leaves_in_the_middle_of_its_own_drag_is_not_connected(self):
        self.write_document(("Live", []))
        router = self.start()
        keyboard, through = (glance.find(router.corvel.pid, name, f"{direction}, online")
                             for direction, name in (("Input", KEYBOARD), ("Output", THROUGH)))
        inputs = keyboard.parent
        pointing.start_drag(keyboard.middle, through.middle)
        self.pull_out()
        self.wait_rows(inputs, lambda names: not names & DEVICES, "no virtual devices")
        # The last reload comes 0.35 s after the last change, and overwrites the status line.
        time.sleep(3)
        # The remaining rows have moved, so the pointer moves to this one again.
        pointing.move_pointer(through.middle)
        pointing.release_button()
        glance.find(router.corvel.pid, "Input endpoint is no longer available")
        self.assertEqual(self.saved().connections, [])
        self.plug_in()
        self.wait_rows(inputs, lambda names: names >= DEVICES, "all virtual devices")
        pointing.drag(glance.find(router.corvel.pid, KEYBOARD, "Input, online").middle, through.middle)
        self.wait_saved(connections=[(KEYBOARD_ID, THROUGH_ID)])

    def pull_out(self):
        # The kernel waits until no program has a device open.
        self.close_devices()
        self.tell_driver("unbind")
        self.is_plugged_in = False

    def plug_in(self):
        if not self.is_plugged_in:
            self.tell_driver("bind")
            self.is_plugged_in = True
            wait_for(lambda: all(os.path.exists(f"/dev/snd/midiC0D{device}") for device in range(4)), "the devices")
            self.open_devices()

    @staticmethod
    def tell_driver(what):
        with open(f"{DRIVER}/{what}", "w", encoding="ascii") as file:
            file.write("snd_virmidi.0")

    @staticmethod
    def wait_rows(column, is_wanted, what):
        def names():
            return {row.name for row in column.children}

        wait_for(lambda: is_wanted(names()), lambda: f"{what}, not {names()}")
