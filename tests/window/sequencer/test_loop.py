"""A connection that feeds back, with a note circulating in it."""

import time

from support import documents, pointing

from . import glance
from .raw_midi import note_on
from .sequencer_test_case import KEYBOARD, KEYBOARD_ID, THROUGH, THROUGH_ID, THROUGH_SOURCE_ID, SequencerTestCase

# Maximum time of an answer of the window, in seconds.
PATIENCE = 2.0
ANSWERS = 10


class Loop(SequencerTestCase):
    def test_a_note_that_runs_round_leaves_the_window_its_answers_and_its_mouse(self):
        self.write_document(("Live", [
            documents.connection(KEYBOARD_ID, THROUGH_ID, source_name=KEYBOARD, destination_name=THROUGH),
            documents.connection(THROUGH_SOURCE_ID, THROUGH_ID, source_name=THROUGH,
                                 destination_name=THROUGH)]))
        router = self.start()
        self.wait_routing()
        row = glance.find(router.corvel.pid, f"{THROUGH} to {THROUGH}", " / ", from_the_end=True)
        self.assertTrue(row.description.startswith("Feeds back / "), row.description)
        self.keyboard.play(note_on(60))
        row.wait_description(lambda text: text.endswith("Note 90 3C 40"), "the note in the loop")
        slowest = 0.0
        for _ in range(ANSWERS):
            asked = time.monotonic()
            self.assertIn("90 3C 40", row.description)
            slowest = max(slowest, time.monotonic() - asked)
        self.assertLess(slowest, PATIENCE)
        # A click on the row, and then Delete, end the loop.
        pointing.click(row.middle)
        pointing.press_keys("Delete")
        self.wait_saved(connections=[(KEYBOARD_ID, THROUGH_ID)])
        self.assertTrue(router.corvel.is_running)
