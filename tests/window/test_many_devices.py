"""Sixty-five devices in one window: reaching rows that are out of sight."""

from support import pointing
from support.documents import connection
from support.screen import Screen
from support.waiting import wait_for
from support.window_test_case import WindowTestCase

DEVICES = 65


def far(*pairs):
    return [connection(source, 1000 + destination, source_name=f"Input {source:02}",
                       destination_name=f"Output {destination:02}") for source, destination in pairs]


class ManyDevices(WindowTestCase):
    def start_many(self, *pairs, playing=None):
        self.router = self.start_with_devices(DEVICES, ("Live", far(*pairs)), playing=playing)
        self.router.wait_text(f"{DEVICES} inputs, {DEVICES} outputs")
        return self.router

    def foot(self):
        """The bottom of the columns: above the heading of the list."""
        return self.router.accessibility.find(name="Connections", role="label").extents[1]

    def is_in_view(self, row):
        _, top, _, height = row.extents
        return self.router.box.y + 140 <= top and top + height <= self.foot()

    def names_in_view(self, direction):
        foot = self.foot()
        return [row.name for row in self.router.endpoints(direction)
                if self.router.box.y + 140 <= row.extents[1] and row.extents[1] + row.extents[3] <= foot]


class DraggingFar(ManyDevices):
    def setUp(self):
        super().setUp()
        # If a failing test leaves the button pressed, it would still be pressed in the next test.
        self.addCleanup(pointing.release_button)
        self.start_many()
        box = self.router.box
        outputs = box.x + box.width - 150
        self.middle = (outputs, box.y + 300)
        rows = [row for row in self.router.endpoints("output") if row.is_showing]
        self.start = self.router.input("Input 02").middle
        # Away from the edge, where a drag scrolls by itself.
        self.fifth = rows[4].middle

    def test_a_drag_at_the_foot_of_a_column_scrolls_it_to_its_last_row(self):
        pointing.start_drag(self.start, (self.middle[0], self.foot() - 10))
        wait_for(lambda: "Output 65" in self.names_in_view("output"), "the last output to come into view")
        last = self.router.output("Output 65").middle
        pointing.move_pointer(last)
        pointing.move_pointer((last[0] + 1, last[1]))
        pointing.release_button()
        self.wait_saved(connections=[(2, 1065)])

    def hold_over(self, point):
        """Drags to the middle of a row, and waits until the row shows it, which takes longer on a busy machine."""
        pointing.start_drag(self.start, point)

        def is_drop_target():
            pointing.move_pointer((point[0] + 1, point[1]))
            pointing.move_pointer(point)
            return Screen().colour((point[0] + 40, point[1] - 14)) == "#20456F"

        wait_for(is_drop_target, "the row under the drag to take it")

    def test_the_wheel_scrolls_the_column_under_a_drag(self):
        self.hold_over(self.fifth)
        self.assertNotIn("Output 20", self.names_in_view("output"))
        pointing.turn_wheel(12)
        wait_for(lambda: "Output 20" in self.names_in_view("output"), "outputs further down to come into view")
        target = self.router.output("Output 20").middle
        pointing.move_pointer(target)
        pointing.move_pointer((target[0] + 1, target[1]))
        pointing.release_button()
        self.wait_saved(connections=[(2, 1020)])

    def test_a_drop_goes_to_the_row_that_the_wheel_brought_under_a_pointer_at_rest(self):
        self.hold_over(self.fifth)
        pointing.turn_wheel(4)

        def under_pointer():
            for row in self.router.endpoints("output"):
                left, top, width, height = row.extents
                if top + 4 <= self.fifth[1] < top + height - 4:
                    return row.name
            return None

        name = wait_for(lambda: (n := under_pointer()) not in (None, "Output 05") and n, "another row there")
        pointing.release_button()
        self.wait_saved(connections=[(2, 1000 + int(name.split()[1]))])

    def test_an_output_is_dragged_to_an_input_just_as_well(self):
        pointing.drag(self.router.output("Output 03").middle, self.router.input("Input 04").middle)
        self.wait_saved(connections=[(4, 1003)])

    def test_the_card_keeps_off_the_column_and_a_line_leads_to_the_row(self):
        row = self.router.output("Output 03")
        left, top, width, height = row.extents
        pointing.start_drag(self.start, (left + 30, top + 20))

        def colours():
            screen = Screen()
            inside = {screen.colour((x, top + 6)) for x in range(left + 60, left + width - 30, 3)}
            beside = {screen.colour((left - 2, y)) for y in range(top + 16, top + 24)}
            return inside, beside

        # The whole row has the colour of a drop target, and the line has the accent colour.
        wait_for(lambda: colours()[0] == {"#20456F"} and "#6CB0FF" in colours()[1],
                 lambda: f"the row clear of the card and a line to it, not {colours()}")
        neighbour = Screen()
        self.assertEqual({neighbour.colour((x, top + 54)) for x in range(left + 60, left + width - 30, 3)}, {"#1F242B"})
        pointing.press_keys("Escape")
        pointing.release_button()


