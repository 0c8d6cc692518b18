"""The window on screens of every size, and on a desktop that arranges windows by itself."""

from support import pointing, windows
from support.waiting import wait_for
from support.window_test_case import WindowTestCase
from support.windows import Box

PANEL = 30


class Screens(WindowTestCase):
    def frame(self, router):
        return windows.frame(router.corvel.window)

    def is_inside(self, router):
        """Whether the window with all its decorations is inside."""
        area = windows.work_area()
        frame = self.frame(router)
        return (windows.decorations(router.corvel.window) != (0, 0, 0, 0) and frame.x >= area.x and frame.y >= area.y
                and frame.x + frame.width <= area.x + area.width and frame.y + frame.height <= area.y + area.height)

    @staticmethod
    def is_near(one, other):
        """Whether they are equal except for the rounding of a fractional scale, and for the height of a title bar, which
        Qt 6.8 keeps free when it restores a window that fills the height."""
        return all(abs(getattr(one, side) - getattr(other, side)) <= limit
                   for side, limit in (("x", 3), ("y", 20), ("width", 3), ("height", 20)))

    def assertInside(self, router):
        # It stops changing within a second.
        wait_for(lambda: self.is_inside(router), lambda: f"{self.frame(router)} inside {windows.work_area()}", 5)

    def quit(self, router):
        pointing.press_keys("alt+F4")
        self.assertEqual(router.corvel.wait_ended(), 0)

    def assertFirstAndNextFrameInside(self, width, height, scale=None):
        if scale:
            self.home.variables["QT_SCALE_FACTOR"] = scale
        with self.desktop.other_screen(width, height, panel=PANEL):
            self.assertEqual(windows.work_area(), Box(0, 0, width, height - PANEL))
            router = self.start()
            self.assertInside(router)
            first = self.frame(router)
            # The elements at the bottom are visible.
            self.assertTrue(router.shows("Demo / 3 connections"))
            self.quit(router)
            again = self.start()
            wait_for(lambda: self.is_near(self.frame(again), first), lambda: f"{first}, not {self.frame(again)}")
            self.assertInside(again)
            again.corvel.stop()

    def test_1280_by_720(self):
        self.assertFirstAndNextFrameInside(1280, 720)

    def test_1024_by_600(self):
        self.assertFirstAndNextFrameInside(1024, 600)

    def test_800_by_480(self):
        self.assertFirstAndNextFrameInside(800, 480)

    def test_1920_by_1080_at_one_and_a_half(self):
        self.assertFirstAndNextFrameInside(1920, 1080, "1.5")

    def test_1920_by_1080_at_two(self):
        self.assertFirstAndNextFrameInside(1920, 1080, "2")

    def test_a_laptop_after_a_large_screen(self):
        with self.desktop.other_screen(2560, 1440):
            router = self.start()
            windows.move(router.corvel.window, 1150, 600)
            windows.resize(router.corvel.window, 1380, 800)
            wait_for(lambda: windows.content(router.corvel.window).width == 1380, "the window to take its size")
            self.quit(router)
        with self.desktop.other_screen(1366, 768, panel=PANEL):
            router = self.start()
            self.assertInside(router)
            router.corvel.stop()

    def test_the_work_area_is_the_minimum_where_it_is_smaller(self):
        with self.desktop.other_screen(1024, 600, panel=PANEL):
            router = self.start()
            self.assertInside(router)
            left, right, top, bottom = windows.decorations(router.corvel.window)
            smallest = 980, 600 - PANEL - top - bottom
            windows.resize(router.corvel.window, 300, 300)
            wait_for(lambda: (router.box.width, router.box.height) == smallest, lambda: f"{smallest}, not {router.box}")
            router.corvel.stop()

    def test_larger_text_makes_all_of_it_larger(self):
        with self.desktop.other_screen(1920, 1080, panel=PANEL):
            # The second window is the first one restored: its contents grow, its decorations do not.
            for dpi, width, height in ((96, 1180, 760), (115, 1415, 905)):
                self.home.variables["QT_FONT_DPI"] = str(dpi)
                router = self.start()
                self.assertInside(router)
                frame = self.frame(router)
                self.assertAlmostEqual(frame.width, width, delta=3)
                self.assertAlmostEqual(frame.height, height, delta=3)
                self.quit(router)

    def test_larger_text_fits_on_a_small_screen(self):
        self.home.variables["QT_FONT_DPI"] = "115"
        self.assertFirstAndNextFrameInside(1280, 720)


class ArrangedWindows(WindowTestCase):
    def test_the_first_start_fills_the_window_that_it_is_given(self):
        with self.desktop.other_screen(1600, 1000, manager="i3"):
            for _ in range(2):
                router = self.start()
                box = router.box
                self.assertGreater(box.width, 1500)

                def is_filled():
                    tree = router.accessibility.tree()
                    return tree and [window.extents for window in tree.find(role="frame")] == [
                        (box.x, box.y, box.width, box.height)]

                wait_for(is_filled, lambda: f"the contents to fill {box}:\n{router.accessibility.tree()}", 5)
                status = router.accessibility.find(name="Demo / 3 connections").extents
                self.assertGreater(status[0] + status[2], box.x + box.width - 40)
                self.assertGreater(status[1] + status[3], box.y + box.height - 20)
                router.corvel.terminate()
                router.corvel.wait_ended()
