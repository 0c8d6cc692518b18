"""Stored shortcuts, pressed on a real keyboard."""

from support import pointing
from support.documents import DRUMS, KEYBOARD, PADS, SYNTH, connection, shortcut
from support.save_counter import SaveCounter
from support.window_test_case import WindowTestCase

COMMAND = "\u2318"


class StoredShortcuts(WindowTestCase):
    """One connection with shortcuts for channels 1, 2 and 3; the first is active."""

    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(
            KEYBOARD, SYNTH, (1, shortcut("1", "command")), (2, shortcut("2", "command")),
            (3, shortcut("q", "option", "shift")))]), ("Studio", []))
        self.router.wait_text("3 inputs, 3 outputs")
        # Each activation is one save.
        self.saves = SaveCounter(self.home.demo_document)
        self.addCleanup(self.saves.stop)

    def test_a_key_switches_the_channel(self):
        pointing.press_physical_key("2", "ctrl")
        self.wait_saved(channels=[2])
        self.router.wait_text("Selected output channel Ch 2")
        pointing.press_physical_key("q", "alt", "shift")
        self.wait_saved(channels=[3])
        pointing.press_physical_key("1", "ctrl")
        self.wait_saved(channels=[1])

    def test_the_same_keys_do_it_under_other_layouts(self):
        for layout in ("fr", "us(dvorak)", "ru", "us"):
            with self.subTest(layout=layout):
                pointing.set_keyboard_layout(layout)
                pointing.press_physical_key("2", "ctrl")
                self.wait_saved(channels=[2])
                pointing.press_physical_key("q", "alt", "shift")
                self.wait_saved(channels=[3])
                pointing.press_physical_key("1", "ctrl")
                self.wait_saved(channels=[1])

    def test_the_same_key_with_other_modifiers_is_another_shortcut(self):
        for modifiers in ((), ("shift",), ("ctrl", "shift"), ("alt",), ("super",), ("ctrl", "alt")):
            pointing.press_physical_key("2", *modifiers)
        pointing.press_physical_key("q", "alt", "shift")
        self.wait_saved(channels=[3])
        self.router.wait_text("Selected output channel Ch 3")
        self.assertEqual(self.saves.count, 1)

    def test_caps_lock_makes_no_difference(self):
        pointing.press_keys("Caps_Lock")
        self.addCleanup(pointing.press_keys, "Caps_Lock")
        pointing.press_physical_key("2", "ctrl")
        self.wait_saved(channels=[2])

    def test_it_works_whatever_has_the_focus(self):
        for press in (lambda: pointing.click(self.router.input("Demo Keyboard").middle),
                      lambda: pointing.click(self.router.output("Demo Synth").middle),
                      lambda: self.router.select_connection(0),
                      lambda: pointing.press_keys("Tab"),
                      lambda: pointing.press_keys("Tab")):
            press()
            pointing.press_physical_key("2", "ctrl")
            self.wait_saved(channels=[2])
            pointing.press_physical_key("1", "ctrl")
            self.wait_saved(channels=[1])

    def test_it_works_while_the_settings_are_open(self):
        settings = self.router.open_settings("Debug")
        pointing.press_physical_key("2", "ctrl")
        self.wait_saved(channels=[2])
        settings.again().press("Done")

    def test_it_does_nothing_while_a_dialog_waits_for_an_answer(self):
        self.router.press("Delete current set")
        dialog = self.router.dialog("Delete Connection Set")
        pointing.press_physical_key("2", "ctrl")
        dialog.again().press("Cancel")
        dialog.wait_closed()
        pointing.press_physical_key("q", "alt", "shift")
        self.wait_saved(channels=[3])
        self.assertEqual(self.saves.count, 1)

    def test_it_does_nothing_while_a_name_is_typed(self):
        self.router.press("Rename current set")
        dialog = self.router.dialog("Rename Connection Set")
        pointing.press_physical_key("2", "ctrl")
        pointing.press_physical_key("q", "alt", "shift")
        dialog.again().press("Cancel")
        dialog.wait_closed()
        pointing.press_physical_key("2", "ctrl")
        self.wait_saved(channels=[2])
        self.assertEqual(self.saves.count, 1)

    def test_a_key_held_down_switches_once(self):
        pointing.hold_physical_key("2", "ctrl", seconds=1.5)
        self.wait_saved(channels=[2])
        pointing.press_physical_key("q", "alt", "shift")
        self.wait_saved(channels=[3])
        self.assertEqual(self.saves.count, 2)

    def test_it_belongs_to_its_set(self):
        self.router.choose_set("Studio")
        self.wait_saved(current_set_name="Studio")
        pointing.press_physical_key("2", "ctrl")
        self.router.choose_set("Live")
        self.wait_saved(current_set_name="Live", channels=[1])

class ShortcutsOfTheProgram(WindowTestCase):
    def test_a_stored_control_r_goes_before_refreshing(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (1, None), (2, shortcut("r", "command")))]))
        router.wait_text("3 inputs, 3 outputs")
        pointing.press_physical_key("r", "ctrl")
        self.wait_saved(channels=[2])
        router.wait_text("Selected output channel Ch 2")
        router.wait_reloads(1)

    def test_a_stored_control_q_goes_before_quitting(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (1, None), (2, shortcut("q", "command")))]))
        router.wait_text("3 inputs, 3 outputs")
        pointing.press_physical_key("q", "ctrl")
        self.wait_saved(channels=[2])
        self.assertTrue(router.corvel.is_running)

    def test_one_on_several_connections_asks_for_a_selection(self):
        router = self.start_with(("Live", [
            connection(KEYBOARD, SYNTH, (1, None), (2, shortcut("1", "command"))),
            connection(PADS, DRUMS, (3, None), (4, shortcut("1", "command")))]))
        router.wait_text("3 inputs, 3 outputs")
        pointing.press_physical_key("1", "ctrl")
        router.wait_text(COMMAND + "1 is assigned to multiple connections; select a connection first")
        self.assertEqual(self.saved().channels, [1, 3])
        router.select_connection(1)
        pointing.press_physical_key("1", "ctrl")
        self.wait_saved(channels=[1, 4])

    def test_every_modifier_counts(self):
        self.start_with(("Live", [connection(
            KEYBOARD, SYNTH, (1, None), (2, shortcut("p", "control", "option", "command")),
            (3, shortcut("p", "control", "option")), (4, shortcut("p", "control")))])
        ).wait_text("3 inputs, 3 outputs")
        for modifiers, channel in ((("super",), 4), (("super", "alt"), 3), (("super", "alt", "ctrl"), 2)):
            pointing.press_physical_key("p", *modifiers)
            self.wait_saved(channels=[channel])
