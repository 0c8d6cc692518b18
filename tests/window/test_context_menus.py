"""Context menus, the user's own names, and the keys for sets and full screen."""

from support import pointing, windows
from support.desktop import HEIGHT, WIDTH
from support.documents import DRUMS, KEYBOARD, PADS, SYNTH, connection
from support.waiting import wait_for
from support.window_test_case import WindowTestCase


class ContextMenus(WindowTestCase):
    def titles(self):
        wait_for(self.router.menu_items, "a menu")
        return list(self.router.menu_items())

    def test_a_connection_has_one_on_its_row(self):
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH), connection(PADS, DRUMS)]))
        left, top, _, height = self.router.connection_row(0).extents
        pointing.click_right((left + 70, top + height // 2))
        self.assertEqual(self.titles(), ["As Is", "Add Output Channel…", "Edit Output Channel…",
                                         "Delete Output Channel", "Disable Connection", "Delete Connection"])
        self.router.choose("Disable Connection")
        self.wait_saved(enabled=[False, True])
        self.router.wait_selected_connection(0)

    def test_a_connection_has_one_on_its_line(self):
        self.router = self.start_with(("Live", [connection(KEYBOARD, DRUMS), connection(PADS, SYNTH)]))
        # The rows of the first input and the first output are at the same height, so the line is straight.
        _, top, _, height = self.router.input("Demo Keyboard").extents
        x, _ = self.router.point(590, 0)
        pointing.click_right((x, top + height // 2))
        self.titles()
        self.router.choose("Delete Connection")
        self.wait_saved(connections=[(PADS, SYNTH)])

    def test_an_endpoint_is_connected_to_the_selected_one_by_its_menu(self):
        self.router = self.start_with(("Live", []))
        pointing.click(self.router.input("Demo Pads").middle)
        self.router.wait_details("Demo Pads\nCorvel Demo\nsource\nID 1002")
        pointing.click_right(self.router.output("Demo Synth").middle)
        self.assertEqual(self.titles(), ["Connect to \"Demo Pads\"", "Rename…", "Use the System's Name",
                                         "Copy Full Endpoint Name"])
        self.router.choose("Connect to \"Demo Pads\"")
        self.wait_saved(connections=[(PADS, SYNTH)])


class NamesOfOnesOwn(WindowTestCase):
    def rename(self, router, direction, name, new_name):
        pointing.click(router.endpoint(direction, name).middle)
        pointing.press_keys("F2")
        dialog = router.dialog("Rename Input" if direction == "input" else "Rename Output")
        pointing.type_text(new_name)
        pointing.press_keys("Return")
        dialog.wait_closed()

    def test_f2_gives_an_endpoint_a_name_that_stays_until_it_is_emptied(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]))
        self.rename(router, "input", "Demo Keyboard", "Left hand")
        router.input("Left hand")
        wait_for(lambda: router.connection_row(0).name == "Left hand to Demo Synth", "the name in the list")
        router.wait_details("Demo Keyboard\nCorvel Demo\nsource\nID 1001")
        # The document keeps the system's name.
        pointing.drag(router.input("Left hand").middle, router.output("Demo Drums").middle)
        self.wait_saved(connections=[(KEYBOARD, SYNTH), (KEYBOARD, DRUMS)])
        self.assertEqual({route["sourceName"] for route in self.saved().current_set["routes"]}, {"Demo Keyboard"})
        pointing.press_keys("alt+F4")
        router.corvel.wait_ended()

        again = self.start()
        again.input("Left hand")
        pointing.click(again.input("Left hand").middle)
        pointing.press_keys("F2")
        again.dialog("Rename Input")
        pointing.press_keys("BackSpace", "Return")
        again.input("Demo Keyboard")


class Keys(WindowTestCase):
    def test_control_page_up_and_down_go_through_the_sets_and_stop_at_the_ends(self):
        router = self.start_with(("First", []), ("Second", []), ("Third", []))
        for key, name in (("Next", "Second"), ("Next", "Third"), ("Prior", "Second"), ("Prior", "First")):
            pointing.press_keys(f"ctrl+{key}")
            router.wait_text(f'Loaded set "{name}"')
        pointing.press_keys("ctrl+Prior")
        pointing.press_keys("ctrl+Next")
        self.wait_saved(current_set_name="Second")

    def test_f11_fills_the_screen_and_comes_back(self):
        router = self.start()
        before = router.box
        pointing.press_keys("F11")
        wait_for(lambda: (router.box.width, router.box.height) == (WIDTH, HEIGHT), "the whole screen")
        pointing.press_keys("F11")
        wait_for(lambda: router.box == before, lambda: f"{before}, not {windows.content(router.corvel.window)}")
