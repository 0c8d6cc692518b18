"""The window on Wayland, where a program can neither position its windows nor take the keyboard focus."""

import os
import subprocess

from support import pointing, processes
from support.documents import KEYBOARD, PADS, RECORDER, SYNTH, connection, document
from support.router_window import RouterWindow
from support.sway import HEIGHT, WIDTH, Sway
from support.waiting import wait_for
from support.window_test_case import WindowTestCase
from support.windows import Box

PORTAL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "support", "settings_portal.py")


class WholeScreen(RouterWindow):
    """The window if it fills the screen."""

    @property
    def box(self):
        return Box(0, 0, WIDTH, HEIGHT)


class WaylandTestCase(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.sway = Sway()
        self.addCleanup(self.sway.stop)
        self.addCleanup(setattr, pointing, "hand", None)
        pointing.hand = self.sway.perform
        self.home.variables |= {"QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": self.sway.display}

    def window(self, corvel):
        return wait_for(lambda: self.sway.windows(corvel.pid), "the window")[0]

    def start(self, *arguments):
        corvel = self.launch(*arguments)
        wait_for(lambda: self.window(corvel)["focused"], "the window to have the keyboard")
        wait_for(corvel.accessibility.tree, "the program on the accessibility bus")
        router = WholeScreen(corvel)
        wait_for(lambda: [window.extents for window in corvel.accessibility.all(role="frame")]
                 == [(0, 0, WIDTH, HEIGHT)], lambda: f"the window to fill the screen:\n{corvel.accessibility.outline()}")
        return router

    def start_with(self, *sets):
        self.home.write_demo_document(document(*sets))
        return self.start()


class Window(WaylandTestCase):
    def test_it_fills_what_it_is_given_under_the_name_of_its_desktop_file(self):
        router = self.start()
        self.assertEqual(self.window(router.corvel)["app_id"], "app.corvel.Corvel")
        self.assertTrue(router.shows("Demo / 3 connections"))

    def test_sheets_and_questions_are_in_its_middle_and_answer(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Studio", []))
        for button, message, answer in (("Open settings", "Settings", "Done"),
                                        ("Delete current set", "Delete Connection Set", "Cancel")):
            with self.subTest(message):
                router.press(button)
                dialog = router.dialog(message)
                left, top, width, height = dialog.element.extents
                self.assertEqual((left, top), ((WIDTH - width) // 2, (HEIGHT - height) // 2))
                self.assertEqual(len(self.sway.windows(router.corvel.pid)), 1)
                dialog.press(answer)
                dialog.wait_closed()
        router.press("Rename current set")
        dialog = router.dialog("Rename Connection Set")
        pointing.type_text("Tour")
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(set_names=["Tour", "Studio"])

    def test_menus_open_and_choose(self):
        router = self.start_with(("Live", []), ("Studio", []))
        pointing.press_keys("F10")
        wait_for(lambda: "Quit Corvel" in router.menu_items(), "the application menu")
        pointing.press_keys("Escape")
        wait_for(lambda: not router.accessibility.menu(), "the menu to close")
        pointing.click(router.set_pop_up().middle)
        wait_for(router.menu_items, "the sets")
        pointing.press_keys("Down", "Return")
        self.wait_saved(current_set_name="Studio")

    def test_an_input_is_dragged_onto_an_output(self):
        router = self.start_with(("Live", []))
        pointing.drag(router.input("Demo Pads").middle, router.output("Demo Recorder").middle)
        self.wait_saved(connections=[(PADS, RECORDER)])

    def test_about_is_a_window_of_its_own(self):
        router = self.start()
        pointing.press_keys("F10")
        wait_for(router.menu_items, "the application menu")
        pointing.press_keys("Return")
        wait_for(lambda: len(self.sway.windows(router.corvel.pid)) == 2, "the window of About")
        pointing.press_keys("Escape")
        wait_for(lambda: len(self.sway.windows(router.corvel.pid)) == 1, "About to close")


class TextSize(WaylandTestCase):
    def test_it_is_the_desktops(self):
        portal = processes.start(["/usr/bin/python3", PORTAL, "1.25"], stdout=subprocess.PIPE)
        self.addCleanup(processes.stop, portal)
        with portal.stdout as pipe:
            self.assertEqual(pipe.readline(), b"ready\n")
        corvel = self.launch()
        # 1600 by 1000 pixels of the screen are this size in the window's own pixels.
        wait_for(lambda: [window.extents for window in corvel.accessibility.all(role="frame")] == [(0, 0, 1280, 800)],
                 corvel.accessibility.outline)


class SecondStart(WaylandTestCase):
    def test_it_hands_its_token_to_the_window(self):
        self.home.variables["WAYLAND_DEBUG"] = "client"
        router = self.start()
        del self.home.variables["WAYLAND_DEBUG"]
        self.home.variables["XDG_ACTIVATION_TOKEN"] = "token-of-the-second-start"
        self.assertEqual(self.run_corvel()[0], 0)
        wait_for(lambda: any("activate(\"token-of-the-second-start\"" in line
                             for line in router.corvel.errors.splitlines()), "the request with the token")
