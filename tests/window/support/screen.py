"""Pixels and pictures of the screen."""

import os
import subprocess

from .desktop import HEIGHT, WIDTH


class Screen:
    """The content of the whole screen at one moment."""

    def __init__(self):
        self._pixels = subprocess.run(["import", "-silent", "-window", "root", "-depth", "8", "rgb:-"], check=True,
                                      stdout=subprocess.PIPE, timeout=60).stdout
        if len(self._pixels) != WIDTH * HEIGHT * 3:
            raise AssertionError(f"the picture of the screen has {len(self._pixels)} bytes")

    def colour(self, point):
        """As "#15181D"."""
        x, y = point
        offset = (y * WIDTH + x) * 3
        return "#" + self._pixels[offset:offset + 3].hex().upper()

    def differs(self, other, area):
        """Whether the pixels of the area (left, top, width, height) differ."""
        left, top, width, height = area
        for y in range(top, top + height):
            line = slice((y * WIDTH + left) * 3, (y * WIDTH + left + width) * 3)
            if self._pixels[line] != other._pixels[line]:
                return True
        return False


def save_picture(path, window="root"):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    subprocess.run(["import", "-silent", "-window", str(window), path], check=True, timeout=60)
