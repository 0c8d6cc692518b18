"""A real mouse and a real keyboard, as the X server sees them."""

import time

from .desktop import HEIGHT, WIDTH
from .processes import output

# Physical keys by number, so that a test presses the same key in every layout.
KEY_CODES = {"1": 10, "2": 11, "3": 12, "q": 24, "r": 27, "p": 33, "Return": 36, "a": 38, "f": 41, "n": 57, "space": 65}


# Carries out the commands instead of xdotool if there is no X server.
hand = None


def _xdotool(*arguments):
    (hand or _x_server_hand)([str(argument) for argument in arguments])


def _x_server_hand(arguments):
    output("xdotool", *arguments)


def move_pointer(point):
    _xdotool("mousemove", *point)


def park_pointer():
    """Moves the pointer to a place where it hovers over nothing."""
    move_pointer((WIDTH - 1, HEIGHT - 1))


# Two presses at one place within this time, in seconds, may be a double click. Longer than Qt's 0.4 s.
DOUBLE_CLICK_TIME = 0.5
_last_click = ((-100, -100), 0.0)


def click(point):
    """A single click, never part of a double click, however soon it follows another one."""
    global _last_click
    last_point, last_time = _last_click
    if max(abs(point[0] - last_point[0]), abs(point[1] - last_point[1])) <= 5:
        time.sleep(max(0.0, last_time + DOUBLE_CLICK_TIME - time.monotonic()))
    # As a hand does: menus of Qt 6.8 close on a click without several movements before it.
    for step in range(8, 0, -1):
        _xdotool("mousemove", point[0] - step, point[1], "sleep", ".01")
    _xdotool("mousemove", *point, "sleep", ".03", "click", "1")
    _last_click = (point, time.monotonic())


def double_click(point):
    _xdotool("mousemove", *point, "sleep", ".03", "click", "--repeat", "2", "--delay", "80", "1")


def press_button(point):
    _xdotool("mousemove", *point, "sleep", ".03", "mousedown", "1")


def release_button():
    _xdotool("mouseup", "1")


def start_drag(start, end):
    """Presses the button at the start and moves to the end, far enough at first to start a drag."""
    (x0, y0), (x1, y1) = start, end
    steps = []
    for x, y, pause in ((x0 + 6, y0, ".02"), (x0 + 14, y0, ".1"), ((x0 + x1) // 2, (y0 + y1) // 2, ".05"),
                        (x1 - 2, y1, ".05"), (x1, y1, ".1")):
        steps += ["mousemove", x, y, "sleep", pause]
    _xdotool("mousemove", x0, y0, "sleep", ".05", "mousedown", "1", "sleep", ".05", *steps)


def turn_wheel(notches):
    """Turns the wheel down by this number of notches, up if it is negative."""
    _xdotool("click", "--repeat", abs(notches), "--delay", "40", "5" if notches > 0 else "4")


def click_right(point):
    _xdotool("mousemove", *point, "sleep", ".03", "click", "3")


def drag(start, end):
    start_drag(start, end)
    release_button()


def press_keys(*keys):
    """Presses keys or combinations in order, given by the names of their symbols: "Tab", "ctrl+Return"."""
    for key in keys:
        _xdotool("key", key)


def press_physical_key(key, *modifiers):
    """Presses the key at this position of a US keyboard, whatever the layout is: press_physical_key("1", "ctrl")."""
    _xdotool("key", "+".join((*modifiers, str(KEY_CODES[key]))))


def hold_physical_key(key, *modifiers, seconds):
    """Holds the key down until the X server repeats it."""
    for modifier in modifiers:
        _xdotool("keydown", modifier)
    _xdotool("keydown", KEY_CODES[key], "sleep", seconds, "keyup", KEY_CODES[key])
    for modifier in reversed(modifiers):
        _xdotool("keyup", modifier)


def type_text(text):
    _xdotool("type", "--delay", "8", "--", text)


def set_keyboard_layout(layout):
    output("setxkbmap", layout)
