"""Far more notes than a person can play, with the window shown."""

import threading
import time

from support import pointing, windows
from support.documents import shortcut
from support.waiting import wait_for

from . import glance
from .raw_midi import Performer, numbered_note, phrase
from .sequencer_test_case import SequencerTestCase
from .stage import Stage

NOTES = 2000
# A device holds at most 4,096 waiting bytes.
NOTES_AHEAD = 300
# Maximum time of an answer of the window, in seconds.
PATIENCE = 2.0


class Flood(SequencerTestCase):
    def test_every_byte_of_a_flood_arrives_in_order_while_the_window_shows_it_and_answers(self):
        router = self.start_connected((1, None), (2, shortcut("2", "command")))
        row = self.connection_row(router)
        stage = Stage(glance.find(router.corvel.pid, "Routing stage").extents)
        self.addCleanup(stage.close)
        flood = threading.Thread(target=self.play_flood, daemon=True)
        flood.start()
        self.addCleanup(flood.join)
        answers, pictures = [], []
        while flood.is_alive():
            asked = time.monotonic()
            self.assertIn("Ch 1 / Active / No", row.description)
            answers.append(time.monotonic() - asked)
            pictures.append(tuple(stage.note_positions()))
        self.synth.wait_heard(phrase(NOTES))
        self.assertGreaterEqual(len(answers), 3)
        self.assertLess(max(answers), PATIENCE)
        self.assertGreaterEqual(len(set(pictures) - {()}), 2, "the stage stood still")
        pointing.press_physical_key("2", "ctrl")
        self.wait_saved(channels=[2])

    def play_flood(self):
        for number in range(NOTES):
            wait_for(lambda: len(self.synth.heard) >= 6 * (number - NOTES_AHEAD), "the flood to arrive")
            self.keyboard.play(numbered_note(number))


class Ending(SequencerTestCase):
    def test_sigterm_in_the_middle_of_music_ends_with_success_and_keeps_the_frame(self):
        router = self.start_connected()
        performer = Performer(self.keyboard, pause=.005)
        self.addCleanup(performer.stop)
        performer.wait_played(20)
        frame = self.move_and_resize(router)
        router.corvel.terminate()
        self.assertEqual(router.corvel.wait_ended(), 0)
        heard = self.synth.heard
        self.assertEqual(heard, phrase(performer.stop())[:len(heard)])
        self.assertGreaterEqual(len(heard), 6 * 20)
        self.assertEqual(len(heard) % 3, 0)
        again = self.start()
        wait_for(lambda: windows.frame(again.corvel.window) == frame,
                 lambda: f"the frame {frame}, not {windows.frame(again.corvel.window)}")
