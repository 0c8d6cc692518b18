"""The messages that programs send to the window manager and each other through the X server's root window."""

import ctypes
import ctypes.util

_SUBSTRUCTURE_NOTIFY, _PROPERTY_CHANGE, _CLIENT_MESSAGE = 1 << 19, 1 << 22, 33


class _Message(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("is_sent", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("numbers", ctypes.c_long * 5), ("rest", ctypes.c_byte * 128)]


class XMessages:
    """Records messages from its creation on."""

    def __init__(self):
        self._x = ctypes.CDLL(ctypes.util.find_library("X11") or "libX11.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._x.XDefaultRootWindow.restype = ctypes.c_ulong
        self._x.XGetAtomName.restype = ctypes.c_char_p
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(None))
        root = ctypes.c_ulong(self._x.XDefaultRootWindow(self._display))
        self._x.XSelectInput(self._display, root, ctypes.c_long(_SUBSTRUCTURE_NOTIFY | _PROPERTY_CHANGE))
        self._x.XSync(self._display, 0)

    def take(self):
        """The messages since the last call, as (name, window, numbers, bytes)."""
        taken = []
        while self._x.XPending(self._display):
            event = _Message()
            self._x.XNextEvent(self._display, ctypes.byref(event))
            if event.type == _CLIENT_MESSAGE:
                name = self._x.XGetAtomName(self._display, ctypes.c_ulong(event.message_type)).decode()
                taken.append((name, event.window, tuple(event.numbers), bytes(event.numbers)[:20]))
        return taken

    def stop(self):
        self._x.XCloseDisplay(self._display)
