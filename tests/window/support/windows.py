"""Windows as the window manager knows them."""

import re
from dataclasses import dataclass

from .processes import output
from .waiting import wait_for


@dataclass(frozen=True)
class Box:
    x: int
    y: int
    width: int
    height: int


def shown_windows(pid, name):
    """The shown windows of a process whose title is exactly this, as window numbers."""
    return [int(line) for line in output("xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid), "--name",
                                         f"^{re.escape(name)}$", check=False).split()]


def all_shown_windows(pid):
    """The shown windows of a process that the window manager knows, as window numbers."""
    managed = {int(number, 16) for number in re.findall(r"0x[0-9a-f]+", _property("root", "_NET_CLIENT_LIST"))}
    shown = output("xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid), "--name", ".*", check=False)
    return [int(line) for line in shown.split() if int(line) in managed]


def content(window):
    """The position of the window's content on the screen."""
    lines = output("xwininfo", "-id", str(window))

    def number(label):
        return int(re.search(rf"{label}:\s+(-?\d+)", lines).group(1))

    return Box(number("Absolute upper-left X"), number("Absolute upper-left Y"), number("Width"), number("Height"))


def frame(window):
    """The window's rectangle with the window manager's decorations."""
    inside = content(window)
    left, right, top, bottom = decorations(window)
    return Box(inside.x - left, inside.y - top, inside.width + left + right, inside.height + top + bottom)


def decorations(window):
    """Widths of the left, right, top and bottom decoration."""
    numbers = re.findall(r"\d+", _property(window, "_NET_FRAME_EXTENTS"))
    return tuple(int(number) for number in numbers) if len(numbers) == 4 else (0, 0, 0, 0)


def work_area():
    """The part of the screen that panels leave free."""
    found = wait_for(lambda: re.findall(r"\d+", _property("root", "_NET_WORKAREA")), "the work area")
    x, y, width, height = (int(number) for number in found[:4])
    return Box(x, y, width, height)


def active_window():
    found = re.search(r"0x[0-9a-f]+", _property("root", "_NET_ACTIVE_WINDOW"))
    return int(found.group(0), 16) if found else None


def activate(window):
    output("xdotool", "windowactivate", "--sync", str(window))


def move(window, x, y):
    output("xdotool", "windowmove", str(window), str(x), str(y))


def resize(window, width, height):
    output("xdotool", "windowsize", str(window), str(width), str(height))


def minimise(window):
    output("xdotool", "windowminimize", str(window))


def title(window):
    return output("xdotool", "getwindowname", str(window)).rstrip("\n")


def _property(window, name):
    """The text that xprop prints after the name, such as "(CARDINAL) = 1, 1, 20, 5"."""
    which = ["-root"] if window == "root" else ["-id", str(window)]
    return output("xprop", *which, name, check=False).partition(name)[2]