class LinesOutOfView(ManyDevices):
    def test_their_ends_are_counted_at_the_edge_and_a_click_scrolls_there(self):
        router = self.start_many((1, 60), (1, 61), (2, 62), (1, 1))
        name = "3 connections go to outputs below"
        router.wait_text(name)
        pointing.click(router.button(name).middle)
        wait_for(lambda: router.output("Output 60").is_showing and not router.shows(name),
                 "the outputs to be scrolled into view")
        router.wait_text("1 connection goes to outputs above")

    def test_selecting_a_connection_scrolls_its_endpoints_into_view(self):
        router = self.start_many((1, 1), (50, 60))
        router.select_connection(1)
        wait_for(lambda: self.is_in_view(router.input("Input 50")) and self.is_in_view(router.output("Output 60")),
                 "both ends to be in view")


class Filtering(ManyDevices):
    def setUp(self):
        super().setUp()
        self.start_many((7, 9), (30, 9))

    def names(self, direction):
        return [row.name for row in self.router.endpoints(direction)]

    def wait_names(self, direction, *names):
        wait_for(lambda: self.names(direction) == list(names), lambda: f"{names}, not {self.names(direction)}")

    def test_control_f_begins_it_and_escape_clears_it(self):
        pointing.press_keys("ctrl+f")
        pointing.type_text("put 12")
        self.wait_names("input", "Input 12")
        pointing.press_keys("Escape")
        wait_for(lambda: len(self.names("input")) == DEVICES, "all inputs again")
        pointing.press_keys("ctrl+f")
        pointing.type_text("64")
        self.wait_names("output", "Output 64")

    def test_letters_typed_in_the_column_begin_it(self):
        pointing.click(self.router.output("Output 02").middle)
        pointing.type_text("44")
        self.wait_names("output", "Output 44")
        pointing.press_keys("Down", "Return", "Escape")
        wait_for(lambda: len(self.names("output")) == DEVICES, "all outputs again")

    def test_only_connected_devices_can_be_shown(self):
        self.router.press("Show only connected inputs")
        self.wait_names("input", "Input 07", "Input 30")
        self.router.press("Show all inputs")
        wait_for(lambda: len(self.names("input")) == DEVICES, "all inputs again")


class Lights(ManyDevices):
    """The background seven pixels beside the middle of a row's dot, where the light surrounds it."""

    def is_lit(self, screen, row):
        left, top, width, height = row.extents
        return screen.colour((left + width - 18 - 7, top + height // 2)) != "#1F242B"

    def test_a_row_is_lit_whose_endpoint_sends_connected_or_not_and_no_other(self):
        router = self.start_many((2, 2), playing=3)
        wait_for(lambda: self.is_lit(Screen(), router.input("Input 03")), "a light on what plays")
        screen = Screen()
        self.assertFalse(self.is_lit(screen, router.input("Input 02")))
        self.assertFalse(self.is_lit(screen, router.output("Output 02")))

    def test_a_row_is_lit_whose_endpoint_is_sent_something(self):
        router = self.start_many((3, 2), playing=3)
        wait_for(lambda: self.is_lit(Screen(), router.output("Output 02")), "a light on what is played to")
