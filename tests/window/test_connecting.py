"""Making and deleting connections with the mouse and the keyboard."""

from support import pointing
from support.documents import DRUMS, KEYBOARD, PADS, RECORDER, SEQUENCER, SYNTH, connection
from support.screen import Screen
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

DROP_COLOUR = "#20456F"


class Dragging(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", []))

    def test_an_input_dropped_on_an_output_is_connected_to_it(self):
        pointing.drag(self.router.input("Demo Keyboard").middle, self.router.output("Demo Drums").middle)
        self.wait_saved(connections=[(KEYBOARD, DRUMS)], channels=[None], enabled=[True])
        self.router.wait_text('Set "Live" saved (1 connections)')
        self.router.wait_text("Live / 1 connections")

    def test_a_new_connection_is_the_selected_one(self):
        self.router.wait_enabled("Delete selected connection", False)
        pointing.drag(self.router.input("Demo Pads").middle, self.router.output("Demo Synth").middle)
        self.wait_saved(connections=[(PADS, SYNTH)])
        self.router.wait_enabled("Delete selected connection")
        self.router.press("Delete selected connection")
        self.wait_saved(connections=[])

    def test_every_input_reaches_every_output(self):
        made = []
        for source, source_name in ((KEYBOARD, "Demo Keyboard"), (PADS, "Demo Pads"), (SEQUENCER, "Demo Sequencer")):
            for destination, destination_name in ((SYNTH, "Demo Synth"), (DRUMS, "Demo Drums"),
                                                  (RECORDER, "Demo Recorder")):
                pointing.drag(self.router.input(source_name).middle, self.router.output(destination_name).middle)
                made.append((source, destination))
                self.wait_saved(connections=made)
        self.router.wait_text("Live / 9 connections")

    def test_an_input_dropped_anywhere_else_is_not_connected(self):
        keyboard = self.router.input("Demo Keyboard").middle
        for elsewhere in (self.router.point(590, 250), self.router.input("Demo Pads").middle,
                          self.router.point(-150, 400), self.router.point(590, 20)):
            pointing.drag(keyboard, elsewhere)
        pointing.drag(keyboard, self.router.output("Demo Recorder").middle)
        self.wait_saved(connections=[(KEYBOARD, RECORDER)])

    def test_an_output_dropped_on_an_input_is_connected_to_it_and_on_an_output_is_not(self):
        pointing.drag(self.router.output("Demo Synth").middle, self.router.output("Demo Drums").middle)
        pointing.drag(self.router.output("Demo Recorder").middle, self.router.input("Demo Pads").middle)
        self.wait_saved(connections=[(PADS, RECORDER)])

    def test_the_same_connection_again_is_refused_with_a_word(self):
        for _ in range(2):
            pointing.drag(self.router.input("Demo Keyboard").middle, self.router.output("Demo Synth").middle)
            self.wait_saved(connections=[(KEYBOARD, SYNTH)])
        self.router.wait_text("Connection already exists")
        self.assertEqual(self.saved().connections, [(KEYBOARD, SYNTH)])

    def test_the_output_under_a_dragged_input_shows_that_it_takes_it(self):
        output = self.router.output("Demo Recorder")
        left, top, width, height = output.extents
        pixels = [(x, y) for y in range(top + 3, top + height - 3) for x in range(left + 12, left + width - 3, 4)]

        def is_lit():
            screen = Screen()
            return any(screen.colour(pixel) == DROP_COLOUR for pixel in pixels)

        self.assertFalse(is_lit())
        pointing.start_drag(self.router.input("Demo Keyboard").middle, output.middle)
        wait_for(is_lit, "the output to take the colour of a drop target")
        pointing.move_pointer(self.router.point(590, 300))
        wait_for(lambda: not is_lit(), "the output to let go of that colour")
        pointing.release_button()

    def test_escape_ends_a_drag_without_connecting(self):
        pointing.start_drag(self.router.input("Demo Keyboard").middle, self.router.output("Demo Synth").middle)
        pointing.press_keys("Escape")
        pointing.release_button()
        pointing.drag(self.router.input("Demo Pads").middle, self.router.output("Demo Synth").middle)
        self.wait_saved(connections=[(PADS, SYNTH)])


class ConnectButton(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", []))

    def test_it_is_enabled_only_with_an_input_and_an_output_selected(self):
        self.router.wait_enabled("Connect", False)
        pointing.click(self.router.input("Demo Keyboard").middle)
        self.wait_selected("Demo Keyboard\nCorvel Demo\nsource\nID 1001")
        self.router.wait_enabled("Connect", False)
        pointing.click(self.router.output("Demo Synth").middle)
        self.router.wait_enabled("Connect")

    def test_it_connects_what_is_selected(self):
        pointing.click(self.router.input("Demo Keyboard").middle)
        pointing.click(self.router.output("Demo Synth").middle)
        self.router.wait_enabled("Connect")
        self.router.press("Connect")
        self.wait_saved(connections=[(KEYBOARD, SYNTH)])

    def test_control_return_does_nothing_with_one_side_selected_and_connects_with_both(self):
        pointing.click(self.router.output("Demo Synth").middle)
        self.wait_selected("Demo Synth\nCorvel Demo\ndestination\nID 2001")
        pointing.press_keys("ctrl+Return")
        pointing.click(self.router.input("Demo Pads").middle)
        self.router.wait_enabled("Connect")
        self.assertEqual(self.saved().connections, [])
        pointing.press_keys("ctrl+Return")
        self.wait_saved(connections=[(PADS, SYNTH)])

    def test_another_click_moves_the_selection(self):
        pointing.click(self.router.input("Demo Keyboard").middle)
        self.wait_selected("Demo Keyboard\nCorvel Demo\nsource\nID 1001")
        pointing.click(self.router.input("Demo Sequencer").middle)
        self.wait_selected("Demo Sequencer\nCorvel Demo\nsource\nID 1003")
        pointing.click(self.router.output("Demo Recorder").middle)
        self.router.wait_enabled("Connect")
        pointing.press_keys("ctrl+Return")
        self.wait_saved(connections=[(SEQUENCER, RECORDER)])

    def wait_selected(self, details):
        self.router.wait_details(details)


class DeleteButton(WindowTestCase):
    def test_it_deletes_the_selected_connection_and_goes_on_to_the_first_one_left(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH), connection(PADS, DRUMS),
                                           connection(SEQUENCER, RECORDER)]))
        router.wait_enabled("Delete selected connection", False)
        router.select_connection(1)
        router.wait_enabled("Delete selected connection")
        router.press("Delete selected connection")
        self.wait_saved(connections=[(KEYBOARD, SYNTH), (SEQUENCER, RECORDER)])
        router.wait_text('Set "Live" saved (2 connections)')
        router.press("Delete selected connection")
        self.wait_saved(connections=[(SEQUENCER, RECORDER)])
        router.press("Delete selected connection")
        self.wait_saved(connections=[])
        router.wait_enabled("Delete selected connection", False)
        router.wait_text("Live / 0 connections")


