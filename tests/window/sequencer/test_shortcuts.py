"""A key switches the channel in the middle of a phrase."""

from itertools import groupby

from support import pointing
from support.documents import shortcut

from .raw_midi import Performer, phrase
from .sequencer_test_case import SequencerTestCase

COMMAND = "\u2318"


class Shortcuts(SequencerTestCase):
    def test_a_key_pressed_while_a_phrase_is_played_moves_the_next_note_to_the_other_channel(self):
        router = self.start_connected((1, shortcut("1", "command")), (2, shortcut("2", "command")))
        performer = Performer(self.keyboard, pause=.03)
        self.addCleanup(performer.stop)
        performer.wait_played(10)
        switches = []
        for key, channel in (("2", 2), ("1", 1), ("2", 2)):
            before = len(self.synth.heard) // 6
            pointing.press_physical_key(key, "ctrl")
            self.wait_saved(channels=[channel])
            switches.append((before, performer.wait_played(1), channel))
            performer.wait_played(10)
        self.assertRegex(self.connection_row(router).description,
                         rf"Ch 2 / {COMMAND}2 / Active / Note( Off 81| 91)( [0-9A-F]{{2}}){{2}}$")
        self.expect_channels(self.heard_channels(performer.stop()), switches)

    def heard_channels(self, count):
        """The channel of each message of this many notes. Checks that nothing else has changed."""
        played = phrase(count)
        self.synth.wait_length(len(played))
        heard = self.synth.heard
        channels = [status % 16 + 1 for status in heard[::3]]
        as_played = bytearray(heard)
        as_played[::3] = bytes(status & 0xF0 for status in heard[::3])
        self.assertEqual(bytes(as_played), played)
        return channels

    def expect_channels(self, channels, switches):
        """Checks each switch, given as (notes received before the key, notes played when it had taken effect,
        channel): it must happen once and in between."""
        self.assertEqual([channel for channel, _ in groupby(channels)], [1, 2, 1, 2])
        done, last = 0, 1
        for before, after, channel in switches:
            self.assertEqual(set(channels[2 * done:2 * before]), {last})
            done, last = after, channel
        self.assertEqual(set(channels[2 * done:]), {last})
