"""Dialogs as part of the window."""

from support import pointing, windows
from support.documents import KEYBOARD, SYNTH, connection
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

SILENCED = "All notes off on 1 output"
SETS = (("Create connection set", "New Connection Set"), ("Delete current set", "Delete Connection Set"))


class Dialogs(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Studio", []))
        self.router.wait_text("3 inputs, 3 outputs")

    def focused(self):
        return next((element.name for element in self.router.accessibility.all() if element.is_focused), None)

    def wait_focus(self, name):
        wait_for(lambda: self.focused() == name, lambda: f"the focus on {name!r}, not on {self.focused()!r}")

    def offset(self, dialog):
        """The dialog's position in the window."""
        left, top, width, height = dialog.again().element.extents
        box = self.router.box
        return left - box.x, top - box.y

    def test_they_have_no_window_of_their_own(self):
        for button, message in (*SETS, ("Open settings", "Settings")):
            with self.subTest(message):
                self.router.press(button)
                dialog = self.router.dialog(message)
                self.assertEqual(windows.all_shown_windows(self.router.corvel.pid), [self.router.corvel.window])
                pointing.press_keys("Escape")
                dialog.wait_closed()

    def test_they_move_with_the_window(self):
        self.router.press("Open settings")
        settings = self.router.dialog("Settings")
        place = self.offset(settings)
        before = self.router.box
        windows.move(self.router.corvel.window, 60, 70)
        wait_for(lambda: self.router.box != before, "the window to move")
        wait_for(lambda: self.offset(settings) == place, lambda: f"{place}, not {self.offset(settings)}")
        settings.again().press("Done")
        settings.wait_closed()

    def test_they_stay_in_the_middle_when_the_window_changes_its_size(self):
        self.router.press("Open settings")
        settings = self.router.dialog("Settings")
        windows.resize(self.router.corvel.window, 1000, 660)
        wait_for(lambda: self.offset(settings) == (190, 100), lambda: f"(190, 100), not {self.offset(settings)}")

    def test_they_are_modal_for_screen_readers(self):
        for button, message in (*SETS, ("Open settings", "Settings")):
            with self.subTest(message):
                self.router.press(button)
                dialog = self.router.dialog(message)
                self.assertIn("modal", dialog.element.states)
                self.assertEqual(dialog.element.name, message)
                pointing.press_keys("Escape")
                dialog.wait_closed()

    def test_the_focus_goes_back_to_where_it_was(self):
        for button, message in (*SETS, ("Open settings", "Settings")):
            with self.subTest(message):
                self.router.button(button).focus()
                self.wait_focus(button)
                pointing.press_keys("Return")
                dialog = self.router.dialog(message)
                pointing.press_keys("Escape")
                dialog.wait_closed()
                self.wait_focus(button)

    def test_the_tab_key_stays_inside(self):
        self.router.press("Open settings")
        settings = self.router.dialog("Settings")
        inside = {element.name for element in settings.element}
        seen = []
        for _ in range(8):
            before = self.focused()
            pointing.press_keys("Tab")
            wait_for(lambda: self.focused() not in (before, None), "the focus to move")
            seen.append(self.focused())
        self.assertLessEqual(set(seen), inside)
        self.assertGreaterEqual(len(set(seen)), 4)

    def test_the_keys_of_the_window_do_nothing_meanwhile(self):
        before = self.document_bytes()
        for button, message in (*SETS, ("Open settings", "Settings")):
            with self.subTest(message):
                self.router.press(button)
                dialog = self.router.dialog(message)
                pointing.press_keys("F10", "ctrl+q")
                self.assertFalse(self.router.menu_items())
                pointing.press_keys("Escape")
                dialog.wait_closed()
        self.assertTrue(self.router.corvel.is_running)
        self.assertEqual(self.document_bytes(), before)

    def test_all_notes_off_does_not_wait_for_them(self):
        for button, message in (*SETS, ("Open settings", "Settings")):
            with self.subTest(message):
                self.router.press(button)
                dialog = self.router.dialog(message)
                pointing.press_keys("ctrl+period")
                self.router.wait_text(SILENCED)
                pointing.press_keys("Escape")
                dialog.wait_closed()
                pointing.press_keys("ctrl+r")
                self.router.wait_text("3 inputs, 3 outputs")

    def test_the_desktop_can_close_the_window_meanwhile(self):
        self.router.press("Delete current set")
        self.router.dialog("Delete Connection Set")
        pointing.press_keys("alt+F4")
        self.assertEqual(self.router.corvel.wait_ended(), 0)
        self.assertEqual(self.saved().set_names, ["Live", "Studio"])


class About(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Studio", []))
        pointing.press_keys("F10")
        pointing.click(self.router.accessibility.find(name="About Corvel", role="menu item").middle)
        self.about = self.router.about()

    def test_it_is_a_window_beside_which_the_other_one_can_be_used(self):
        self.assertEqual(len(windows.shown_windows(self.router.corvel.pid, "About Corvel")), 1)
        self.assertNotIn("modal", self.about.element.states)
        windows.move(windows.shown_windows(self.router.corvel.pid, "About Corvel")[0], 5, 5)
        self.router.choose_set("Studio")
        self.wait_saved(current_set_name="Studio")

    def test_asking_for_it_again_brings_it_to_the_front(self):
        self.router.activate()
        pointing.press_keys("F10")
        pointing.click(self.router.accessibility.find(name="About Corvel", role="menu item").middle)
        about, = windows.shown_windows(self.router.corvel.pid, "About Corvel")
        wait_for(lambda: windows.active_window() == about, "About in front")
