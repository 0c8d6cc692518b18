"""The window without a mouse, and for users who cannot see it."""

from support import pointing
from support.documents import KEYBOARD, PADS, RECORDER, SYNTH, connection, shortcut
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

CONTROLS = {"push button", "push button menu", "toggle button", "radio button", "check box", "combo box", "button menu", "text", "entry",
            "menu item", "check menu item", "radio menu item", "list item", "page tab", "slider", "spin button", "link"}


class Names(WindowTestCase):
    """Every control has a name."""

    def setUp(self):
        super().setUp()
        self.router = self.start_with(
            ("Live", [connection(KEYBOARD, SYNTH, (None, None), (3, shortcut("1", "command")), active=1),
                      connection(4711, RECORDER, source_name="Lost Keys")]), ("Studio", []))
        self.router.wait_text("3 inputs, 3 outputs")

    def assertNamed(self, at_least):
        """Checks that every visible control has a name, and that there are at least this many."""
        tree = wait_for(self.router.accessibility.tree, "the tree")
        controls = [element for element in tree if element.is_showing
                    and (element.role in CONTROLS or "focusable" in element.states and element.role != "scroll pane")]
        nameless = [f"{element} in {element.parent}" for element in controls if not element.name.strip()]
        self.assertEqual(nameless, [], self.router.accessibility.outline())
        self.assertGreaterEqual(len(controls), at_least)

    def test_in_the_window(self):
        pointing.click(self.router.input("Demo Keyboard").middle)
        pointing.click(self.router.output("Demo Synth").middle)
        self.router.wait_enabled("Connect")
        # The mark, four buttons of the header, the pop-up and four buttons of the bar, six endpoints, two details, and
        # for each of two connections the row, the menu and four buttons.
        self.assertNamed(at_least=30)

    def test_in_the_settings(self):
        settings = self.router.open_settings("General")
        self.assertNamed(at_least=5)
        settings.press("Done")
        settings.wait_closed()
        self.router.open_settings("Debug")
        self.assertNamed(at_least=4)

    def test_in_every_dialog(self):
        for button, message in (("Create connection set", "New Connection Set"),
                                ("Duplicate current set", "Duplicate Connection Set"),
                                ("Rename current set", "Rename Connection Set"),
                                ("Delete current set", "Delete Connection Set")):
            with self.subTest(message):
                self.router.press(button)
                dialog = self.router.dialog(message)
                self.assertNamed(at_least=2)
                pointing.press_keys("Escape")
                dialog.wait_closed()

    def test_in_the_channel_dialog(self):
        self.router.press_in_row(0, "Edit selected output channel")
        self.router.dialog("Edit Output Channel")
        self.assertNamed(at_least=4)

    def test_in_the_menus(self):
        pointing.press_keys("F10")
        self.router.accessibility.find(name="Quit Corvel", role="menu item")
        self.assertNamed(at_least=4)


