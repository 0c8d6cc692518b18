"""The application menu, the keys that it lists, and quitting."""

from support import pointing
from support.waiting import wait_for
from support.windows import active_window, shown_windows
from support.window_test_case import WindowTestCase

ITEMS = ["About Corvel", "New Window", "Undo", "Redo", "All Notes Off", "Refresh MIDI Devices", "Quit Corvel"]


class ApplicationMenu(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start()
        self.router.wait_text("3 inputs, 3 outputs")

    def items(self):
        return {item.name: item for item in self.router.accessibility.all(role="menu item")}

    def open(self):
        pointing.press_keys("F10")
        wait_for(lambda: list(self.items()) == ITEMS, lambda: f"the items of the menu, not {list(self.items())}",
                 deadline=5)
        return self.items()

    def wait_closed(self):
        wait_for(lambda: not self.items(), "the menu to close")

    def test_f10_opens_it_and_escape_closes_it(self):
        self.open()
        pointing.press_keys("Escape")
        self.wait_closed()

    def test_it_can_be_read_each_time_it_opens(self):
        for _ in range(3):
            self.open()
            self.router.leave_menu()

    def test_a_click_on_the_mark_opens_it(self):
        self.router.press("Application menu")
        wait_for(lambda: list(self.items()) == ITEMS, "the items of the menu")

    def test_a_second_window_cannot_be_asked_for(self):
        items = self.open()
        self.assertEqual([name for name, item in items.items() if not item.is_enabled],
                         ["New Window", "Undo", "Redo"])
        pointing.press_keys("Escape")
        self.wait_closed()
        pointing.press_keys("ctrl+n")
        self.router.press("Refresh MIDI devices")
        self.router.wait_text("3 inputs, 3 outputs")
        self.assertEqual(len(shown_windows(self.router.corvel.pid, "Corvel")), 1)

    def test_about_names_program_and_version(self):
        version = self.run_corvel("--version")[1].split()[-1]
        pointing.click(self.open()["About Corvel"].middle)
        about = self.router.about()
        self.assertTrue(any(element.name == "Corvel" for element in about.element))
        self.assertTrue(any(version in element.name for element in about.element))
        pointing.press_keys("Escape")
        about.wait_closed()
        self.assertTrue(self.router.corvel.is_running)

    def test_its_refresh_reads_the_devices_again(self):
        self.run_corvel("--set", "Demo")
        pointing.click(self.open()["Refresh MIDI Devices"].middle)
        self.router.wait_reloads(2)

    def test_control_r_reads_the_devices_again(self):
        pointing.press_keys("ctrl+r")
        self.router.wait_reloads(2)
        self.router.wait_text("3 inputs, 3 outputs")

    def test_a_refresh_ends_in_the_number_of_endpoints(self):
        self.router.press("Create connection set")
        self.router.dialog("New Connection Set").press("OK")
        self.router.wait_text('Created set "New Set"')
        pointing.press_keys("ctrl+r")
        self.router.wait_text("3 inputs, 3 outputs")


class Leaving(WindowTestCase):
    def setUp(self):
        super().setUp()
        # Without connections: while messages are routed, Ctrl+Q asks first.
        self.router = self.start_with(("Empty", []))

    def assertEndsQuietly(self):
        self.assertEqual(self.router.corvel.wait_ended(), 0)

    def test_control_q_quits(self):
        pointing.press_keys("ctrl+q")
        self.assertEndsQuietly()

    def test_the_menu_quits(self):
        pointing.press_keys("F10")
        pointing.click(self.router.accessibility.find(name="Quit Corvel", role="menu item").middle)
        self.assertEndsQuietly()

    def test_closing_the_window_quits(self):
        self.assertEqual(active_window(), self.router.corvel.window)
        pointing.press_keys("alt+F4")
        self.assertEndsQuietly()

    def test_sigterm_quits(self):
        self.router.corvel.terminate()
        self.assertEndsQuietly()
