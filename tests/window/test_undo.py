"""Mistakes are undone by key, by menu and by the offer in the status line."""

from support import pointing
from support.documents import DRUMS, KEYBOARD, PADS, SYNTH, connection
from support.window_test_case import WindowTestCase

BOTH = [(KEYBOARD, SYNTH), (PADS, DRUMS)]


class Undo(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(*ends) for ends in BOTH]), ("Studio", []))
        self.router.wait_connection_rows(2)

    def delete_first(self):
        self.router.select_connection(0)
        self.router.wait_selected_connection(0)
        self.router.press("Delete selected connection")
        self.wait_saved(connections=BOTH[1:])

    def test_control_z_and_control_shift_z_go_back_and_forth(self):
        self.delete_first()
        pointing.press_keys("ctrl+z")
        self.wait_saved(connections=BOTH)
        self.router.wait_text("Undone: Delete Connection")
        self.router.wait_selected_connection(0)
        pointing.press_keys("ctrl+shift+z")
        self.wait_saved(connections=BOTH[1:])
        self.router.wait_text("Redone: Delete Connection")

    def test_the_menu_names_what_it_takes_back(self):
        self.delete_first()
        pointing.press_keys("F10")
        pointing.click(self.router.accessibility.find(name="Undo Delete Connection", role="menu item").middle)
        self.wait_saved(connections=BOTH)

    def test_the_status_line_offers_it_after_a_deletion(self):
        self.delete_first()
        self.router.press("Undo")
        self.wait_saved(connections=BOTH)

    def test_the_offer_can_be_taken_by_key(self):
        self.delete_first()
        self.router.button("Undo").focus()
        pointing.press_keys("Return")
        self.wait_saved(connections=BOTH)

    def test_a_deleted_set_comes_back_with_its_connections(self):
        self.router.press("Delete current set")
        self.router.dialog("Delete Connection Set").press("Delete")
        self.router.wait_connection_rows(0)
        pointing.press_keys("ctrl+z")
        self.router.wait_connection_rows(2)
        self.wait_saved(connections=BOTH)

    def test_all_notes_off_answers_in_the_status_line(self):
        pointing.press_keys("ctrl+period")
        self.router.wait_text("All notes off on 2 outputs")