class Places(WindowTestCase):
    """Everything visible reports its position, so that magnifiers and pointers find it."""

    def test_the_window_is_a_frame(self):
        router = self.start()
        window = wait_for(router.accessibility.tree, "the tree").find(name="Corvel", role="frame")
        self.assertEqual(len(window), 1, router.accessibility.outline())
        box = router.box
        self.assertEqual(window[0].extents, (box.x, box.y, box.width, box.height))

    def test_a_dialog_is_in_the_middle_of_the_window_every_time_it_opens(self):
        router = self.start()
        for _ in range(3):
            for button, message in (("Create connection set", "New Connection Set"), ("Open settings", "Settings")):
                router.press(button)
                dialog = router.dialog(message)
                left, top, width, height = dialog.element.extents
                box = router.box
                self.assertEqual((left, top), (box.x + (box.width - width) // 2, box.y + (box.height - height) // 2))
                pointing.press_keys("Escape")
                dialog.wait_closed()


class WithoutAMouse(WindowTestCase):
    """Builds two sets with connections by keys alone."""

    def tab_to(self, name, keys=("Tab",)):
        """Presses Tab, or another key that moves the focus, until the control with this name has the focus."""
        seen = []
        for _ in range(60):
            focused = wait_for(self.focused, "some control to have the focus")
            if f"{focused.name}: ".startswith(f"{name}: "):
                return focused
            seen.append(focused.name)
            pointing.press_keys(*keys)
            wait_for(lambda: (now := self.focused()) and now.name != seen[-1] or len(set(seen)) == 1,
                     f"the focus to leave {seen[-1]!r}")
        raise AssertionError(f"{name!r} never got the focus, only {seen}")

    def focused(self):
        found = [element for element in self.router.accessibility.all() if element.is_focused]
        return found[-1] if found else None

    def arrow_to(self, name):
        """Presses arrow keys inside the focused group of controls."""
        return self.tab_to(name, keys=("Down",))

    def test_connecting_making_a_set_switching_and_deleting(self):
        self.router = self.start_with(("First", []))
        self.router.wait_text("3 inputs, 3 outputs")
        self.tab_to("Demo Keyboard")
        self.arrow_to("Demo Pads")
        pointing.press_keys("space")
        self.router.wait_details("Demo Pads\nCorvel Demo\nsource\nID 1002")
        self.tab_to("Demo Drums")
        self.arrow_to("Demo Recorder")
        pointing.press_keys("space")
        self.router.wait_enabled("Connect")
        self.tab_to("Connect")
        pointing.press_keys("space")
        self.wait_saved(connections=[(PADS, RECORDER)])

        self.tab_to("Create connection set")
        pointing.press_keys("Return")
        dialog = self.router.dialog("New Connection Set")
        pointing.type_text("Second")
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(set_names=["First", "Second"], current_set_name="Second")
        pointing.press_keys("ctrl+Return")
        self.wait_saved(connections=[(PADS, RECORDER)])

        self.tab_to(self.router.set_pop_up().name)
        pointing.press_keys("space")
        wait_for(self.router.menu_items, "the sets")
        pointing.press_keys("Up", "Return")
        self.wait_saved(current_set_name="First")
        self.router.wait_text('Loaded set "First"')

        self.tab_to("Delete current set")
        pointing.press_keys("space")
        dialog = self.router.dialog("Delete Connection Set")
        self.tab_to("Delete")
        pointing.press_keys("space")
        dialog.wait_closed()
        self.wait_saved(set_names=["Second"], connections=[(PADS, RECORDER)])

        self.tab_to("Demo Pads to Demo Recorder")
        pointing.press_keys("space")
        self.router.wait_selected_connection(0)
        self.tab_to("Delete selected connection", keys=("shift+Tab",))
        pointing.press_keys("space")
        self.wait_saved(connections=[])

        pointing.press_keys("F10")
        self.router.accessibility.find(name="Quit Corvel", role="menu item")
        pointing.press_keys("Up", "Return")
        self.assertEqual(self.router.corvel.wait_ended(), 0)

    def test_every_control_of_the_window_can_be_reached_with_tab_and_back(self):
        self.router = self.start_with(("First", [connection(KEYBOARD, SYNTH, (None, None), (3, None), active=1)]),
                                      ("Second", []))
        self.router.wait_text("3 inputs, 3 outputs")
        self.tab_to("Application menu")
        forward = self.walk("Tab")
        # In visible order. Arrow keys reach the controls in the rows of a column and of the list.
        self.assertEqual(forward, [
            "Application menu", "Refresh MIDI devices", "Open settings", "First",
            "Create connection set", "Duplicate current set", "Rename current set", "Delete current set",
            "Filter inputs", "Show only connected inputs", "Demo Keyboard", "Routing stage", "Filter outputs",
            "Show only connected outputs", "Demo Drums", "Demo Keyboard to Demo Synth"])
        self.assertEqual(set(self.walk("shift+Tab")), set(forward))
        self.tab_to("Demo Keyboard to Demo Synth")
        for name in ("Ch 3", "Add output channel for this connection", "Edit selected output channel",
                     "Delete selected output channel", "Disable connection"):
            pointing.press_keys("Right")
            wait_for(lambda: self.focused().name == name, lambda: f"{name!r} to have the focus, not {self.focused()}")

    def walk(self, key):
        """The names that get the focus, until the first one has it again."""
        names = []
        while len(names) < 80:
            name = wait_for(self.focused, "some control to have the focus").name
            if names and name == names[0]:
                return names
            names.append(name)
            pointing.press_keys(key)
            wait_for(lambda: (now := self.focused()) and now.name != name, f"the focus to leave {name!r}")
        raise AssertionError(f"the focus never came back: {names}")


class ByAssistiveTechnology(WindowTestCase):
    """The same by the actions that screen readers and switches use."""

    def test_connecting_making_a_set_switching_and_deleting(self):
        router = self.start_with(("First", []))
        router.wait_text("3 inputs, 3 outputs")
        router.input("Demo Keyboard").press()
        router.output("Demo Synth").press()
        router.wait_enabled("Connect")
        router.button("Connect").press()
        self.wait_saved(connections=[(KEYBOARD, SYNTH)])

        router.button("Create connection set").press()
        dialog = router.dialog("New Connection Set")
        dialog.field.enter("Second")
        dialog.again().button("OK").press()
        dialog.wait_closed()
        self.wait_saved(set_names=["First", "Second"], current_set_name="Second", connections=[])

        router.set_pop_up().press()
        wait_for(router.menu_items, "the sets")["First"].press()
        self.wait_saved(current_set_name="First")
        router.wait_text("First / 1 connections")

        router.press_connection_by_action(0)
        router.wait_selected_connection(0)
        router.row_button(0, "Disable connection").press()
        self.wait_saved(enabled=[False])
        router.wait_enabled("Delete selected connection")
        router.button("Delete selected connection").press()
        self.wait_saved(connections=[])

        router.button("Delete current set").press()
        dialog = router.dialog("Delete Connection Set")
        dialog.button("Delete").press()
        dialog.wait_closed()
        self.wait_saved(set_names=["Second"])

        router.button("Application menu").press()
        router.accessibility.find(name="Quit Corvel", role="menu item").press()
        self.assertEqual(router.corvel.wait_ended(), 0)


class ReadOut(WindowTestCase):
    """The texts that a screen reader reads out by itself."""

    def test_the_outcome_of_each_command(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]))
        router.wait_text("3 inputs, 3 outputs")
        router.accessibility.take_notifications()
        router.press_in_row(0, "Disable connection")
        wait_for(lambda: 'Set "Live" saved (1 connections)' in router.accessibility.take_notifications(),
                 "the outcome to be read out")

    def test_but_no_traffic(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH), connection(PADS, RECORDER)]))
        descriptions = [None]

        def change():
            """Whether notes still arrive: the row's text changes."""
            now = router.connection_row(0).description
            return now != descriptions[-1] and not descriptions.append(now)

        router.wait_text("3 inputs, 3 outputs")
        wait_for(change, "a note")
        router.accessibility.take_changes_of_text()
        for _ in range(6):
            wait_for(change, "another note")
        self.assertEqual(router.accessibility.take_changes_of_text(), [])

    def test_that_lines_come_and_go(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]))
        router.wait_text("3 inputs, 3 outputs")
        # A screen reader reads the stage before it receives its events.
        self.assertEqual([line.name for line in router.accessibility.find(name="Routing stage").children],
                         ["Demo Keyboard to Demo Synth"])
        router.accessibility.take_changed_parents()
        pointing.click(router.input("Demo Pads").middle)
        pointing.click(router.output("Demo Recorder").middle)
        router.wait_enabled("Connect")
        router.press("Connect")
        wait_for(lambda: ("add", "Routing stage") in router.accessibility.take_changed_parents(), "a line that comes")
        router.press("Delete selected connection")
        wait_for(lambda: ("remove", "Routing stage") in router.accessibility.take_changed_parents(),
                 "a line that goes")
