"""Accidents on a stage that must have no effect: a hand resting on a key, a double click."""

from support import pointing
from support.documents import DRUMS, KEYBOARD, PADS, RECORDER, SYNTH, connection, shortcut
from support.screen import Screen
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

BIN = "Delete selected connection"


class HeldKeys(WindowTestCase):
    def setUp(self):
        super().setUp()
        connections = [connection(source, destination, (None, None), (2, shortcut("1", "command")))
                       for source in (KEYBOARD, PADS) for destination in (SYNTH, DRUMS, RECORDER)]
        self.router = self.start_with(("Live", connections), *((f"Song {number}", []) for number in range(1, 8)))
        self.router.wait_text("3 inputs, 3 outputs")

    def focus(self, name):
        self.router.button(name).focus()
        wait_for(lambda: self.router.button(name).is_focused, f"{name!r} to have the focus")

    def test_return_on_the_bin_of_the_sets_asks_and_does_not_answer(self):
        self.focus("Delete current set")
        pointing.hold_physical_key("Return", seconds=1.5)
        dialog = self.router.dialog("Delete Connection Set")
        self.assertEqual(len(self.saved().set_names), 8)
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(set_names=[f"Song {number}" for number in range(1, 8)])

    def test_control_r_reads_the_devices_once(self):
        pointing.hold_physical_key("r", "ctrl", seconds=1.5)
        self.router.wait_reloads(2)

    def test_control_return_connects_once_and_says_nothing_else(self):
        pointing.click(self.router.input("Demo Sequencer").middle)
        pointing.click(self.router.output("Demo Synth").middle)
        self.router.wait_enabled("Connect")
        pointing.hold_physical_key("Return", "ctrl", seconds=1.5)
        wait_for(lambda: len(self.saved().connections) == 7, "seven connections")
        self.assertFalse(self.router.shows("Connection already exists"))

    def test_the_space_bar_adds_no_second_channel(self):
        add = self.router.row_button(0, "Add output channel for this connection")
        add.focus()
        wait_for(lambda: self.router.row_button(0, "Add output channel for this connection").is_focused, "the focus")
        pointing.hold_physical_key("space", seconds=1.5)
        dialog = self.router.dialog("Add Output Channel")
        self.assertEqual(len(self.saved().assignments(0)), 2)
        pointing.press_keys("Escape")
        dialog.wait_closed()

    def test_a_channel_can_be_switched_while_a_menu_is_open(self):
        self.router.select_connection(1)
        self.router.wait_selected_connection(1)
        self.router.open_channel_menu(0)
        pointing.press_physical_key("1", "ctrl")
        self.wait_saved(channels=[None, 2, None, None, None, None])
        self.router.leave_menu()


class DoubleClicks(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH), connection(PADS, DRUMS),
                                                connection(PADS, SYNTH)]))
        self.router.wait_text("3 inputs, 3 outputs")

    def test_one_on_the_bin_deletes_one_connection(self):
        self.router.select_connection(0)
        self.router.wait_selected_connection(0)
        pointing.double_click(self.router.button(BIN).middle)
        self.router.wait_connection_rows(2)
        pointing.park_pointer()
        self.assertEqual(self.saved().connections, [(PADS, DRUMS), (PADS, SYNTH)])
        pointing.click(self.router.button(BIN).middle)
        self.wait_saved(connections=[(PADS, SYNTH)])

    def test_one_on_connect_connects(self):
        pointing.click(self.router.input("Demo Keyboard").middle)
        pointing.click(self.router.output("Demo Drums").middle)
        self.router.wait_enabled("Connect")
        pointing.double_click(self.router.button("Connect").middle)
        wait_for(lambda: len(self.saved().connections) == 4, "four connections")
        self.assertFalse(self.router.shows("Connection already exists"))


