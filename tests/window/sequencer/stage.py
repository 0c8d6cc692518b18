"""The animated part of the screen, read many times a second."""

import ctypes
import time

_ALL_PLANES = ctypes.c_ulong(-1)
_Z_PIXMAP = 2
# As in the memory of a 32-bit pixel: blue, green, red.
_NOTE_COLOUR = bytes([0x38, 0x59, 0xF0])


class _Image(ctypes.Structure):
    """The beginning of an XImage."""

    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.c_void_p), ("byte_order", ctypes.c_int),
                ("bitmap_unit", ctypes.c_int), ("bitmap_bit_order", ctypes.c_int), ("bitmap_pad", ctypes.c_int),
                ("depth", ctypes.c_int), ("bytes_per_line", ctypes.c_int), ("bits_per_pixel", ctypes.c_int)]


class Stage:
    """An area of the screen (left, top, width, height). It is read over an open connection, because a program that
    takes a picture needs longer to start than a signal is visible."""

    def __init__(self, area):
        self._area = area
        self._x = ctypes.CDLL("libX11.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._x.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        self._x.XDefaultRootWindow.restype = ctypes.c_ulong
        self._x.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int, ctypes.c_uint,
                                      ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        self._x.XGetImage.restype = ctypes.POINTER(_Image)
        self._x.XDestroyImage.argtypes = [ctypes.POINTER(_Image)]
        self._x.XCloseDisplay.argtypes = [ctypes.c_void_p]
        self._display = self._x.XOpenDisplay(None)
        if not self._display:
            raise RuntimeError("no connection to the X server")
        self._root = self._x.XDefaultRootWindow(self._display)

    def note_positions(self):
        """The positions, from the left edge, of pixels with the exact colour of a note's signal, in ascending order."""
        image = self._x.XGetImage(self._display, self._root, *self._area, _ALL_PLANES, _Z_PIXMAP)
        try:
            shown = image.contents
            pixels = ctypes.string_at(shown.data, shown.bytes_per_line * shown.height)
            stride = shown.bytes_per_line
        finally:
            self._x.XDestroyImage(image)
        found = set()
        at = pixels.find(_NOTE_COLOUR)
        while at >= 0:
            if at % 4 == 0:
                found.add(at % stride // 4)
            at = pixels.find(_NOTE_COLOUR, at + 1)
        return sorted(found)

    def follow(self, seconds):
        """The position of the leftmost such pixel, recorded each time it changes."""
        end = time.monotonic() + seconds
        way = []
        while time.monotonic() < end:
            positions = self.note_positions()
            if positions and positions[:1] != way[-1:]:
                way.append(positions[0])
        return way

    def close(self):
        self._x.XCloseDisplay(self._display)
