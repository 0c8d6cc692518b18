"""The texts that other programs can paste."""

import re

from support import pointing
from support.clipboard import clipboard_text, set_clipboard_text
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

LINE = re.compile(r"^(\d\d:\d\d:\d\d\.\d{3}) (.+)$")


class Copying(WindowTestCase):
    def setUp(self):
        super().setUp()
        set_clipboard_text("before")
        self.router = self.start()
        self.router.wait_text("3 inputs, 3 outputs")

    def wait_clipboard(self, condition, what):
        wait_for(lambda: condition(clipboard_text()), lambda: f"{what} on the clipboard, not {clipboard_text()!r}")

    def test_the_details_of_an_input_are_copied_whole(self):
        pointing.click(self.router.input("Demo Pads").middle)
        pointing.click(self.router.details("Demo Pads\nCorvel Demo\nsource\nID 1002").middle)
        self.wait_clipboard(lambda text: text == "Demo Pads\nCorvel Demo\nsource\nID 1002", "the details")

    def test_the_details_of_an_output_are_copied_whole(self):
        pointing.click(self.router.output("Demo Recorder").middle)
        pointing.click(self.router.details("Demo Recorder\nCorvel Demo\ndestination\nID 2003").middle)
        self.wait_clipboard(lambda text: text == "Demo Recorder\nCorvel Demo\ndestination\nID 2003", "the details")

    def copy_diagnostics(self):
        settings = self.router.open_settings("Debug")
        settings.press("Copy diagnostics")
        self.wait_clipboard(lambda text: "Starting" in text, "the diagnostics")
        return clipboard_text()

    def test_diagnostics_are_copied_newest_first_with_their_times(self):
        text = self.copy_diagnostics()
        self.assertFalse(text.endswith("\n"))
        lines = text.split("\n")
        heads = [head for head in map(LINE.match, lines) if head]
        self.assertEqual([line for line in lines if not LINE.match(line) and not line.lstrip().startswith(("- device[",
                          "entity[", "source[", "destination["))], [])
        times = [head.group(1) for head in heads]
        self.assertEqual(times, sorted(times, reverse=True))
        messages = [head.group(2) for head in heads]
        self.assertEqual(messages[-2:], ["Endpoint reload (initial load): 3 sources, 3 destinations, "
                                         "3 source connections", "Starting CoreMIDI client on main run loop"])

    def test_a_diagnostic_of_many_lines_keeps_them_and_their_blanks(self):
        text = self.copy_diagnostics()
        self.assertIn("Device tree: 6 devices, 0 external devices\n"
                      "- device[0] Demo Keyboard online, 1 entities\n"
                      "  entity[0] Demo Keyboard: 1 sources, 0 destinations\n"
                      "    source[0] Demo Keyboard\n", text)

    def test_a_refresh_comes_on_top(self):
        self.router.press("Refresh MIDI devices")
        settings = self.router.open_settings("Debug")

        def copied():
            settings.again().press("Copy diagnostics")
            text = clipboard_text()
            return text.count("Endpoint reload (") == 2 and text

        text = wait_for(copied, "the second reload on the clipboard")
        self.assertLess(text.index("Endpoint reload (", text.index("Device tree")),
                        text.index("Endpoint reload (initial load)") + 1)
        self.assertTrue(text.endswith("Starting CoreMIDI client on main run loop"))
