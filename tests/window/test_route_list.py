"""The list of connections, the curves above it and the output-channel dialog."""

from support import pointing
from support.documents import DRUMS, KEYBOARD, PADS, RECORDER, SEQUENCER, SYNTH, connection, shortcut
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

OPTION, SHIFT, COMMAND = "\u2325", "\u21e7", "\u2318"
ADD = "Add output channel for this connection"
EDIT = "Edit selected output channel"
DELETE = "Delete selected output channel"


class Curves(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start()
        self.router.wait_connection_rows(3)

    def middle_of_curve(self, input_name, output_name):
        box = self.router.box
        _, start = self.router.input(input_name).middle
        _, end = self.router.output(output_name).middle
        return box.x + box.width // 2, (start + end) // 2

    def test_a_click_near_the_middle_of_a_curve_selects_its_connection(self):
        for index, (source, destination) in enumerate((("Demo Keyboard", "Demo Synth"), ("Demo Pads", "Demo Drums"),
                                                       ("Demo Sequencer", "Demo Recorder"))):
            x, y = self.middle_of_curve(source, destination)
            pointing.click((x, y + 4))
            self.router.wait_selected_connection(index)

    def test_a_click_beside_the_curves_deselects(self):
        pointing.click(self.middle_of_curve("Demo Pads", "Demo Drums"))
        self.router.wait_selected_connection(1)
        pointing.click(self.router.point(590, -300))
        self.router.wait_enabled("Delete selected connection", False)

    def test_the_selected_curve_is_the_one_deleted(self):
        pointing.click(self.middle_of_curve("Demo Sequencer", "Demo Recorder"))
        self.router.wait_enabled("Delete selected connection")
        self.router.press("Delete selected connection")
        self.wait_saved(connections=[(KEYBOARD, SYNTH), (PADS, DRUMS)])


class RouteRows(WindowTestCase):
    def test_a_row_names_its_ends_and_says_its_state(self):
        router = self.start_with(("Live", [
            connection(KEYBOARD, SYNTH, (3, shortcut("1", "command")), enabled=False),
            connection(4711, DRUMS, source_name="Lost Keys"),
            connection(PADS, 4712, destination_name="Lost Synth"),
            connection(4711, 4712, source_name="Lost Keys", destination_name="Lost Synth")]))
        router.wait_connection_rows(4)
        rows = [(row.name, row.description) for row in router.connection_rows()]
        self.assertEqual(rows, [("Demo Keyboard to Demo Synth", f"Ch 3 / {COMMAND}1 / Paused / No MIDI yet"),
                                ("Lost Keys to Demo Drums", "As Is / Input Offline / No MIDI yet"),
                                ("Demo Pads to Lost Synth", "As Is / Output Offline / No MIDI yet"),
                                ("Lost Keys to Lost Synth", "As Is / Offline / No MIDI yet")])

    def test_traffic_shows_in_the_row(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]))
        wait_for(lambda: router.connection_row(0).description.startswith("As Is / Active / Note "),
                 "a note in the row")

    def test_the_toggle_pauses_and_resumes(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH), connection(PADS, DRUMS)]))
        router.press_in_row(1, "Disable connection")
        self.wait_saved(enabled=[True, False])
        router.wait_text('Set "Live" saved (2 connections)')
        router.press_in_row(1, "Enable connection")
        self.wait_saved(enabled=[True, True])

    def test_the_menu_of_a_row_switches_its_channel(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (None, None), (3, shortcut("1", "command")),
                                                      (7, None))]))
        self.assertEqual(router.channel_choices(0), ["As Is", f"Ch 3 ({COMMAND}1)", "Ch 7"])
        router.choose_channel(0, f"Ch 3 ({COMMAND}1)")
        self.wait_saved(channels=[3])
        router.wait_text("Selected output channel Ch 3")
        router.wait_selected_connection(0)

    def test_deleting_an_output_channel_goes_back_to_the_first(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (2, None), (3, None), active=1)]))
        router.press_in_row(0, DELETE)
        self.wait_saved(channels=[2])
        self.assertEqual(self.saved().assignments(0), [(2, None)])
        router.wait_text("Deleted output channel Ch 3")
        self.assertFalse(router.row_button(0, "A connection needs at least one output channel").is_enabled)

    def test_what_is_as_is_can_be_neither_edited_nor_deleted(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (None, None), (3, None))]))
        self.assertFalse(router.row_button(0, "As Is output cannot be edited").is_enabled)
        self.assertFalse(router.row_button(0, "As Is output cannot be deleted").is_enabled)