class WhatTheBinMeans(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH), connection(PADS, DRUMS),
                                                connection(PADS, SYNTH)]))
        self.router.wait_text("3 inputs, 3 outputs")

    def select(self, index):
        self.router.select_connection(index)
        self.router.wait_selected_connection(index)

    def wait_bin(self, name):
        wait_for(lambda: self.router.button(BIN).name == name, lambda: f"{name!r}, not {self.router.button(BIN)}")

    def test_it_names_the_connection(self):
        self.select(1)
        self.wait_bin(f"{BIN}: Demo Pads to Demo Drums")
        self.select(2)
        self.wait_bin(f"{BIN}: Demo Pads to Demo Synth")

    def test_the_row_stands_out_while_the_pointer_is_on_it(self):
        self.select(1)
        left, top, width, height = self.router.connection_row(1).extents
        edge = (left + width // 3, top)
        quiet = Screen().colour(edge)
        pointing.move_pointer(self.router.button(BIN).middle)
        wait_for(lambda: Screen().colour(edge) != quiet, "the row to stand out")
        pointing.park_pointer()
        wait_for(lambda: Screen().colour(edge) == quiet, "the row to be as before")

    def test_escape_deselects_everything(self):
        self.select(0)
        pointing.click(self.router.input("Demo Keyboard").middle)
        pointing.click(self.router.output("Demo Drums").middle)
        self.router.wait_enabled("Connect")
        pointing.press_keys("Escape")
        self.wait_nothing_selected()

    def test_a_click_on_the_empty_stage_deselects_everything(self):
        self.select(0)
        pointing.click(self.router.input("Demo Keyboard").middle)
        pointing.click(self.router.output("Demo Drums").middle)
        self.router.wait_enabled("Connect")
        left, top, width, height = self.router.accessibility.find(name="Routing stage").extents
        pointing.click((left + width // 2, top + height - 8))
        self.wait_nothing_selected()

    def wait_nothing_selected(self):
        self.router.wait_enabled("Connect", False)
        self.router.wait_enabled(BIN, False)
        self.wait_bin(BIN)

    def test_the_delete_key_deletes_in_the_list_and_on_the_stage(self):
        self.select(1)
        pointing.press_keys("Delete")
        self.wait_saved(connections=[(KEYBOARD, SYNTH), (PADS, SYNTH)])
        self.router.wait_connection_rows(2)
        self.select(1)
        self.router.accessibility.find(name="Routing stage").focus()
        wait_for(lambda: self.router.accessibility.find(name="Routing stage").is_focused, "the stage to have the focus")
        pointing.press_keys("Delete")
        self.wait_saved(connections=[(KEYBOARD, SYNTH)])

    def test_the_plus_of_a_row_selects_it_and_its_dialog_names_it(self):
        self.select(0)
        self.router.press_in_row(2, "Add output channel for this connection")
        dialog = self.router.dialog("Add Output Channel")
        self.assertTrue(dialog.again().shows("Demo Pads to Demo Synth"))
        pointing.press_keys("Escape")
        dialog.wait_closed()
        self.router.wait_selected_connection(2)


class KeysOfTheProgram(WindowTestCase):
    def test_the_dialog_says_that_keys_mean_something_else_too(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH),
                                           connection(PADS, DRUMS, (3, shortcut("1", "command")))]))
        router.wait_text("3 inputs, 3 outputs")
        router.press_in_row(0, "Add output channel for this connection")
        dialog = router.dialog("Add Output Channel")
        for key, text in (("q", "In other sets these keys mean \u201cQuit Corvel\u201d"),
                          ("f", "In other sets these keys mean \u201cFilter Devices\u201d"),
                          ("1", "Also a shortcut of \u201cDemo Pads to Demo Drums\u201d")):
            pointing.press_physical_key(key, "ctrl")
            wait_for(lambda: dialog.again().shows(text), text)
        pointing.press_keys("Escape")

    def test_quitting_by_key_asks_while_messages_are_routed(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]))
        wait_for(lambda: "No MIDI yet" not in router.connection_row(0).description, "a note")
        pointing.press_keys("ctrl+q")
        dialog = router.dialog("Quit Corvel")
        pointing.press_keys("Escape")
        dialog.wait_closed()
        self.assertTrue(router.corvel.is_running)
        pointing.press_keys("ctrl+q")
        router.dialog("Quit Corvel")
        pointing.press_keys("Return")
        self.assertEqual(router.corvel.wait_ended(), 0)
