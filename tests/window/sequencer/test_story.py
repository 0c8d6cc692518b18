"""A performer's evening with the program, from the first start to the second."""

from support import pointing, windows
from support.waiting import DEADLINE, wait_for

from .raw_midi import note, note_off, note_on
from .sequencer_test_case import KEYBOARD, KEYBOARD_ID, SYNTH, SYNTH_ID, SequencerTestCase
from .stage import Stage


def ways(positions):
    """The ascending parts of a list of positions: each is a signal that moves from left to right."""
    starts = [at for at in range(1, len(positions)) if positions[at] <= positions[at - 1]]
    return [positions[start:end] for start, end in zip([0, *starts], [*starts, len(positions)])]


class Story(SequencerTestCase):
    def test_devices_are_connected_heard_and_seen_in_one_of_two_sets_and_all_is_there_again_after_a_restart(self):
        self.router = self.start()
        self.tree = wait_for(self.router.accessibility.tree, "the program on the accessibility bus")
        self.connect_by_mouse()
        self.hear(note(60))
        self.see_a_signal_travel()
        self.read_last_event()
        self.make_an_empty_set("Second Song")
        self.keyboard.play(note(61))
        self.choose_set("Default")
        self.wait_saved(current_set_name="Default", connections=[(KEYBOARD_ID, SYNTH_ID)])
        # A note played in the empty set would arrive first.
        self.hear(note(62))
        self.choose_set("Second Song")
        self.wait_saved(current_set_name="Second Song", connections=[])
        self.keyboard.play(note(63))
        self.choose_set("Default")
        self.wait_saved(current_set_name="Default")
        self.hear(note(64))
        self.start_again()
        self.hear(note(65))

    def connect_by_mouse(self):
        inputs, outputs = self.column("Input"), self.column("Output")
        for device in range(4):
            self.assertIn(f"Virtual Raw MIDI 0-{device} VirMIDI 0-{device}", inputs)
            self.assertIn(f"Virtual Raw MIDI 0-{device} VirMIDI 0-{device}", outputs)
        pointing.drag(inputs[KEYBOARD].middle, outputs[SYNTH].middle)
        self.wait_saved(set_names=["Default"], connections=[(KEYBOARD_ID, SYNTH_ID)], channels=[None], enabled=[True])

    def column(self, name):
        column = self.only(name=name, role="filler")
        return {row.name: row for row in column.find(role="list item") if row.description == f"{name}, online"}

    def only(self, **wanted):
        found = self.tree.find(**wanted)
        self.assertEqual(len(found), 1, wanted)
        return found[0]

    def see_a_signal_travel(self):
        area = self.only(name="Routing stage").extents
        stage = Stage(area)
        self.addCleanup(stage.close)
        seen = []

        def is_seen():
            """Plays a note and searches for its signal. A busy machine shows too few positions of some signals, and
            earlier signals late."""
            self.keyboard.play(note_on(70))
            seen.append(stage.follow(seconds=1.5))
            self.keyboard.play(note_off(70))
            wait_for(lambda: not stage.note_positions(), "the signals to pass")
            return any(len(way) >= 3 and way[-1] - way[0] >= area[2] // 3 for way in ways(seen[-1]))

        wait_for(is_seen, lambda: f"a signal that travels across {area[2]} pixels; seen: {seen}", 2 * DEADLINE)
        self.synth.wait_heard((note_on(70) + note_off(70)) * len(seen))
        self.synth.forget()

    def read_last_event(self):
        row = self.connection_row(self.router)
        row.wait_description(lambda text: text == "As Is / Active / Note Off 80 46 40", "the note-off")
        self.hear(note_on(71) + note_off(72) + note_on(73))
        row.wait_description(lambda text: text == "As Is / Active / Note 90 49 40", "the last event")

    def make_an_empty_set(self, name):
        pointing.click(self.only(name="Create connection set").middle)
        dialog = self.router.dialog("New Connection Set")
        pointing.press_keys("ctrl+a")
        pointing.type_text(name)
        pointing.press_keys("Return")
        self.wait_saved(set_names=["Default", name], current_set_name=name, connections=[])
        dialog.wait_closed()

    def choose_set(self, name):
        roles = ("push button", "push button menu", "button menu")
        pointing.click(self.only(role=roles, description="Connection Set").middle)

        def item():
            menu = self.router.accessibility.menu()
            return menu and next(iter(menu.find(name=name)), None)

        pointing.click(wait_for(item, f"{name!r} in the menu").middle)
        self.wait_saved(current_set_name=name)

    def start_again(self):
        frame = self.move_and_resize(self.router)
        before = self.saved().json
        pointing.press_keys("alt+F4")
        self.assertEqual(self.router.corvel.wait_ended(), 0)
        self.router = self.start()
        self.wait_routing()
        wait_for(lambda: windows.frame(self.router.corvel.window) == frame,
                 lambda: f"the frame {frame}, not {windows.frame(self.router.corvel.window)}")
        self.connection_row(self.router).wait_description(lambda text: text == "As Is / Active / No MIDI yet",
                                                          "the connection as it was")
        self.assertEqual(self.saved().json, before)
