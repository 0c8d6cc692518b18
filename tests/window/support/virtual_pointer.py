"""A mouse for Wayland: a client that creates a virtual one and moves it, by the bytes of the protocol."""

import socket
import struct
import time

_DISPLAY = 1
_LEFT = 0x110
_MANAGER_INTERFACE = "zwlr_virtual_pointer_manager_v1"


class VirtualPointer:
    """Exists while it is open, so that the seat has a pointer."""

    def __init__(self, display, width, height):
        self._size = width, height
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(20)
        self._socket.connect(display)
        self._unread = b""
        self._newest = _DISPLAY
        self._registry = self._new_id()
        self._send(_DISPLAY, 1, struct.pack("<I", self._registry))
        number, = [name for name, interface in self._round_trip() if interface == _MANAGER_INTERFACE]
        interface = _MANAGER_INTERFACE.encode() + b"\0"
        interface += b"\0" * (-len(interface) % 4)
        manager = self._new_id()
        self._send(self._registry, 0, struct.pack("<II", number, len(_MANAGER_INTERFACE) + 1) + interface
                   + struct.pack("<II", 1, manager))
        self._pointer = self._new_id()
        self._send(manager, 0, struct.pack("<II", 0, self._pointer))
        self._round_trip()

    def close(self):
        self._socket.close()

    def move(self, x, y):
        self._send(self._pointer, 1, struct.pack("<IIIII", self._now(), x, y, *self._size))
        self._end()

    def press(self, is_down):
        self._send(self._pointer, 2, struct.pack("<III", self._now(), _LEFT, int(is_down)))
        self._end()

    def _end(self):
        self._send(self._pointer, 4, b"")
        self._round_trip()

    @staticmethod
    def _now():
        return int(time.monotonic() * 1000) & 0xFFFFFFFF

    def _send(self, target, request, arguments):
        self._socket.sendall(struct.pack("<II", target, (8 + len(arguments)) << 16 | request) + arguments)

    def _round_trip(self):
        """Waits until all requests have been carried out; returns the globals announced meanwhile."""
        callback = self._new_id()
        self._send(_DISPLAY, 0, struct.pack("<I", callback))
        announced = []
        while True:
            sender, event, body = self._next_event()
            if sender == _DISPLAY and event == 0:
                raise AssertionError(f"the compositor refuses: {body}")
            if sender == self._registry and event == 0:
                number, length = struct.unpack_from("<II", body)
                announced.append((number, body[8:8 + length - 1].decode()))
            if sender == callback:
                return announced

    def _new_id(self):
        """The next ID; the protocol allows no gaps."""
        self._newest += 1
        return self._newest

    def _next_event(self):
        head = self._read(8)
        sender, word = struct.unpack("<II", head)
        return sender, word & 0xFFFF, self._read((word >> 16) - 8)

    def _read(self, size):
        while len(self._unread) < size:
            received = self._socket.recv(65536)
            if not received:
                raise AssertionError("the compositor is gone")
            self._unread += received
        taken, self._unread = self._unread[:size], self._unread[size:]
        return taken
