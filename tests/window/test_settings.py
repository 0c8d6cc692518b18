"""The settings sheet and the appearance."""

from support import pointing
from support.screen import Screen
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

DARK_SURFACE = "#15181D"
LIGHT_SURFACE = "#F3F5F7"


class Settings(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start()

    def surface(self, router=None):
        """The colour of an empty part of the header."""
        return Screen().colour((router or self.router).point(590, 10))

    def wait_surface(self, colour, router=None):
        wait_for(lambda: self.surface(router) == colour,
                 lambda: f"the header in {colour}, not {self.surface(router)}")

    def choose(self, mode):
        settings = self.router.open_settings("General")
        settings.press(mode)
        settings.again().press("Done")
        settings.wait_closed()

    def test_the_sheet_has_its_size_its_title_and_its_tabs(self):
        settings = self.router.open_settings()
        self.assertEqual(settings.element.extents[2:], (620, 460))
        self.assertTrue(settings.button("General").is_chosen)
        self.assertFalse(settings.button("Debug").is_chosen)
        self.assertTrue(settings.shows("Appearance"))

    def test_done_and_escape_close_it(self):
        settings = self.router.open_settings()
        settings.press("Done")
        settings.wait_closed()
        settings = self.router.open_settings()
        pointing.press_keys("Escape")
        settings.wait_closed()

    def test_the_window_is_dark_until_light_is_chosen(self):
        self.wait_surface(DARK_SURFACE)
        self.choose("Light")
        self.wait_surface(LIGHT_SURFACE)
        self.choose("Dark")
        self.wait_surface(DARK_SURFACE)

    def test_the_appearance_is_kept_for_the_next_start(self):
        self.choose("Light")
        self.wait_surface(LIGHT_SURFACE)
        pointing.press_keys("alt+F4")
        self.assertEqual(self.router.corvel.wait_ended(), 0)
        again = self.start()
        self.wait_surface(LIGHT_SURFACE, again)
        settings = again.open_settings("General")
        self.assertTrue(settings.button("Light").is_chosen)
        self.assertFalse(settings.button("Dark").is_chosen)

    def test_the_window_behind_is_dimmed_while_the_sheet_is_open(self):
        self.wait_surface(DARK_SURFACE)
        settings = self.router.open_settings()
        wait_for(lambda: self.surface() != DARK_SURFACE, "the scrim over the header")
        settings.press("Done")
        self.wait_surface(DARK_SURFACE)

    def test_the_window_behind_takes_no_clicks(self):
        settings = self.router.open_settings()
        pointing.click(self.router.endpoints("input")[0].middle)
        settings.again().press("Done")
        settings.wait_closed()
        pointing.click(self.router.endpoints("output")[0].middle)
        self.router.wait_details("Demo Drums\nCorvel Demo\ndestination\nID 2002")
        self.router.wait_enabled("Connect", False)

    def test_the_debug_tab_lists_the_diagnostics(self):
        settings = self.router.open_settings("Debug")
        self.assertTrue(settings.shows("Diagnostics"))
        self.assertTrue(settings.button("Copy diagnostics").is_enabled)
        self.assertTrue(any("Starting CoreMIDI client on main run loop" in element.name
                            for element in settings.element))
