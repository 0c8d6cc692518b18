"""Position and size of the window."""

from support import pointing, windows
from support.desktop import HEIGHT, WIDTH
from support.waiting import wait_for
from support.window_test_case import WindowTestCase
from support.windows import Box


class WindowFrame(WindowTestCase):
    def frame(self, router):
        return windows.frame(router.corvel.window)

    def wait_frame(self, router, frame):
        wait_for(lambda: self.frame(router) == frame, lambda: f"the frame {frame}, not {self.frame(router)}")

    def move_and_resize(self, router):
        """Moves and resizes the window; returns its frame."""
        window = router.corvel.window
        windows.move(window, 120, 90)
        wait_for(lambda: windows.content(window).x < 200, "the window to move")
        windows.resize(window, 1300, 800)
        wait_for(lambda: (windows.content(window).width, windows.content(window).height) == (1300, 800),
                 "the window to take its size")
        return self.frame(router)

    def wait_frame_saved(self):
        wait_for(lambda: "NSWindow%20Frame%20Corvel.RouterWindow-1-AppWindow-1" in self.home.settings(),
                 lambda: f"the frame in the settings:\n{self.home.settings()}")

    def test_the_first_one_is_1180_by_760_with_its_decorations_in_the_middle(self):
        router = self.start()
        self.assertGreater(windows.decorations(router.corvel.window)[2], 0)
        self.wait_frame(router, Box((WIDTH - 1180) // 2, (HEIGHT - 760) // 2, 1180, 760))

    def test_it_is_kept_across_quitting(self):
        router = self.start()
        frame = self.move_and_resize(router)
        pointing.press_keys("alt+F4")
        self.assertEqual(router.corvel.wait_ended(), 0)
        self.wait_frame_saved()
        self.wait_frame(self.start(), frame)

    def test_it_is_kept_across_sigterm(self):
        router = self.start()
        frame = self.move_and_resize(router)
        router.corvel.terminate()
        self.assertEqual(router.corvel.wait_ended(), 0)
        self.wait_frame(self.start(), frame)

    def test_it_is_the_same_after_many_starts(self):
        router = self.start()
        frame = self.move_and_resize(router)
        for _ in range(4):
            pointing.press_keys("alt+F4")
            self.assertEqual(router.corvel.wait_ended(), 0)
            router = self.start()
            self.wait_frame(router, frame)

    def test_the_first_one_is_the_same_after_a_restart(self):
        router = self.start()
        frame = Box((WIDTH - 1180) // 2, (HEIGHT - 760) // 2, 1180, 760)
        self.wait_frame(router, frame)
        pointing.press_keys("alt+F4")
        self.assertEqual(router.corvel.wait_ended(), 0)
        self.wait_frame(self.start(), frame)

    def test_it_is_saved_while_the_program_runs(self):
        router = self.start()
        self.move_and_resize(router)
        self.wait_frame_saved()

    def test_the_content_never_becomes_smaller_than_980_by_640(self):
        router = self.start()
        windows.resize(router.corvel.window, 400, 300)
        wait_for(lambda: (router.box.width, router.box.height) == (980, 640),
                 lambda: f"the smallest size, not {router.box}")