class ChannelDialog(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (2, shortcut("1", "command")))]))

    def add(self):
        self.router.press_in_row(0, ADD)
        return self.router.dialog("Add Output Channel")

    def edit(self):
        self.router.press_in_row(0, EDIT)
        return self.router.dialog("Edit Output Channel")

    def wait_shows(self, dialog, text):
        wait_for(lambda: dialog.again().shows(text), lambda: f"{text!r} in\n{self.router.accessibility.outline()}")

    def test_it_says_what_it_is_for(self):
        dialog = self.add()
        self.assertTrue(dialog.shows("Choose the output channel and optionally press a shortcut while this dialog is "
                                     "open."))
        for text in ("Channel", "Shortcut", "No shortcut", f"Use a modifier: {COMMAND}1, {OPTION}{SHIFT}P"):
            self.assertTrue(dialog.shows(text), text)
        dialog.press("Cancel")
        dialog.wait_closed()
        dialog = self.edit()
        self.assertTrue(dialog.shows("Edit the selected output channel and optionally press a shortcut while this "
                                     "dialog is open."))
        self.assertTrue(dialog.shows(f"{COMMAND}1"))

    def test_a_channel_with_a_shortcut_is_added_and_the_key_switches_to_it_under_a_french_layout(self):
        dialog = self.add()
        pointing.press_physical_key("p", "alt", "shift")
        self.wait_shows(dialog, f"{OPTION}{SHIFT}P")
        dialog.press("OK")
        dialog.wait_closed()
        self.wait_saved(channels=[3])
        self.assertEqual(self.saved().assignments(0), [
            (2, {"key": "1", "modifiers": ["command"]}), (3, {"key": "p", "modifiers": ["option", "shift"]})])
        self.router.wait_text(f"Added output channel Ch 3 with {OPTION}{SHIFT}P")
        pointing.set_keyboard_layout("fr")
        pointing.press_physical_key("1", "ctrl")
        self.wait_saved(channels=[2])
        pointing.press_physical_key("p", "alt", "shift")
        self.wait_saved(channels=[3])

    def test_a_shortcut_captured_under_a_french_layout_is_that_of_the_key(self):
        pointing.set_keyboard_layout("fr")
        dialog = self.add()
        pointing.press_physical_key("q", "ctrl")
        self.wait_shows(dialog, f"{COMMAND}Q")
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(channels=[3])
        self.assertEqual(self.saved().assignments(0)[1], (3, {"key": "q", "modifiers": ["command"]}))
        self.assertTrue(self.router.corvel.is_running)

    def test_the_channel_is_chosen_in_its_pop_up(self):
        dialog = self.add()
        self.assertEqual(self.router.dialog_channel_choices(dialog), ["As Is"] + [f"Ch {n}" for n in range(1, 17)])
        self.router.choose_dialog_channel(dialog, "Ch 12")
        dialog.again().press("OK")
        self.wait_saved(channels=[12])
        self.router.wait_text("Added output channel Ch 12")

    def test_its_pop_up_opens_where_it_stands(self):
        for _ in range(6):
            dialog = self.add()
            self.router.open_dialog_channels(dialog)
            x, y, room, depth = box = dialog.again().element.extents
            left, top, width, height = self.router.accessibility.menu().extents
            self.assertTrue(x <= left and left + width <= x + room, (left, box))
            self.assertTrue(top <= y + depth and top + height >= y, (top, height, box))
            pointing.press_keys("Escape")
            wait_for(lambda: not self.router.menu_items(), "the menu to close")
            pointing.press_keys("Escape")
            dialog.wait_closed()

    def test_return_accepts_and_a_key_without_a_modifier_is_no_shortcut(self):
        dialog = self.add()
        pointing.press_physical_key("p")
        self.assertTrue(dialog.again().shows("No shortcut"))
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(channels=[3])
        self.assertEqual(self.saved().assignments(0)[1], (3, None))

    def test_escape_and_cancel_change_nothing_though_a_shortcut_was_pressed(self):
        before = self.document_bytes()
        for leave in (lambda dialog: pointing.press_keys("Escape"), lambda dialog: dialog.press("Cancel")):
            dialog = self.add()
            pointing.press_physical_key("p", "alt", "shift")
            self.wait_shows(dialog, f"{OPTION}{SHIFT}P")
            leave(dialog)
            dialog.wait_closed()
        self.assertEqual(self.document_bytes(), before)

    def test_a_stored_shortcut_is_captured_and_not_carried_out(self):
        dialog = self.add()
        pointing.press_physical_key("1", "ctrl")
        self.wait_shows(dialog, f"{COMMAND}1")
        dialog.press("OK")
        self.wait_saved(channels=[3])
        self.assertEqual(self.saved().assignments(0), [(2, None), (3, {"key": "1", "modifiers": ["command"]})])

    def test_an_existing_channel_is_refused_with_a_word(self):
        dialog = self.add()
        self.router.choose_dialog_channel(dialog, "Ch 2")
        dialog.again().press("OK")
        self.router.wait_text("Channel assignment already exists")
        self.assertEqual(len(self.saved().assignments(0)), 1)

    def test_editing_changes_the_channel_and_the_shortcut(self):
        dialog = self.edit()
        self.router.choose_dialog_channel(dialog, "Ch 9")
        pointing.press_physical_key("n", "ctrl")
        self.wait_shows(dialog, f"{COMMAND}N")
        dialog.press("OK")
        self.wait_saved(channels=[9])
        self.assertEqual(self.saved().assignments(0), [(9, {"key": "n", "modifiers": ["command"]})])
        self.router.wait_text(f"Updated output channel Ch 9 with {COMMAND}N")

    def test_a_captured_shortcut_can_be_removed_again(self):
        dialog = self.edit()
        dialog.press("Clear shortcut")
        self.wait_shows(dialog, "No shortcut")
        dialog.press("OK")
        self.router.wait_text("Updated output channel Ch 2")
        self.assertEqual(self.saved().assignments(0), [(2, None)])