class FirstStart(WindowTestCase):
    def test_it_offers_three_demo_connections_and_says_that_the_devices_are_demo_devices(self):
        router = self.start()
        self.wait_saved(set_names=["Demo"], connections=[(KEYBOARD, SYNTH), (PADS, DRUMS), (SEQUENCER, RECORDER)])
        router.wait_text("Demo / 3 connections")
        router.wait_text("3 inputs, 3 outputs")
        router.wait_text("Demo devices")

    def test_endpoints_stand_in_the_order_of_their_names(self):
        router = self.start()
        router.wait_text("3 inputs, 3 outputs")
        self.assertEqual([row.name for row in router.endpoints("input")],
                         ["Demo Keyboard", "Demo Pads", "Demo Sequencer"])
        self.assertEqual([row.name for row in router.endpoints("output")],
                         ["Demo Drums", "Demo Recorder", "Demo Synth"])

    def test_everything_is_there_again_after_quitting(self):
        router = self.start_with(("First", []))
        pointing.drag(router.input("Demo Keyboard").middle, router.output("Demo Synth").middle)
        self.wait_saved(connections=[(KEYBOARD, SYNTH)])
        router.press("Create connection set")
        router.dialog("New Connection Set").press("OK")
        self.wait_saved(set_names=["First", "New Set"], current_set_name="New Set")
        pointing.drag(router.input("Demo Pads").middle, router.output("Demo Drums").middle)
        self.wait_saved(connections=[(PADS, DRUMS)])
        before = self.document_bytes()
        # Not by Ctrl+Q, which asks first because messages are routed.
        pointing.press_keys("alt+F4")
        self.assertEqual(router.corvel.wait_ended(), 0)
        again = self.start()
        again.wait_text("New Set / 1 connections")
        again.choose_set("First")
        again.wait_text('Loaded set "First"')
        again.wait_text("First / 1 connections")
        self.wait_saved(current_set_name="First", connections=[(KEYBOARD, SYNTH)])
        again.choose_set("New Set")
        self.wait_saved(current_set_name="New Set")
        self.assertEqual(self.document_bytes(), before)
